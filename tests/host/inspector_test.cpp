// SPDX-License-Identifier: MIT
// Inspections from recipe to plain results: every kernel that a recipe can select, lanes, resets, warnings.
#include "host/inspect/inspector.h"

#include <random>
#include <thread>

#include "host/pattern_help.h"

namespace narvo::test
{

namespace
{

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

struct KernelCase
{
    const char* name;
    void (*set)(Recipe&);
};

void PrintTo(const KernelCase& kernel, std::ostream* out)
{
    *out << kernel.name;
}

const KernelCase kernelCases[] = {
    {"Plain", [](Recipe&) {}},
    {"Horizontal", [](Recipe& recipe) { recipe.direction = Direction_Horizontal; }},
    {"HorizontalTable",
     [](Recipe& recipe)
     {
         recipe.direction = Direction_Horizontal;
         recipe.convPitches.assign(25, dPitchX);
     }},
    {"RowTable", [](Recipe& recipe) { recipe.scanPitches.assign(19, dPitchY); }},
    {"ExtendedRowTable",
     [](Recipe& recipe)
     {
         recipe.scanPitches.assign(19, dPitchY);
         recipe.extendedKernel = true;
         recipe.classImage = GreyImage(33, 25, 3);
     }},
    {"CrossShift", [](Recipe& recipe) { recipe.crossShift = 0.0625; }},
    {"ExtendedCrossShift",
     [](Recipe& recipe)
     {
         recipe.crossShift = 0.0625;
         recipe.extendedKernel = true;
     }},
    {"Direct", [](Recipe& recipe) { recipe.lineBuffer = false; }},
    {"TwoSegment",
     [](Recipe& recipe)
     {
         recipe.twoSegment = true;
         recipe.zones[0].knee = 120;
     }},
    {"Skipping",
     [](Recipe& recipe)
     {
         recipe.skippedCells = {{0, 0}};
         recipe.maxReruns = 0;
         recipe.bandSplit = false;
     }},
    {"SkippingMean",
     [](Recipe& recipe)
     {
         recipe.skippedCells = {{0, 0}};
         recipe.maxReruns = 0;
         recipe.bandSplit = false;
         recipe.average2by2 = true;
     }},
    {"Mean", [](Recipe& recipe) { recipe.average2by2 = true; }},
    {"ZoneTable",
     [](Recipe& recipe)
     {
         recipe.extendedKernel = true;
         recipe.zoneTables = true;
     }},
    {"DarkFilter",
     [](Recipe& recipe)
     {
         recipe.extendedKernel = true;
         recipe.darkFilterBase = 25;
     }},
    {"RealPitch",
     [](Recipe& recipe)
     {
         recipe.extendedKernel = true;
         recipe.classPitch = dPitchY;
     }},
    {"Extended", [](Recipe& recipe) { recipe.extendedKernel = true; }},
};

class EveryKernel : public testing::TestWithParam<KernelCase>
{
};

TEST_P(EveryKernel, FindsTheSquareAndNothingElse)
{
    Inspector inspector(1, 1000);
    for (const int step : {70, -60})
        for (const CPoint& place : {CPoint(203, 151), CPoint(101, 77), CPoint(290, 210)})
        {
            const GreyImage image = MakePattern(nWidth, nHeight, place.x, place.y, step);
            Recipe recipe = PatternRecipe();
            GetParam().set(recipe);
            ExpectTheSquare(inspector.Inspect(0, image, CheckedRecipe(recipe)), place.x, place.y, step > 0);
        }
}

TEST_P(EveryKernel, FindsNothingInAGoodPattern)
{
    Recipe recipe = PatternRecipe();
    GetParam().set(recipe);
    EXPECT_THAT(Inspector(1, 1000).Inspect(0, MakePattern(nWidth, nHeight, 0, 0, 0), CheckedRecipe(recipe)).blobs,
                IsEmpty());
}

TEST_P(EveryKernel, PaintedZonesDecideWhereASquareCounts)
{
    // Left half of the cell: no pixel passes; right half: the usual threshold.
    Recipe recipe = PatternRecipe();
    GetParam().set(recipe);
    recipe.zoneImage = GreyImage(33, 25, 2);
    for (int y = 0; y < 25; ++y)
        std::fill_n(recipe.zoneImage.Row(y), 16, std::uint8_t{1});
    recipe.zones = {{.index = 1, .offset = 300, .tableOffset = 150}, {.index = 2, .offset = 20, .tableOffset = 20}};
    for (ZoneSettings& zone : recipe.zones)
        zone.upperOffset = zone.offset;
    Inspector inspector(1, 1000);
    // Column 6 of a cell and column 24 of it.
    const int x = static_cast<int>(6 * dPitchX) + 6;
    EXPECT_THAT(inspector.Inspect(0, MakePattern(nWidth, nHeight, x, 151, 70), CheckedRecipe(recipe)).blobs, IsEmpty());
    const InspectionResult result =
        inspector.Inspect(0, MakePattern(nWidth, nHeight, x + 18, 151, 70), CheckedRecipe(recipe));
    ExpectTheSquare(result, x + 18, 151, true);
    ASSERT_THAT(result.blobs, SizeIs(1));
    EXPECT_EQ(result.blobs[0].zone, 2);
}

INSTANTIATE_TEST_SUITE_P(Inspector, EveryKernel, testing::ValuesIn(kernelCases),
                         [](const testing::TestParamInfo<KernelCase>& tested) { return tested.param.name; });

TEST(Inspector, DeadZonesDropTheirDefects)
{
    Recipe recipe = PatternRecipe();
    recipe.extendedKernel = true;
    recipe.zoneTables = true;
    const GreyImage image = MakePattern(nWidth, nHeight, 203, 151, 70);
    Inspector inspector(1, 1000);
    ExpectTheSquare(inspector.Inspect(0, image, CheckedRecipe(recipe)), 203, 151, true);
    recipe.deadZones = {CRect(190, 140, 220, 160)};
    EXPECT_THAT(inspector.Inspect(0, image, CheckedRecipe(recipe)).blobs, IsEmpty());
}

TEST(Inspector, SkippedCellsAreNotLookedAt)
{
    Recipe recipe = PatternRecipe();
    recipe.maxReruns = 0;
    recipe.bandSplit = false;
    const GreyImage image = MakePattern(nWidth, nHeight, 210, 156, 70); // column 6, row 6 of the grid
    Inspector inspector(1, 1000);
    recipe.skippedCells = {{5, 6}};
    ExpectTheSquare(inspector.Inspect(0, image, CheckedRecipe(recipe)), 210, 156, true);
    recipe.skippedCells = {{6, 6}};
    EXPECT_THAT(inspector.Inspect(0, image, CheckedRecipe(recipe)).blobs, IsEmpty());
}

TEST(Inspector, GreyLimitsOfAZoneDropPairs)
{
    Recipe recipe = PatternRecipe();
    recipe.zones = {{.index = 1}};
    const GreyImage bright = MakePattern(nWidth, nHeight, 203, 151, 70);
    const GreyImage dark = MakePattern(nWidth, nHeight, 203, 151, -60);
    Inspector inspector(1, 1000);
    ExpectTheSquare(inspector.Inspect(0, bright, CheckedRecipe(recipe)), 203, 151, true);
    recipe.zones[0].brightMinDifference = 90;
    EXPECT_THAT(inspector.Inspect(0, bright, CheckedRecipe(recipe)).blobs, IsEmpty());
    ExpectTheSquare(inspector.Inspect(0, dark, CheckedRecipe(recipe)), 203, 151, false);
    recipe.zones[0].darkGreyLimit = 20;
    EXPECT_THAT(inspector.Inspect(0, dark, CheckedRecipe(recipe)).blobs, IsEmpty());
}

TEST(Inspector, SmallBlobsAreLeftOutByTheirArea)
{
    Recipe recipe = PatternRecipe();
    const GreyImage image = MakePattern(nWidth, nHeight, 203, 151, 70);
    Inspector inspector(1, 1000);
    recipe.minArea = 25;
    EXPECT_THAT(inspector.Inspect(0, image, CheckedRecipe(recipe)).blobs, SizeIs(1));
    recipe.minArea = 26;
    EXPECT_THAT(inspector.Inspect(0, image, CheckedRecipe(recipe)).blobs, IsEmpty());
}

TEST(Inspector, AutoDirectionInspectsALowRegion)
{
    Recipe recipe = PatternRecipe();
    recipe.autoDirection = true;
    recipe.region = CRect(0, 120, 400, 180);
    const InspectionResult result =
        Inspector(1, 1000).Inspect(0, MakePattern(nWidth, nHeight, 203, 151, 70), CheckedRecipe(recipe));
    EXPECT_EQ(result.direction, Direction_Horizontal);
    ExpectTheSquare(result, 203, 151, true);
}

TEST(Inspector, OneImageInheritsNothingFromAnother)
{
    Inspector inspector(1, 1000);
    const Recipe recipe = PatternRecipe();
    ExpectTheSquare(inspector.Inspect(0, MakePattern(nWidth, nHeight, 203, 151, 70), CheckedRecipe(recipe)), 203, 151,
                    true);
    EXPECT_THAT(inspector.Inspect(0, MakePattern(nWidth, nHeight, 0, 0, 0), CheckedRecipe(recipe)).blobs, IsEmpty());
    ExpectTheSquare(inspector.Inspect(0, MakePattern(nWidth, nHeight, 103, 101, -60), CheckedRecipe(recipe)), 103, 101,
                    false);
}

TEST(Inspector, BandsReportAsOneRegionDoes)
{
    Inspector inspector(1, 1000);
    Recipe recipe = PatternRecipe();
    for (const int x : {60, 1100, 2047, 2048, 2500, 3900})
    {
        const GreyImage image = MakePattern(4160, 200, x, 101, 70);
        recipe.bandSplit = true;
        const InspectionResult split = inspector.Inspect(0, image, CheckedRecipe(recipe));
        recipe.bandSplit = false;
        const InspectionResult whole = inspector.Inspect(0, image, CheckedRecipe(recipe));
        ExpectTheSquare(whole, x, 101, true);
        int area = 0;
        for (const Blob& blob : split.blobs)
            area += blob.area;
        EXPECT_EQ(area, whole.blobs[0].area) << x; // a square on the seam comes in two blobs
        EXPECT_EQ(split.pairs, whole.pairs);
    }
}

TEST(Inspector, WindowsThatNoBandHoldsThreeOfLoseNoBand)
{
    GreyImage image = MakePattern(4200, 300, 1003, 151, 70);
    Recipe recipe = PatternRecipe();
    for (const int width : {1, 661, 662, 700, 1023})
    {
        recipe.windowWidth = width;
        const InspectionResult result = Inspector(1, 1000).Inspect(0, image, CheckedRecipe(recipe));
        EXPECT_EQ(result.code, 1) << width;
        ExpectTheSquare(result, 1003, 151, true);
    }
}

TEST(Inspector, PairRecordsComeWhenAskedForAndLieInTheirBlobs)
{
    Inspector inspector(1, 1000);
    Recipe recipe = PatternRecipe();
    for (const int width : {nWidth, 4160}) // whole, and in bands
    {
        const GreyImage image = MakePattern(width, 200, 203, 101, 70);
        EXPECT_THAT(inspector.Inspect(0, image, CheckedRecipe(recipe)).pairRecords, IsEmpty());
        const InspectionResult result = inspector.Inspect(0, image, CheckedRecipe(recipe), true);
        ASSERT_THAT(result.blobs, SizeIs(1));
        ASSERT_EQ(static_cast<int>(result.pairRecords.size()), result.pairs);
        int standing = 0;
        for (const Pair& pair : result.pairRecords)
        {
            standing += pair.removed ? 0 : 1;
            EXPECT_TRUE(pair.removed || (pair.bright && result.blobs[0].box.PtInRect(pair.place)));
            EXPECT_GT(std::abs(pair.grey - pair.reference), pair.threshold);
        }
        EXPECT_EQ(standing, result.blobs[0].area);
    }
}

TEST(Inspector, PixelsThatLieElsewhereAreReadWithoutACopy)
{
    const GreyImage image = MakePattern(nWidth, nHeight, 203, 151, 70);
    const std::vector<std::uint8_t> pixels(image.Row(0), image.Row(nHeight - 1) + nWidth);
    const GreyView view(pixels.data(), nWidth, nHeight);
    ExpectTheSquare(Inspector(1, 1000).Inspect(0, view, CheckedRecipe(PatternRecipe())), 203, 151, true);
}

TEST(Inspector, LanesOnThreadsGiveWhatOneLaneGives)
{
    constexpr int nLanes = 3;
    Inspector inspector(nLanes, 1000);
    const Recipe recipe = PatternRecipe();
    std::vector<std::thread> threads;
    std::array<InspectionResult, nLanes> results;
    for (int lane = 0; lane < nLanes; ++lane)
        threads.emplace_back(
            [&, lane]
            {
                for (int i = 0; i < 5; ++i)
                    results[static_cast<std::size_t>(lane)] = inspector.Inspect(
                        lane, MakePattern(nWidth, nHeight, 100 + 40 * lane, 151, 70), CheckedRecipe(recipe));
            });
    for (std::thread& thread : threads)
        thread.join();
    for (int lane = 0; lane < nLanes; ++lane)
        ExpectTheSquare(results[static_cast<std::size_t>(lane)], 100 + 40 * lane, 151, true);
}

TEST(Inspector, PassWithTooManyPairsIsReportedAndTheNextImageIsClean)
{
    GreyImage noise(1200, 1200);
    std::mt19937 random(1);
    for (int y = 0; y < noise.Height(); ++y)
        std::generate_n(noise.Row(y), noise.Stride(), [&] { return static_cast<std::uint8_t>(random() & 255U); });
    Inspector inspector(1, 1000);
    const InspectionResult result = inspector.Inspect(0, noise, CheckedRecipe(PatternRecipe()));
    EXPECT_GT(result.reruns, 0);
    ASSERT_FALSE(result.warnings.empty());
    EXPECT_THAT(result.warnings[0], HasSubstr("re-runs"));
    const InspectionResult next =
        inspector.Inspect(0, MakePattern(nWidth, nHeight, 203, 151, 70), CheckedRecipe(PatternRecipe()));
    EXPECT_EQ(next.reruns, 0);
    ExpectTheSquare(next, 203, 151, true);
}

TEST(Inspector, BadArgumentsAreNamed)
{
    EXPECT_THAT(ProblemsOf([] { Inspector(0, 0); }),
                ElementsAre(IsProblem("lanes", "0", "1 to 256"), IsProblem("max_blobs", "0", "1 to 1000000")));
    Inspector inspector(1, 1000);
    EXPECT_THAT(ProblemsOf([&] { inspector.Inspect(1, MakePattern(64, 64, 0, 0, 0), CheckedRecipe(PatternRecipe())); }),
                ElementsAre(IsProblem("lane", "1", "0 to 0")));
    EXPECT_THAT(ProblemsOf([&] { inspector.Inspect(0, MakePattern(64, 64, 0, 0, 0), CheckedRecipe(PatternRecipe())); }),
                testing::Contains(IsAbout("pitch.y")));
}

} // namespace

} // namespace narvo::test
