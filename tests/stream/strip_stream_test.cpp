// SPDX-License-Identifier: MIT
// What a stream refuses, counts and says, and that it reports in time.
#include <algorithm>

#include "host/host_test_help.h"
#include "host/stream/strip_stream.h"
#include "stream/stream_help.h"

namespace narvo::test
{
namespace
{

using testing::ElementsAre;
using testing::IsEmpty;

constexpr int nWidth = 64;

Recipe PixelRecipe()
{
    Recipe recipe;
    recipe.mode = Mode_Pixel;
    recipe.pitchX = 8.0;
    recipe.pitchY = 10.0;
    recipe.thresholdBase = 20;
    return recipe;
}

class CollectingSink : public StreamSink
{
public:
    void OnBlob(const StreamBlob& blob) override { blobs.push_back(blob); }
    std::vector<StreamBlob> blobs;
};

/// Grey rows with bright spots of 2 by 2 pixels at these rows, each at another column.
GreyImage SpotRows(int rows, const std::vector<int>& spots)
{
    GreyImage image(nWidth, rows, 100);
    for (std::size_t i = 0; i < spots.size(); ++i)
        for (const int y : {spots[i], spots[i] + 1})
            for (const int x : {20, 21})
                image.Row(y)[x + 3 * static_cast<int>(i % 8)] = 200;
    return image;
}

std::vector<Problem> ProblemsWith(const Recipe& recipe, const StreamSettings& settings = {}, int width = nWidth)
{
    CollectingSink sink;
    return ProblemsOf([&] { StripStream(CheckedRecipe(recipe), width, settings, sink); });
}

TEST(StripStream, RefusesWhatItCannotDoByField)
{
    Recipe recipe = PixelRecipe();
    recipe.region = CRect(0, 0, 64, 64);
    recipe.marginFrame = CRect(0, 0, 64, 64);
    EXPECT_THAT(ProblemsWith(recipe), ElementsAre(IsAbout("region"), IsAbout("margin_frame")));
    recipe = ParseRecipe(SmallestRecipe(), {});
    recipe.scanTilts = {0.5};
    EXPECT_THAT(CheckStream(recipe, nWidth, {}), ElementsAre(IsAbout("tables.scan_tilt")));
    recipe = PixelRecipe();
    recipe.autoDirection = true;
    EXPECT_THAT(ProblemsWith(recipe), ElementsAre(IsAbout("auto_direction")));
    recipe = PixelRecipe();
    recipe.extendedKernel = true;
    recipe.twicePitch = 12.0;
    EXPECT_THAT(ProblemsWith(recipe), ElementsAre(IsAbout("twice.pitch")));
    recipe = PixelRecipe();
    recipe.darkFilterBase = 5;
    EXPECT_THAT(ProblemsWith(recipe), ElementsAre(IsAbout("kernel.dark_base")));
    Recipe zones = ParseRecipe(SmallestRecipe(), {});
    zones.skippedCells = {{1, 1}};
    EXPECT_THAT(CheckStream(zones, nWidth, {}), ElementsAre(IsAbout("zones.skip")));
    zones = ParseRecipe(SmallestRecipe(), {});
    zones.zones.front().verifyMode = VerifyMode_Fixed;
    EXPECT_THAT(CheckStream(zones, nWidth, {}), ElementsAre(IsAbout("zones.list[0].verify.mode")));
    EXPECT_THAT(ProblemsOf([] { throw HostError(CheckStream(ParseRecipe(SmallestRecipe("average"), {}), 64, {})); }),
                ElementsAre(IsAbout("mode")));
}

TEST(StripStream, GoesOnWithTheLastEntryOfARowTable)
{
    // The pattern repeats after 10 rows, which only the table knows: at the recipe's pitch its edges are hits.
    Recipe recipe = PixelRecipe();
    recipe.pitchY = 10.4375;
    recipe.scanPitches = {10.0};
    StreamSettings settings;
    settings.windowRows = 200;
    CollectingSink sink;
    StripStream stream(CheckedRecipe(recipe), nWidth, settings, sink);
    GreyImage image(nWidth, 1500, 100);
    for (int y = 0; y < image.Height(); ++y)
        if (y % 10 < 5)
            std::fill_n(image.Row(y), nWidth, std::uint8_t{160});
    image.Row(1234)[30] = 255;
    stream.Push(image);
    stream.Finish();
    ASSERT_EQ(sink.blobs.size(), 1U);
    EXPECT_EQ(sink.blobs.front().row, 1234);
    EXPECT_TRUE(stream.Counts().IsExact());
}

TEST(StripStream, RefusesSettingsOutOfRange)
{
    StreamSettings settings;
    settings.largestBlob = 0;
    settings.maxOpenPairs = 0;
    EXPECT_THAT(ProblemsWith(PixelRecipe(), settings), ElementsAre(IsAbout("largest_blob"), IsAbout("max_open_pairs")));
    settings = {};
    settings.windowRows = 20;
    EXPECT_THAT(ProblemsWith(PixelRecipe(), settings), ElementsAre(IsAbout("window_rows")));
    EXPECT_THAT(ProblemsWith(PixelRecipe(), {}, 0), ElementsAre(IsAbout("width")));
    EXPECT_THAT(ProblemsWith(PixelRecipe(), {}, 40000), ElementsAre(IsAbout("width")));
    // Too narrow for three pitches: the recipe's own rule.
    EXPECT_THAT(ProblemsWith(PixelRecipe(), {}, 20), ElementsAre(IsAbout("pitch.x")));
}

TEST(StripStream, RefusesRowsOfAnotherWidthAndAfterTheEnd)
{
    CollectingSink sink;
    StripStream stream(CheckedRecipe(PixelRecipe()), nWidth, {}, sink);
    EXPECT_THAT(ProblemsOf([&] { stream.Push(GreyImage(60, 5, 100)); }), ElementsAre(IsAbout("rows")));
    stream.Push(SpotRows(100, {50}));
    stream.Finish();
    stream.Finish();
    EXPECT_TRUE(stream.IsFinished());
    EXPECT_EQ(sink.blobs.size(), 1U);
    EXPECT_THAT(ProblemsOf([&] { stream.Push(SpotRows(100, {50})); }), ElementsAre(IsAbout("rows")));
}

TEST(StripStream, SaysThatTooFewRowsCame)
{
    CollectingSink sink;
    StripStream stream(CheckedRecipe(PixelRecipe()), nWidth, {}, sink);
    stream.Push(SpotRows(20, {5}));
    EXPECT_THAT(ProblemsOf([&] { stream.Finish(); }), ElementsAre(IsAbout("pitch.y")));
    stream.Push(SpotRows(20, {5}));
    stream.Finish();
    EXPECT_FALSE(sink.blobs.empty());
}

TEST(StripStream, ReportsWithinItsDelay)
{
    StreamSettings settings;
    settings.windowRows = 200;
    settings.largestBlob = 50;
    CollectingSink sink;
    StripStream stream(CheckedRecipe(PixelRecipe()), nWidth, settings, sink);
    const GreyImage image = SpotRows(2000, {400, 777, 1200});
    std::vector<int> reported;
    for (int y = 0; y < image.Height(); ++y)
    {
        stream.Push(image.Row(y), 1, image.Stride());
        while (reported.size() < sink.blobs.size())
            reported.push_back(y);
    }
    ASSERT_EQ(reported.size(), 3U);
    EXPECT_EQ(sink.blobs[1].row, 777);
    EXPECT_EQ(sink.blobs[1].blob.box, CRect(23, 0, 25, 2));
    EXPECT_EQ(sink.blobs[1].blob.number, 2);
    for (std::size_t i = 0; i < 3; ++i)
        EXPECT_LE(reported[i] - sink.blobs[i].row, stream.DelayRows());
    stream.Finish();
    EXPECT_TRUE(stream.Counts().IsExact());
    EXPECT_THAT(stream.Warnings(), IsEmpty());
}

TEST(StripStream, SaysThatFiltersRoundByTheRow)
{
    CollectingSink sink;
    Recipe recipe = PixelRecipe();
    EXPECT_THAT(StripStream(CheckedRecipe(recipe), nWidth, {}, sink).Warnings(), IsEmpty());
    recipe.pitchY = 10.28;
    EXPECT_THAT(StripStream(CheckedRecipe(recipe), nWidth, {}, sink).Warnings(),
                ElementsAre(testing::HasSubstr("pitch.y")));
}

TEST(StripStream, CutsABlobThatIsLargerThanTheLargestAndSaysSo)
{
    StreamSettings settings;
    settings.windowRows = 120;
    settings.largestBlob = 30;
    Recipe recipe = PixelRecipe();
    recipe.mergeDistance = 12;
    CollectingSink sink;
    StripStream stream(CheckedRecipe(recipe), nWidth, settings, sink);
    GreyImage image(nWidth, 1000, 100);
    // Every second pitch is bright, so that every second one holds pairs.
    for (int y = 200; y < 600; ++y)
        image.Row(y)[30] = y / 10 % 2 == 0 ? 200 : 100;
    stream.Push(image);
    stream.Finish();
    EXPECT_GT(stream.Counts().cutBlobs, 0);
    EXPECT_FALSE(stream.Counts().IsExact());
    EXPECT_THAT(stream.Warnings(), ElementsAre(testing::HasSubstr("largest_blob")));
}

TEST(StripStream, CutsBlobsWhereMorePairsWaitThanAllowed)
{
    StreamSettings settings;
    settings.windowRows = 120;
    settings.maxOpenPairs = 1;
    CollectingSink sink;
    StripStream stream(CheckedRecipe(PixelRecipe()), nWidth, settings, sink);
    GreyImage image(nWidth, 400, 100);
    for (int y = 40; y < 390; ++y)
        image.Row(y)[30 + y % 3] = 200;
    stream.Push(image);
    stream.Finish();
    EXPECT_GT(stream.Counts().crowded, 0);
    EXPECT_THAT(stream.Warnings(), testing::Contains(testing::HasSubstr("max_open_pairs")));
}

TEST(StripStream, GoesOnBeyondTheRowsThatTheEngineCounts)
{
    // The same rows again and again: every turn reports the same spot, further on by the rows of a turn.
    StreamSettings settings;
    settings.windowRows = 9000;
    CollectingSink sink;
    StripStream stream(CheckedRecipe(PixelRecipe()), nWidth, settings, sink);
    const GreyImage turn = SpotRows(8000, {777});
    constexpr int nTurns = 540;
    for (int i = 0; i < nTurns; ++i)
        stream.Push(turn);
    stream.Finish();
    ASSERT_EQ(sink.blobs.size(), static_cast<std::size_t>(nTurns));
    for (int i = 0; i < nTurns; ++i)
        EXPECT_EQ(sink.blobs[static_cast<std::size_t>(i)].row, 8000 * i + 777);
}

} // namespace
} // namespace narvo::test
