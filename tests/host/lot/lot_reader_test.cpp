// SPDX-License-Identifier: MIT
// A lot is what the store's runs hold: which runs, which images, which cell.
#include "host/lot/lot_reader.h"

#include <cmath>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "host/host_test_help.h"
#include "host/limits.h"
#include "host/lot/lot_cells.h"
#include "host/lot/memory_store.h"

namespace narvo::test
{

namespace
{

using testing::ElementsAre;
using testing::HasSubstr;
using testing::SizeIs;

StoredImage ImageWith(const std::string& name, int defects, int width = 400)
{
    StoredImage image;
    image.result.name = name;
    image.result.width = width;
    image.result.height = 300;
    InspectionResult& region = image.result.regions.emplace_back();
    region.name = "all";
    region.region = CRect(10, 20, width - 10, 280);
    region.pairs = 7 * defects;
    for (int i = 0; i < defects; ++i)
    {
        Blob& blob = region.blobs.emplace_back();
        blob = {};
        blob.number = i + 1;
        blob.center = CPoint(50 + i, 60 + i);
        blob.area = 10 * (i + 1);
        blob.meanReference = 100;
        blob.meanDifference = 30;
    }
    return image;
}

StoredImage Refused(const std::string& name)
{
    StoredImage image;
    image.result.name = name;
    image.result.problems = {{"image", "none", "one"}};
    return image;
}

MemoryStore SmallStore()
{
    MemoryStore store;
    const StoredRecipe recipe = {"d1", "r.json", SmallestRecipe().dump()};
    store.runs.push_back({"monday", recipe, {ImageWith("a", 3), Refused("b"), ImageWith("c", 0)}});
    store.runs.push_back({"other", {"d2", "s.json", "{}"}, {ImageWith("x", 1)}});
    store.runs.push_back({"tuesday", recipe, {ImageWith("d", 2), ImageWith("e", 5, 500)}});
    return store;
}

std::vector<Problem> ProblemsOfLot(MemoryStore& store, const LotChoice& choice)
{
    try
    {
        ReadLot(store, choice);
    }
    catch (const HostError& error)
    {
        return error.Problems();
    }
    return {};
}

TEST(LotReader, ImagesHaveTheMeansOfTheirRegionsMeasures)
{
    StoredImage image = ImageWith("a.png", 1);
    image.result.regions.push_back(image.result.regions.front());
    image.result.regions.push_back(image.result.regions.front());
    image.result.regions[0].drift = {100.0, 2.0, 16.5, DriftMeasures::dNone};
    image.result.regions[1].drift = {130.0, 3.0, 17.5, DriftMeasures::dNone};
    image.result.regions[1].region.bottom = 150; // half as high
    LotBuilder builder({});
    builder.Add("a.png", image.result);
    builder.Add("b.png", ImageWith("b.png", 1).result);
    const Lot lot = builder.Finish();
    EXPECT_NEAR(lot.images[0].light.value(), 110.0, 1e-9);
    EXPECT_NEAR(lot.images[0].noise.value(), 7.0 / 3.0, 1e-9);
    EXPECT_NEAR(lot.images[0].pitchX.value(), 16.5 + 1.0 / 3.0, 1e-9);
    EXPECT_FALSE(lot.images[0].pitchY.has_value());
    EXPECT_FALSE(lot.images[1].light.has_value());
}

TEST(LotReader, TakesTheLatestRunOrThoseThatAreNamed)
{
    MemoryStore store = SmallStore();
    EXPECT_THAT(ReadLot(store, {}).runs, ElementsAre("tuesday"));
    EXPECT_THAT(ReadLot(store, {{"other"}, false}).runs, ElementsAre("other"));
    EXPECT_THAT(ReadLot(store, {{"tuesday", "monday"}, false}).runs, ElementsAre("monday", "tuesday"));
    const Lot lot = ReadLot(store, {{}, true});
    EXPECT_THAT(lot.runs, ElementsAre("monday", "tuesday"));
    EXPECT_EQ(lot.recipe, "r.json");
    EXPECT_EQ(lot.store, "memory");
    ASSERT_THAT(lot.images, SizeIs(5));
    EXPECT_EQ(lot.images[3].name, "d");
}

TEST(LotReader, KeepsWhatTheStoreSaysOfEachImage)
{
    MemoryStore store = SmallStore();
    const Lot lot = ReadLot(store, {{}, true});
    EXPECT_EQ(lot.images[0].defects, 3U);
    EXPECT_EQ(lot.images[0].pairs, 21);
    EXPECT_EQ(lot.images[0].area, 380.0 * 260.0);
    EXPECT_NEAR(lot.images[0].size.value(), std::cbrt(6000.0), 1e-9);
    EXPECT_EQ(lot.images[0].grey, 100.0);
    EXPECT_EQ(lot.images[0].contrast, 30.0);
    EXPECT_TRUE(lot.images[1].refused);
    EXPECT_FALSE(lot.images[1].comparable);
    EXPECT_FALSE(lot.images[2].size.has_value());
    // The image of another size counts in charts only.
    EXPECT_FALSE(lot.images[4].comparable);
    EXPECT_EQ(lot.images[4].defects, 5U);
    ASSERT_THAT(lot.defects, SizeIs(5));
    EXPECT_EQ(lot.defects[4].image, 3U);
    EXPECT_EQ(lot.defects[4].x, 51);
    ASSERT_THAT(lot.regions, SizeIs(1));
    EXPECT_EQ(lot.regions[0].box, CRect(10, 20, 390, 280));
}

TEST(LotReader, CountsThePixelsOfRegionsThatAreNoRectangles)
{
    MemoryStore store;
    StoredImage image = ImageWith("a", 0);
    image.result.regions[0].outlines = {{CPoint(10, 20), CPoint(110, 20), CPoint(10, 120)},
                                        {CPoint(200, 20), CPoint(200, 40), CPoint(210, 40), CPoint(210, 20)}};
    store.runs.push_back({"r", {"d", "r.json", "{}"}, {image}});
    EXPECT_EQ(ReadLot(store, {}).regions.at(0).area, 5000.0 + 200.0);
}

TEST(LotReader, ReadsTheCellWithoutTheImagesOfTheRecipe)
{
    nlohmann::json document = SmallestRecipe();
    document["zones"] = {
        {"image", "not/there.png"}, {"list", {{{"index", 0}}, {{"index", 1}}}}, {"origin", {{"x", 4.5}, {"y", -2.0}}}};
    document["dead_image"] = "not/there.png";
    document["regions"] = {
        nlohmann::json::object(), {{"pitch", {{"x", 23.0}}}}, {{"tables", {{"scan_pitch", {30.0}}}}}};
    std::vector<LotRegion> regions(3);
    ReadCells(document.dump(), regions);
    ASSERT_TRUE(regions[0].cell.has_value()) << regions[0].noCell;
    EXPECT_EQ(regions[0].cell->lattice.vectors[0].x, 20.5);
    EXPECT_EQ(regions[0].cell->lattice.vectors[1].y, 30.25);
    EXPECT_EQ(regions[0].cell->originX, 4.5);
    EXPECT_EQ(regions[1].cell->lattice.vectors[0].x, 23.0);
    EXPECT_FALSE(regions[2].cell.has_value());
    EXPECT_THAT(regions[2].noCell, HasSubstr("differs from place to place"));
}

TEST(LotReader, ReadsTheVectorsOfALattice)
{
    nlohmann::json document = SmallestRecipe("lattice");
    std::vector<LotRegion> regions(1);
    ReadCells(document.dump(), regions);
    EXPECT_THAT(regions[0].noCell, HasSubstr("both vectors of the lattice"));
    document["lattice"] = {{"a", {{"x", 30.0}, {"y", 2.0}}}, {"b", {{"x", -3.0}, {"y", 40.0}}}};
    regions = {LotRegion()};
    ReadCells(document.dump(), regions);
    ASSERT_TRUE(regions[0].cell.has_value()) << regions[0].noCell;
    EXPECT_EQ(regions[0].cell->lattice.vectors[1].x, -3.0);
}

TEST(LotReader, SaysWhyThereIsNoCell)
{
    const auto reason = [](const std::string& text)
    {
        std::vector<LotRegion> regions(1);
        ReadCells(text, regions);
        EXPECT_FALSE(regions[0].cell.has_value());
        return regions[0].noCell;
    };
    EXPECT_THAT(reason(SmallestRecipe("binarise").dump()), HasSubstr("mode has no pitch"));
    EXPECT_THAT(reason("{}"), HasSubstr("none that has a pitch: "));
    EXPECT_THAT(reason("no JSON"), HasSubstr("none that has a pitch: "));
    nlohmann::json two = SmallestRecipe();
    two["regions"] = {nlohmann::json::object(), nlohmann::json::object()};
    EXPECT_THAT(reason(two.dump()), HasSubstr("other regions"));
}

TEST(LotReader, TakesAnEmptyRun)
{
    MemoryStore store;
    store.runs.push_back({"r", {"d", "r.json", "{}"}, {}});
    const Lot lot = ReadLot(store, {});
    EXPECT_THAT(lot.images, SizeIs(0));
    EXPECT_THAT(lot.regions, SizeIs(0));
}

TEST(LotReader, SaysWhatIsWrongWithTheChoice)
{
    MemoryStore store;
    EXPECT_THAT(ProblemsOfLot(store, {}),
                ElementsAre(Problem{"store memory", "no runs", "a store that narvo inspect has written"}));
    store = SmallStore();
    EXPECT_THAT(ProblemsOfLot(store, {{"monday", "noday"}, false}),
                ElementsAre(Problem{"--run", "noday", "one of the store's runs: monday, other, tuesday"}));
    EXPECT_THAT(ProblemsOfLot(store, {{"monday", "other"}, false}),
                ElementsAre(Problem{"run other", "made by another recipe than monday",
                                    "runs of one recipe, whose places can be compared"}));
    store.moreImages = nLotImageLimit;
    store.moreBlobs = nLotDefectLimit;
    EXPECT_THAT(ProblemsOfLot(store, {}),
                ElementsAre(Problem{"images of the lot", "10000002", "at most 10000000; name fewer runs"},
                            Problem{"defects of the lot", "10000007", "at most 10000000; name fewer runs"}));
}

} // namespace

} // namespace narvo::test
