// SPDX-License-Identifier: MIT
// Results that are kept in a file and read back, by the installed headers.
#include <cstdint>
#include <fstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <narvo/narvohost.h>

#include "library/host_pictures.h"
#include "support/test_folder.h"

namespace narvo::test
{

namespace
{

class HostStore : public testing::Test
{
protected:
    const TestFolder folder;
    const std::string place = (folder / "results.sqlite").string();
    const Recipe recipe =
        RecipeDraft().Set("mode", "pixel").Set("pitch.x", 32).Set("pitch.y", 24).Set("threshold.base", 40).Check();

    StoredImage Inspected(const std::string& name, int size) const
    {
        Picture8 picture = PeriodicPicture(320, 240, 32, 24);
        picture.Fill({100, 60, 100 + size, 60 + size}, 250);
        Inspector inspector;
        StoredImage image;
        image.name = name;
        image.width = picture.width;
        image.height = picture.height;
        image.inspected = 1700000000000000000;
        image.reports = inspector.InspectFully(picture.Pixels(), recipe);
        return image;
    }

    static std::vector<StoredImage> ImagesOf(ResultStore& store, std::int64_t run)
    {
        std::vector<StoredImage> images;
        store.Images(run, [&](StoredImage image) { images.push_back(std::move(image)); });
        return images;
    }
};

std::string FirstField(const std::vector<Problem>& problems)
{
    return problems.empty() ? "" : problems.front().field;
}

} // namespace

TEST_F(HostStore, KeepsImagesWithTheirReports)
{
    const StoredImage first = Inspected("a.png", 6);
    StoredImage second = Inspected("b\xff.png", 9);
    second.sequence = 1;
    StoredImage refused;
    refused.name = "broken.png";
    refused.sequence = 2;
    refused.problems = {{"broken.png", "no image", "PNG, TIFF, BMP, PGM or JPEG"}};
    {
        ResultStore store = ResultStore::ForWriting(place);
        const std::int64_t run = store.BeginRun("lot7", recipe, "panel.json", "test 1.0");
        store.Add(run, {second, first, refused});
        store.Add(run, {second}); // takes its own place
    }
    ResultStore store = ResultStore::ForReading(place);
    const std::vector<StoredRun> runs = store.Runs();
    ASSERT_EQ(runs.size(), 1U);
    EXPECT_EQ(runs[0].key, "lot7");
    EXPECT_EQ(runs[0].recipe, "panel.json");
    EXPECT_EQ(runs[0].program, "test 1.0");
    EXPECT_EQ(runs[0].images, 3U);
    EXPECT_EQ(runs[0].refused, 1U);
    EXPECT_EQ(runs[0].defects, first.reports[0].report.defects.size() + second.reports[0].report.defects.size());
    EXPECT_GT(runs[0].started, 0);

    const std::vector<StoredImage> images = ImagesOf(store, runs[0].number);
    ASSERT_EQ(images.size(), 3U);
    EXPECT_EQ(images[0].name, "a.png");
    EXPECT_EQ(images[1].name, "b\xff.png");
    EXPECT_EQ(images[0].inspected, 1700000000000000000);
    ASSERT_EQ(images[1].reports.size(), 1U);
    EXPECT_EQ(DefectTable(images[1].reports[0]), DefectTable(second.reports[0]));
    EXPECT_EQ(images[1].reports[0].width, 320);
    EXPECT_EQ(images[2].problems.at(0).value, "no image");
    EXPECT_TRUE(images[2].reports.empty());
    EXPECT_TRUE(ImagesOf(store, runs[0].number + 1).empty());
}

TEST_F(HostStore, RunsBeginAsTheyAreToldTo)
{
    ResultStore store = ResultStore::ForWriting(place);
    const std::int64_t run = store.BeginRun("lot", recipe, "r", "test");
    store.Add(run, {Inspected("a", 6)});
    EXPECT_FALSE(Attempt([&] { store.BeginRun("lot", recipe, "r", "test"); }).empty());
    EXPECT_EQ(store.BeginRun("lot", recipe, "r", "test", RunStart::Continue), run);
    EXPECT_EQ(ImagesOf(store, run).size(), 1U);
    const Recipe other = RecipeDraft::Of(recipe).Set("min_area", 3).Check();
    EXPECT_FALSE(Attempt([&] { store.BeginRun("lot", other, "r", "test", RunStart::Continue); }).empty());
    const std::int64_t again = store.BeginRun("lot", other, "r", "test", RunStart::Afresh);
    EXPECT_TRUE(ImagesOf(store, again).empty());
    EXPECT_EQ(store.Runs().size(), 1U);
}

TEST_F(HostStore, WhatIsThereAndNoStoreIsNoFaultOfWriting)
{
    std::ofstream(place) << "no database at all, but a file that is long enough to be looked at";
    try
    {
        ResultStore::ForWriting(place);
        FAIL();
    }
    catch (const Error& error)
    {
        EXPECT_EQ(error.Problems().at(0).field, "place " + place);
    }
    EXPECT_THROW(ResultStore::ForWriting((folder / "none" / "s.sqlite").string()), WriteError);
}

TEST_F(HostStore, WhatCannotBeKeptIsRefusedAndTheRestStays)
{
    EXPECT_EQ(FirstField(Attempt([&] { ResultStore::ForReading(place); })), "place " + place);
    EXPECT_EQ(FirstField(Attempt([&] { ResultStore::ForReading(""); })), "place");
    ResultStore store = ResultStore::ForWriting(place);
    EXPECT_EQ(FirstField(Attempt([&] { store.BeginRun("", recipe, "r", "test"); })), "key");
    EXPECT_EQ(FirstField(Attempt([&] { store.BeginRun(std::string("a\0b", 3), recipe, "r", "test"); })), "key");
    EXPECT_EQ(FirstField(Attempt([&] { store.BeginRun("a", recipe, "r", "test", static_cast<RunStart>(5)); })),
              "start");
    const std::int64_t run = store.BeginRun("a", recipe, "r", "test");
    StoredImage nameless = Inspected("", 6);
    EXPECT_EQ(FirstField(Attempt([&] { store.Add(run, {Inspected("good", 6), nameless}); })), "images[1].name");
    StoredImage both = Inspected("both", 6);
    both.problems = {{"a", "b", "c"}};
    EXPECT_EQ(FirstField(Attempt([&] { store.Add(run, {both}); })), "images[0].reports");
    EXPECT_EQ(FirstField(Attempt([&] { store.Add(run + 5, {Inspected("good", 6)}); })), "run");
    EXPECT_TRUE(ImagesOf(store, run).empty());
    store.Add(run, {Inspected("good", 6)});
    EXPECT_FALSE(Attempt([&] { store.Images(run, {}); }).empty());
    EXPECT_THROW(store.Images(run, [](StoredImage) { throw std::out_of_range("mine"); }), std::out_of_range);
    EXPECT_EQ(ImagesOf(store, run).size(), 1U);
    const ResultStore moved = std::move(store);
    EXPECT_EQ(FirstField(Attempt([&] { store.Runs(); })), "store");
}

TEST_F(HostStore, LotsAreReadFromItsRuns)
{
    const Recipe other = RecipeDraft::Of(recipe).Set("min_area", 3).Check();
    Lot inMemory(recipe, "panel.json");
    {
        ResultStore store = ResultStore::ForWriting(place);
        const std::int64_t first = store.BeginRun("monday", recipe, "panel.json", "test 1.0");
        const std::int64_t between = store.BeginRun("other", other, "other.json", "test 1.0");
        const std::int64_t second = store.BeginRun("tuesday", recipe, "panel.json", "test 1.0");
        for (int i = 0; i < 12; ++i)
        {
            StoredImage image = Inspected("i" + std::to_string(i), 6);
            image.sequence = i;
            store.Add(i < 5 ? first : second, {image});
            inMemory.Add(image);
        }
        store.Add(between, {Inspected("x", 6)});
    }
    ResultStore store = ResultStore::ForReading(place);
    const LotReport both = Lot::OfLatestRecipe(store).Find();
    EXPECT_EQ(both.store, place);
    EXPECT_EQ(both.recipe, "panel.json");
    EXPECT_EQ(both.runs, (std::vector<std::string>{"monday", "tuesday"}));
    const LotReport memory = inMemory.Find();
    EXPECT_EQ(both.images, memory.images);
    EXPECT_EQ(both.text.substr(both.text.find('\n')), memory.text.substr(memory.text.find('\n')));
    ASSERT_EQ(both.tests.at(0).places.size(), 1U) << both.text; // one spot at the same place of all twelve
    EXPECT_EQ(both.tests[0].places[0].images, 12U);
    EXPECT_EQ(Lot::FromStore(store).Find().runs, std::vector<std::string>{"tuesday"});
    EXPECT_EQ(Lot::FromStore(store, {"tuesday", "monday"}).Find().text, both.text);
    Lot more = Lot::FromStore(store, {"monday"});
    EXPECT_EQ(more.Add(Inspected("later", 6)).Images(), 6U);

    EXPECT_EQ(FirstField(Attempt([&] { Lot::FromStore(store, {"noday"}); })), "runs");
    EXPECT_EQ(FirstField(Attempt([&] { Lot::FromStore(store, {"monday", "other"}); })), "run other");
    const ResultStore moved = std::move(store);
    EXPECT_EQ(FirstField(Attempt([&] { Lot::FromStore(store); })), "store");
    ResultStore empty = ResultStore::ForWriting((folder / "empty.sqlite").string());
    EXPECT_EQ(FirstField(Attempt([&] { Lot::FromStore(empty); })), "store " + (folder / "empty.sqlite").string());
}

} // namespace narvo::test
