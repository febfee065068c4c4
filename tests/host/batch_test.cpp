// SPDX-License-Identifier: MIT
// Batches: order, equality with one lane, faults of single images, stopping, regions and shared budgets.
#include "host/inspect/batch.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <new>
#include <stdexcept>
#include <thread>

#include <nlohmann/json.hpp>

#include "host/host_test_help.h"
#include "host/pattern_help.h"
#include "host/result/result_file.h"

namespace narvo::test
{

namespace
{

using testing::Contains;
using testing::ElementsAre;
using testing::SizeIs;

std::shared_ptr<const GreyImage> Shared(GreyImage image)
{
    return std::make_shared<const GreyImage>(std::move(image));
}

/// Images of one pattern, each with defects at places of its own.
GreyImage DefectImage(int number)
{
    GreyImage image = MakePattern(320, 300, -9, -9, 0);
    for (int i = 0; i <= number % 5; ++i)
        for (int y = 0; y < 4; ++y)
            for (int x = 0; x < 4; ++x)
                image.Row(100 + (number * 7) % 60 + y)[70 + i * 40 + x + number % 11] += 60;
    return image;
}

std::vector<BatchImage> Images(int count)
{
    std::vector<BatchImage> images;
    for (int i = 0; i < count; ++i)
        images.push_back({"image " + std::to_string(i), [i]
                          {
                              // Later images are ready earlier.
                              std::this_thread::sleep_for(std::chrono::microseconds(i % 3 == 0 ? 3000 : 10));
                              return Shared(DefectImage(i));
                          }});
    return images;
}

std::vector<CheckedRecipe> TwoRegions()
{
    nlohmann::json document = SmallestRecipe("pixel");
    document["pitch"] = {{"x", dPitchX}, {"y", dPitchY}};
    document["regions"] = {
        {{"name", "upper"}, {"region", {{"left", 0}, {"top", 0}, {"right", 320}, {"bottom", 200}}}},
        {{"name", "lower"}, {"region", {{"left", 20}, {"top", 90}, {"right", 300}, {"bottom", 300}}}}};
    return ParseRecipes(document, {});
}

/// All that a result says except times.
std::string TextOf(const ImageResult& result)
{
    std::string text = std::to_string(result.number) + " " + result.name;
    for (const Problem& problem : result.problems)
        text += "\n" + problem.Text();
    for (const InspectionResult& region : result.regions)
    {
        nlohmann::ordered_json document = ResultToJson(region);
        document.erase("milliseconds");
        text += "\n" + document.dump();
    }
    return text;
}

std::vector<std::string> RunTexts(Batch& batch, const std::vector<BatchImage>& images)
{
    std::vector<std::string> texts;
    batch.Run(images, [&](const ImageResult& result) { texts.push_back(TextOf(result)); });
    return texts;
}

} // namespace

TEST(Batch, ResultsAreThoseOfOneLaneInTheOrderOfTheListForAnyNumberOfLanes)
{
    const std::vector<BatchImage> images = Images(23);
    Batch one(TwoRegions(), 1);
    const std::vector<std::string> expected = RunTexts(one, images);
    ASSERT_THAT(expected, SizeIs(23));
    for (const int lanes : {2, 3, 8})
    {
        Batch several(TwoRegions(), lanes);
        EXPECT_EQ(RunTexts(several, images), expected) << lanes;
        EXPECT_EQ(RunTexts(several, images), expected) << "a second run on engines that have been used";
    }
}

TEST(Batch, EachRegionIsInspectedAsIfItWereAlone)
{
    const std::vector<CheckedRecipe> recipes = TwoRegions();
    Batch batch(recipes, 2);
    std::size_t blobs = 0;
    batch.Run(Images(4),
              [&](const ImageResult& result)
              {
                  ASSERT_THAT(result.regions, SizeIs(2));
                  EXPECT_EQ(result.regions[0].name, "upper");
                  EXPECT_EQ(result.regions[1].name, "lower");
                  for (std::size_t region = 0; region < 2; ++region)
                  {
                      Inspector fresh(1, recipes[region]->maxBlobs);
                      ImageResult alone = result;
                      alone.regions[region] =
                          fresh.Inspect(0, DefectImage(static_cast<int>(result.number)), recipes[region]);
                      EXPECT_EQ(TextOf(alone), TextOf(result));
                      blobs += alone.regions[region].blobs.size();
                  }
              });
    EXPECT_GE(blobs, 8U);
}

TEST(Batch, ImageThatCannotBeReadIsAProblemOfItsOwn)
{
    std::vector<BatchImage> images = Images(5);
    images[1] = ImageFromFile("no/such.png");
    images[3].load = [] { return std::make_shared<const GreyImage>(8, 8); };
    Batch batch(TwoRegions(), 3);
    std::vector<ImageResult> results;
    const BatchSummary summary = batch.Run(images, [&](const ImageResult& result) { results.push_back(result); });
    EXPECT_EQ(summary.images, 5U);
    EXPECT_EQ(summary.refused, 2U);
    EXPECT_FALSE(summary.stopped);
    ASSERT_THAT(results, SizeIs(5));
    EXPECT_THAT(results[1].problems, ElementsAre(IsProblem("image no/such.png", "no such file",
                                                           "an image file (PNG, TIFF, BMP, PGM, JPEG)")));
    EXPECT_THAT(results[1].regions, SizeIs(0));
    EXPECT_THAT(results[3].problems, Contains(IsProblem("regions[0].region.right", "320", "1 to 8 pixels")));
    EXPECT_THAT(results[3].problems, Contains(IsProblem("regions[1].region.right", "300", "1 to 8 pixels")));
    for (const std::size_t fine : {0U, 2U, 4U})
    {
        EXPECT_TRUE(results[fine].IsInspected());
        EXPECT_GE(results[fine].BlobCount(), 1U);
    }
}

TEST(Batch, AnyExceptionOfLoadingStaysWithItsImage)
{
    std::vector<BatchImage> images = Images(3);
    images[0].load = []() -> std::shared_ptr<const GreyImage> { throw std::bad_alloc(); };
    images[1].load = []() -> std::shared_ptr<const GreyImage> { throw std::runtime_error("camera gone"); };
    Batch batch(TwoRegions(), 2);
    std::vector<std::vector<Problem>> problems;
    batch.Run(images, [&](const ImageResult& result) { problems.push_back(result.problems); });
    EXPECT_THAT(
        problems,
        ElementsAre(ElementsAre(IsProblem("image image 0", "not enough memory", "fewer lanes or a smaller image")),
                    ElementsAre(IsProblem("image image 1", "camera gone", "an image that can be inspected")),
                    SizeIs(0)));
}

TEST(Batch, StopRequestLeavesABeginningOfTheList)
{
    Batch batch(TwoRegions(), 3);
    const std::vector<std::string> all = RunTexts(batch, Images(40));
    std::stop_source source;
    std::vector<std::string> texts;
    const BatchSummary summary = batch.Run(
        Images(40),
        [&](const ImageResult& result)
        {
            texts.push_back(TextOf(result));
            if (result.number == 4)
                source.request_stop();
        },
        source.get_token());
    EXPECT_TRUE(summary.stopped);
    EXPECT_GE(texts.size(), 5U);
    EXPECT_LT(texts.size(), 40U);
    EXPECT_EQ(summary.images, texts.size());
    EXPECT_TRUE(std::equal(texts.begin(), texts.end(), all.begin()));
}

TEST(Batch, StopRequestBeforeTheRunReportsNothing)
{
    Batch batch(TwoRegions(), 2);
    std::stop_source source;
    source.request_stop();
    const BatchSummary summary = batch.Run(
        Images(3), [](const ImageResult&) { ADD_FAILURE() << "reported"; }, source.get_token());
    EXPECT_EQ(summary.images, 0U);
    EXPECT_TRUE(summary.stopped);
}

TEST(Batch, WhatTheReportThrowsComesOutAndTheBatchCanRunAgain)
{
    Batch batch(TwoRegions(), 4);
    EXPECT_THROW(batch.Run(Images(30),
                           [](const ImageResult& result)
                           {
                               if (result.number == 2)
                                   throw std::runtime_error("disk full");
                           }),
                 std::runtime_error);
    EXPECT_THAT(RunTexts(batch, Images(30)), SizeIs(30));
}

TEST(Batch, FewImagesAreHeldAtATimeEvenIfReportingIsSlow)
{
    constexpr int nLanes = 2;
    std::atomic<int> begun = 0;
    std::vector<BatchImage> images;
    for (int i = 0; i < 100; ++i)
        images.push_back({"", [&begun]
                          {
                              ++begun;
                              return Shared(GreyImage(320, 300, 90));
                          }});
    Batch batch(TwoRegions(), nLanes);
    batch.Run(images,
              [&](const ImageResult& result)
              {
                  std::this_thread::sleep_for(std::chrono::milliseconds(1));
                  EXPECT_LE(begun, static_cast<int>(result.number) + 1 + 16 + 4 * nLanes);
              });
    EXPECT_EQ(begun, 100);
}

TEST(Batch, RegionsWithDifferentRoomForBlobsKeepTheirOwn)
{
    std::vector<Recipe> recipes = {*TwoRegions()[0], *TwoRegions()[1]};
    recipes[0].maxBlobs = 1;
    Batch batch(CheckRecipes(recipes), 2);
    batch.Run({{"", [] { return Shared(DefectImage(4)); }}},
              [](const ImageResult& result)
              {
                  ASSERT_THAT(result.regions, SizeIs(2));
                  EXPECT_THAT(result.regions[0].warnings,
                              Contains("room for blobs ran out, or nearly so: raise max_blobs (1)"));
                  EXPECT_THAT(result.regions[1].warnings, SizeIs(0));
                  EXPECT_TRUE(result.HasWarnings());
              });
}

struct HistoryCase
{
    const char* name;
    void (*set)(Recipe&);
};

void PrintTo(const HistoryCase& tested, std::ostream* out)
{
    *out << tested.name;
}

class BatchHistory : public testing::TestWithParam<HistoryCase>
{
};

/// Grey noise and squares: enough hits to leave something behind in every store.
GreyImage NoisyImage(unsigned seed)
{
    GreyImage image = DefectImage(static_cast<int>(seed));
    unsigned state = seed * 2654435761U + 1U;
    for (int y = 0; y < image.Height(); ++y)
        for (int x = 0; x < image.Stride(); ++x)
        {
            state = state * 1664525U + 1013904223U;
            image.Row(y)[x] = static_cast<std::uint8_t>(image.Row(y)[x] + (state >> 24) % 24);
            if (state % 97 == 0)
                image.Row(y)[x] = static_cast<std::uint8_t>(255 - image.Row(y)[x]);
        }
    return image;
}

TEST_P(BatchHistory, ImageIsInspectedAsOnEnginesThatNeverSawAnother)
{
    Recipe recipe = SmallestParsed();
    recipe.pitchX = dPitchX;
    recipe.pitchY = dPitchY;
    recipe.thresholdBase = 20;
    GetParam().set(recipe);
    const auto run = [&](Inspector& inspector, unsigned seed)
    {
        ImageResult result;
        result.regions = {inspector.Inspect(0, NoisyImage(seed), CheckedRecipe(recipe))};
        return TextOf(result);
    };
    Inspector used(1, recipe.maxBlobs);
    for (const unsigned seed : {7U, 3U, 11U})
    {
        Inspector fresh(1, recipe.maxBlobs);
        EXPECT_EQ(run(used, seed), run(fresh, seed)) << seed;
    }
}

const HistoryCase historyCases[] = {
    {"Zone", [](Recipe& recipe) { recipe.thresholdBase = 0; }},
    {"ZoneExtendedDark",
     [](Recipe& recipe)
     {
         recipe.thresholdBase = 0;
         recipe.extendedKernel = true;
         recipe.darkFilterBase = 10;
     }},
    {"ZoneTables",
     [](Recipe& recipe)
     {
         recipe.thresholdBase = 0;
         recipe.extendedKernel = recipe.zoneTables = true;
     }},
    {"ZoneHorizontal",
     [](Recipe& recipe)
     {
         recipe.thresholdBase = 0;
         recipe.direction = Direction_Horizontal;
     }},
    {"Pixel", [](Recipe& recipe) { recipe.mode = Mode_Pixel; }},
    {"PixelTwice",
     [](Recipe& recipe)
     {
         recipe.mode = Mode_Pixel;
         recipe.extendedKernel = true;
         recipe.twicePitch = 2 * dPitchY;
         recipe.twiceBase = 25;
     }},
    {"Float",
     [](Recipe& recipe)
     {
         recipe.mode = Mode_Float;
         recipe.thresholdBase = 80;
     }},
    {"FloatExtended",
     [](Recipe& recipe)
     {
         recipe.mode = Mode_Float;
         recipe.thresholdBase = 80;
         recipe.extendedKernel = true;
     }},
    {"Trapezium",
     [](Recipe& recipe)
     {
         recipe.mode = Mode_Float;
         recipe.thresholdBase = 80;
         recipe.regionShape = RegionShape_Trapezium;
         recipe.regionPoints = {{10, 10}, {310, 10}, {300, 290}, {20, 290}};
     }},
    {"TrapeziumHorizontal",
     [](Recipe& recipe)
     {
         recipe.mode = Mode_Float;
         recipe.thresholdBase = 80;
         recipe.direction = Direction_Horizontal;
         recipe.regionShape = RegionShape_Trapezium;
         recipe.regionPoints = {{10, 10}, {310, 10}, {300, 290}, {20, 290}};
     }},
    {"Polygon",
     [](Recipe& recipe)
     {
         recipe.mode = Mode_Float;
         recipe.regionShape = RegionShape_Polygon;
         recipe.regionPoints = {{10, 10}, {310, 40}, {300, 290}, {150, 200}, {20, 290}};
     }},
    {"Binarise",
     [](Recipe& recipe)
     {
         recipe = ParseRecipe(SmallestRecipe("binarise"), {});
         recipe.binariseLimit = 60;
     }},
    {"Average", [](Recipe& recipe) { recipe = ParseRecipe(SmallestRecipe("average"), {}); }},
    {"Asg",
     [](Recipe& recipe)
     {
         recipe.mode = Mode_Asg;
         recipe.thresholdBase = 0;
     }},
};

INSTANTIATE_TEST_SUITE_P(Paths, BatchHistory, testing::ValuesIn(historyCases),
                         [](const testing::TestParamInfo<HistoryCase>& one) { return std::string(one.param.name); });

TEST(Batch, BadRecipesAndLanesAreRefusedWithAllThatIsWrong)
{
    EXPECT_THAT(ProblemsOf([] { Batch({}, 1); }), ElementsAre(IsProblem("recipes", "none", "at least one")));
    EXPECT_THAT(ProblemsOf([] { Batch(TwoRegions(), 0); }), ElementsAre(IsProblem("lanes", "0", "1 to 256")));
    std::vector<Recipe> recipes = {*TwoRegions()[0], *TwoRegions()[1]};
    recipes[0].pitchX = 0.0;
    recipes[1].greyLimit = 256;
    EXPECT_THAT(ProblemsOf([&] { Batch(CheckRecipes(recipes), 1); }),
                ElementsAre(IsAbout("regions[0].pitch.x"), IsAbout("regions[1].grey_limit")));
}

TEST(Batch, EmptyListEndsAtOnce)
{
    Batch batch(TwoRegions(), 2);
    const BatchSummary summary = batch.Run({}, [](const ImageResult&) { ADD_FAILURE(); });
    EXPECT_EQ(summary.images, 0U);
    EXPECT_FALSE(summary.stopped);
}

} // namespace narvo::test
