// SPDX-License-Identifier: MIT
// Inspections in the modes with one threshold, in the modes without a comparison, and over regions of any shape: every
// kernel that a recipe can select there finds a planted square and nothing else.
#include <algorithm>

#include "host/pattern_help.h"
#include "host/recipe/recipe_check.h"

namespace narvo::test
{

namespace
{

using testing::IsEmpty;
using testing::SizeIs;

Recipe ModeRecipe(Mode mode)
{
    Recipe recipe = PatternRecipe();
    recipe.mode = mode;
    recipe.thresholdBase = mode == Mode_Float ? 80 : 20;
    return recipe;
}

struct ModeCase
{
    const char* name;
    Mode mode;
    void (*set)(Recipe&);
};

void PrintTo(const ModeCase& tested, std::ostream* out)
{
    *out << tested.name;
}

void SetWindow(Recipe& recipe, int width, int height)
{
    recipe.windowWidth = width;
    recipe.windowHeight = height;
    recipe.thresholdBase = 20 * width * height;
    recipe.greyLimit = width * height == 9 ? 227 : 255;
}

const ModeCase modeCases[] = {
    {"PixelVertical", Mode_Pixel, [](Recipe&) {}},
    {"PixelGain", Mode_Pixel,
     [](Recipe& recipe)
     {
         recipe.thresholdBase = 5;
         recipe.thresholdGain = 30;
     }},
    {"PixelHorizontal", Mode_Pixel, [](Recipe& recipe) { recipe.direction = Direction_Horizontal; }},
    {"PixelHorizontalTable", Mode_Pixel,
     [](Recipe& recipe)
     {
         recipe.direction = Direction_Horizontal;
         recipe.convPitches.assign(25, dPitchX);
     }},
    {"PixelHorizontalExtended", Mode_Pixel,
     [](Recipe& recipe)
     {
         recipe.direction = Direction_Horizontal;
         recipe.extendedKernel = true;
     }},
    {"PixelHorizontalTwice", Mode_Pixel,
     [](Recipe& recipe)
     {
         recipe.direction = Direction_Horizontal;
         recipe.extendedKernel = true;
         recipe.twicePitch = 2 * dPitchX;
         recipe.twiceBase = 25;
     }},
    {"PixelRowTable", Mode_Pixel, [](Recipe& recipe) { recipe.scanPitches.assign(19, dPitchY); }},
    {"PixelDarkRowTable", Mode_Pixel,
     [](Recipe& recipe)
     {
         recipe.scanPitches.assign(19, dPitchY);
         recipe.darkFilterBase = 25;
     }},
    {"PixelExtendedRowTable", Mode_Pixel,
     [](Recipe& recipe)
     {
         recipe.scanPitches.assign(19, dPitchY);
         recipe.extendedKernel = true;
         recipe.darkFilterBase = 25;
     }},
    {"PixelDirect", Mode_Pixel, [](Recipe& recipe) { recipe.lineBuffer = false; }},
    {"PixelTwice", Mode_Pixel,
     [](Recipe& recipe)
     {
         recipe.extendedKernel = true;
         recipe.twicePitch = 2 * dPitchY;
         recipe.twiceBase = 25;
         recipe.twiceGain = 4;
     }},
    {"PixelRealPitch", Mode_Pixel,
     [](Recipe& recipe)
     {
         recipe.extendedKernel = true;
         recipe.classPitch = dPitchY;
     }},
    {"PixelExtended", Mode_Pixel,
     [](Recipe& recipe)
     {
         recipe.extendedKernel = true;
         recipe.crossShift = 0.0625;
     }},
    {"PixelDarkFilter", Mode_Pixel,
     [](Recipe& recipe)
     {
         recipe.darkFilterBase = 22;
         recipe.darkFilterGain = 2;
     }},
    {"FloatVertical", Mode_Float, [](Recipe&) {}},
    {"FloatVertical2by3", Mode_Float, [](Recipe& recipe) { SetWindow(recipe, 2, 3); }},
    {"FloatVertical3by3", Mode_Float, [](Recipe& recipe) { SetWindow(recipe, 3, 3); }},
    {"FloatHorizontal", Mode_Float, [](Recipe& recipe) { recipe.direction = Direction_Horizontal; }},
    {"FloatHorizontal3by2", Mode_Float,
     [](Recipe& recipe)
     {
         recipe.direction = Direction_Horizontal;
         SetWindow(recipe, 3, 2);
     }},
    {"FloatHorizontal3by3", Mode_Float,
     [](Recipe& recipe)
     {
         recipe.direction = Direction_Horizontal;
         SetWindow(recipe, 3, 3);
     }},
    {"FloatHorizontalTable", Mode_Float,
     [](Recipe& recipe)
     {
         recipe.direction = Direction_Horizontal;
         recipe.convPitches.assign(25, dPitchX);
     }},
    {"FloatHorizontalTable3by2", Mode_Float,
     [](Recipe& recipe)
     {
         recipe.direction = Direction_Horizontal;
         recipe.convPitches.assign(25, dPitchX);
         SetWindow(recipe, 3, 2);
     }},
    {"FloatRowTable", Mode_Float, [](Recipe& recipe) { recipe.scanPitches.assign(19, dPitchY); }},
    {"FloatCrossShift", Mode_Float, [](Recipe& recipe) { recipe.crossShift = 0.0625; }},
    {"FloatExtendedRowTable", Mode_Float,
     [](Recipe& recipe)
     {
         recipe.scanPitches.assign(19, dPitchY);
         recipe.extendedKernel = true;
         recipe.crossShift = 0.0625;
     }},
    {"FloatExtendedCrossShift", Mode_Float,
     [](Recipe& recipe)
     {
         recipe.crossShift = 0.0625;
         recipe.extendedKernel = true;
     }},
    {"FloatExtended", Mode_Float,
     [](Recipe& recipe)
     {
         recipe.extendedKernel = true;
         recipe.keepSingles = false;
         recipe.darkFilterBase = 22;
         recipe.darkFilterGain = 2;
     }},
    {"FloatPolygon", Mode_Float,
     [](Recipe& recipe)
     {
         recipe.regionShape = RegionShape_Polygon;
         recipe.regionPoints = {{0, 0}, {400, 0}, {400, 300}, {200, 240}, {0, 300}};
         recipe.thresholdBase = 20;
     }},
    {"FloatTrapezium", Mode_Float,
     [](Recipe& recipe)
     {
         recipe.regionShape = RegionShape_Trapezium;
         recipe.regionPoints = {{0, 10}, {200, 0}, {400, 20}, {390, 290}, {0, 300}};
     }},
    {"FloatTrapeziumHorizontal", Mode_Float,
     [](Recipe& recipe)
     {
         recipe.direction = Direction_Horizontal;
         recipe.regionShape = RegionShape_Trapezium;
         recipe.regionPoints = {{10, 0}, {390, 0}, {400, 300}, {0, 300}};
     }},
    {"AsgVertical", Mode_Asg, [](Recipe&) {}},
    {"AsgHorizontal", Mode_Asg, [](Recipe& recipe) { recipe.direction = Direction_Horizontal; }},
    {"AsgHorizontalTable", Mode_Asg,
     [](Recipe& recipe)
     {
         recipe.direction = Direction_Horizontal;
         recipe.convPitches.assign(25, dPitchX);
     }},
    {"AsgDirect", Mode_Asg, [](Recipe& recipe) { recipe.lineBuffer = false; }},
    {"AsgMean", Mode_Asg, [](Recipe& recipe) { recipe.average2by2 = true; }},
    {"AsgTwoSegment", Mode_Asg,
     [](Recipe& recipe)
     {
         recipe.twoSegment = true;
         recipe.zones[0].knee = 120;
     }},
};

class EveryMode : public testing::TestWithParam<ModeCase>
{
protected:
    static Recipe MakeRecipe()
    {
        Recipe recipe = ModeRecipe(GetParam().mode);
        if (recipe.mode == Mode_Asg)
            recipe.thresholdBase = 0;
        GetParam().set(recipe);
        return recipe;
    }
    static int Slack() { return MakeRecipe().windowWidth - 1; }
};

TEST_P(EveryMode, FindsTheSquareAndNothingElse)
{
    Inspector inspector(1, 1000);
    for (const int step : {70, -60})
        for (const CPoint& place : {CPoint(203, 151), CPoint(101, 97), CPoint(290, 190)})
        {
            SCOPED_TRACE(testing::Message() << step << " at " << place.x << ", " << place.y);
            const GreyImage image = MakePattern(nWidth, nHeight, place.x, place.y, step);
            ExpectTheSquare(inspector.Inspect(0, image, CheckedRecipe(MakeRecipe())), place.x, place.y, step > 0,
                            Slack());
        }
}

TEST_P(EveryMode, FindsNothingInAGoodPattern)
{
    EXPECT_THAT(Inspector(1, 1000).Inspect(0, MakePattern(nWidth, nHeight, 0, 0, 0), CheckedRecipe(MakeRecipe())).blobs,
                IsEmpty());
}

TEST_P(EveryMode, PaddedRowsChangeNothing)
{
    const GreyImage image = MakePattern(nWidth - 3, nHeight, 203, 151, 70);
    Recipe recipe = MakeRecipe();
    for (CPoint& point : recipe.regionPoints)
        point.x = std::min(point.x, nWidth - 3);
    ExpectTheSquare(Inspector(1, 1000).Inspect(0, image, CheckedRecipe(recipe)), 203, 151, true, Slack());
}

INSTANTIATE_TEST_SUITE_P(Inspector, EveryMode, testing::ValuesIn(modeCases),
                         [](const testing::TestParamInfo<ModeCase>& tested) { return tested.param.name; });

InspectionResult InspectSquare(const Recipe& recipe, int step)
{
    return Inspector(1, 1000).Inspect(0, MakePattern(nWidth, nHeight, 203, 151, step), CheckedRecipe(recipe));
}

TEST(Modes, ThresholdBaseAndGainDecideInPixelMode)
{
    Recipe recipe = ModeRecipe(Mode_Pixel);
    recipe.thresholdBase = 69;
    ExpectTheSquare(InspectSquare(recipe, 80), 203, 151, true);
    recipe.thresholdBase = 90;
    EXPECT_THAT(InspectSquare(recipe, 80).blobs, IsEmpty());
    recipe.thresholdBase = 10;
    recipe.thresholdGain = 256;
    EXPECT_THAT(InspectSquare(recipe, 80).blobs, IsEmpty());
}

TEST(Modes, ThresholdBaseOfFloatModeCountsQuartersOfAGreyLevel)
{
    Recipe recipe = ModeRecipe(Mode_Float);
    recipe.thresholdBase = 4 * 60;
    ExpectTheSquare(InspectSquare(recipe, 70), 203, 151, true);
    recipe.thresholdBase = 4 * 80;
    EXPECT_THAT(InspectSquare(recipe, 70).blobs, IsEmpty());
}

TEST(Modes, GreyLimitHidesWhatIsBrighter)
{
    for (const Mode mode : {Mode_Pixel, Mode_Float})
    {
        Recipe recipe = ModeRecipe(mode);
        recipe.greyLimit = 60;
        EXPECT_THAT(InspectSquare(recipe, 70).blobs, IsEmpty());
    }
}

TEST(Modes, DarkFilterJudgesDarkSquaresOnly)
{
    for (const Mode mode : {Mode_Pixel, Mode_Float})
    {
        Recipe recipe = ModeRecipe(mode);
        recipe.extendedKernel = mode == Mode_Float;
        recipe.darkFilterBase = 100;
        EXPECT_THAT(InspectSquare(recipe, -60).blobs, IsEmpty());
        ExpectTheSquare(InspectSquare(recipe, 70), 203, 151, true);
    }
}

TEST(Modes, DeadZonesDropTheirDefects)
{
    Recipe twice = ModeRecipe(Mode_Pixel);
    twice.extendedKernel = true;
    twice.twicePitch = 2 * dPitchY;
    Recipe extended = ModeRecipe(Mode_Float);
    extended.extendedKernel = true;
    for (Recipe recipe : {twice, extended})
    {
        recipe.deadZones = {CRect(190, 140, 220, 160)};
        EXPECT_THAT(InspectSquare(recipe, 70).blobs, IsEmpty());
    }
}

TEST(Modes, SecondPassFindsWhatRepeatsAtTheFirstPitch)
{
    // Two squares one pitch apart hide each other from a compare at that pitch, but not at twice the pitch.
    GreyImage image = MakePattern(nWidth, nHeight, 203, 121, 70);
    const GreyImage below = MakePattern(nWidth, nHeight, 203, 145, 70);
    for (int y = 140; y < 151; ++y)
        std::copy_n(below.Row(y), nWidth, image.Row(y));
    Recipe recipe = ModeRecipe(Mode_Pixel);
    recipe.extendedKernel = true;
    const std::size_t once = Inspector(1, 1000).Inspect(0, image, CheckedRecipe(recipe)).blobs.size();
    recipe.twicePitch = 2 * dPitchY;
    const InspectionResult both = Inspector(1, 1000).Inspect(0, image, CheckedRecipe(recipe));
    const auto finds = [&](int y)
    {
        return std::any_of(both.blobs.begin(), both.blobs.end(),
                           [&](const Blob& blob) { return blob.bright && blob.box.PtInRect(CPoint(203, y)); });
    };
    EXPECT_TRUE(finds(121));
    EXPECT_TRUE(finds(145));
    EXPECT_GT(both.blobs.size(), once);
}

TEST(Modes, BlobsCarryTheRecipesLabelInEveryMode)
{
    for (const Mode mode : {Mode_Pixel, Mode_Float})
    {
        Recipe recipe = ModeRecipe(mode);
        recipe.label = 7;
        const InspectionResult result = InspectSquare(recipe, 70);
        ASSERT_THAT(result.blobs, SizeIs(1));
        EXPECT_EQ(result.blobs[0].label, 7);
    }
}

/// A grey field with a square of 5 by 5 pixels of another value.
GreyImage MakeField(int x, int y, std::uint8_t value)
{
    GreyImage image(nWidth, nHeight, 120);
    for (int row = y - 2; row <= y + 2; ++row)
        std::fill_n(image.Row(row) + x - 2, 5, value);
    return image;
}

Recipe PlainRecipe(const char* mode)
{
    return ParseRecipe(SmallestRecipe(mode), {});
}

TEST(BinariseMode, FindsDarkPixelsBelowTheLimitAndNoBlackOnes)
{
    const Recipe recipe = PlainRecipe("binarise");
    Inspector inspector(1, 1000);
    const InspectionResult result = inspector.Inspect(0, MakeField(203, 151, 39), CheckedRecipe(recipe));
    ExpectTheSquare(result, 203, 151, false);
    ASSERT_THAT(result.blobs, SizeIs(1));
    EXPECT_EQ(result.blobs[0].area, 25);
    EXPECT_EQ(result.blobs[0].box, CRect(201, 149, 206, 154));
    for (const std::uint8_t value : {std::uint8_t{40}, std::uint8_t{0}, std::uint8_t{200}})
        EXPECT_THAT(inspector.Inspect(0, MakeField(203, 151, value), CheckedRecipe(recipe)).blobs, IsEmpty());
}

TEST(BinariseMode, RegionLimitsWhatIsInspected)
{
    Recipe recipe = PlainRecipe("binarise");
    recipe.region = CRect(0, 0, 400, 150);
    const InspectionResult result = Inspector(1, 1000).Inspect(0, MakeField(203, 151, 20), CheckedRecipe(recipe));
    ASSERT_THAT(result.blobs, SizeIs(1));
    EXPECT_EQ(result.blobs[0].box.bottom, 150);
}

TEST(AverageMode, FindsSquaresOfBothPolaritiesByTheirOwnThreshold)
{
    Recipe recipe = PlainRecipe("average");
    recipe.averageWindow = 5;
    Inspector inspector(1, 1000);
    for (const std::uint8_t value : {std::uint8_t{220}, std::uint8_t{30}})
    {
        const InspectionResult result = inspector.Inspect(0, MakeField(203, 151, value), CheckedRecipe(recipe));
        ExpectTheSquare(result, 203, 151, value > 120);
    }
    recipe.averageBright = 110;
    EXPECT_THAT(inspector.Inspect(0, MakeField(203, 151, 220), CheckedRecipe(recipe)).blobs, IsEmpty());
    EXPECT_THAT(inspector.Inspect(0, MakeField(203, 151, 30), CheckedRecipe(recipe)).blobs, SizeIs(1));
    recipe.averageDark = 110;
    EXPECT_THAT(inspector.Inspect(0, MakeField(203, 151, 30), CheckedRecipe(recipe)).blobs, IsEmpty());
}

TEST(AverageMode, WindowsBrighterThanTheGreyLimitArePassedOver)
{
    Recipe recipe = PlainRecipe("average");
    recipe.averageWindow = 5;
    recipe.greyLimit = 119;
    EXPECT_THAT(Inspector(1, 1000).Inspect(0, MakeField(203, 151, 220), CheckedRecipe(recipe)).blobs, IsEmpty());
    EXPECT_THAT(Inspector(1, 1000).Inspect(0, MakeField(203, 151, 30), CheckedRecipe(recipe)).blobs, SizeIs(1));
}

TEST(AsgMode, PaintedZonesDecideFarFromTheFirstCellToo)
{
    Inspector inspector(1, 1000);
    for (const Direction direction : {Direction_Vertical, Direction_Horizontal})
    {
        Recipe recipe = ModeRecipe(Mode_Asg);
        recipe.thresholdBase = 0;
        recipe.direction = direction;
        recipe.zoneImage = GreyImage(33, 25, 2);
        for (int y = 0; y < 25; ++y)
            std::fill_n(recipe.zoneImage.Row(y), 16, std::uint8_t{1});
        recipe.zones = {{.index = 1, .offset = 300}, {.index = 2, .offset = 20}};
        for (const int column : {4, 6, 8})
        {
            const int x = static_cast<int>(column * dPitchX) + 6;
            EXPECT_THAT(inspector.Inspect(0, MakePattern(nWidth, nHeight, x, 151, 70), CheckedRecipe(recipe)).blobs,
                        IsEmpty());
            ExpectTheSquare(inspector.Inspect(0, MakePattern(nWidth, nHeight, x + 18, 151, 70), CheckedRecipe(recipe)),
                            x + 18, 151, true);
        }
    }
}

TEST(AsgMode, ReportsNoSingles)
{
    Recipe recipe = ModeRecipe(Mode_Asg);
    recipe.thresholdBase = 0;
    const GreyImage image = MakePattern(nWidth, nHeight, 203, 8, 70);
    EXPECT_THAT(Inspector(1, 1000).Inspect(0, image, CheckedRecipe(recipe)).blobs, IsEmpty());
}

TEST(Regions, PolygonLeavesOutWhatLiesOutside)
{
    Recipe recipe = ModeRecipe(Mode_Float);
    recipe.thresholdBase = 20;
    recipe.regionShape = RegionShape_Polygon;
    // A frame round a hole that holds the square: concave, as a slit ring.
    recipe.regionPoints = {{0, 0},     {400, 0},   {400, 300}, {0, 300},   {0, 0},
                           {150, 100}, {150, 200}, {250, 200}, {250, 100}, {150, 100}};
    EXPECT_THAT(InspectSquare(recipe, 70).blobs, IsEmpty());
    const InspectionResult result =
        Inspector(1, 1000).Inspect(0, MakePattern(nWidth, nHeight, 320, 151, 70), CheckedRecipe(recipe));
    ExpectTheSquare(result, 320, 151, true);
    ASSERT_THAT(result.outlines, SizeIs(1));
    EXPECT_EQ(result.outlines[0], recipe.regionPoints);
}

TEST(Regions, PolygonIsInspectedOnceInBandsAndInOne)
{
    Recipe recipe = ModeRecipe(Mode_Float);
    recipe.thresholdBase = 20;
    recipe.regionShape = RegionShape_Polygon;
    recipe.regionPoints = {{40, 0}, {4100, 10}, {4150, 190}, {2000, 200}, {0, 180}};
    const GreyImage image = MakePattern(4160, 200, 3000, 101, 70);
    for (const bool split : {true, false})
    {
        recipe.bandSplit = split;
        ExpectTheSquare(Inspector(1, 1000).Inspect(0, image, CheckedRecipe(recipe)), 3000, 101, true);
    }
}

TEST(Regions, TrapeziaLeaveOutWhatLiesOutside)
{
    Recipe recipe = ModeRecipe(Mode_Float);
    recipe.regionShape = RegionShape_Trapezium;
    recipe.regionPoints = {{0, 0}, {200, 0}, {180, 300}, {0, 300}};
    for (const Direction direction : {Direction_Vertical, Direction_Horizontal})
    {
        recipe.direction = direction;
        EXPECT_THAT(InspectSquare(recipe, 70).blobs, IsEmpty());
        ExpectTheSquare(
            Inspector(1, 1000).Inspect(0, MakePattern(nWidth, nHeight, 101, 151, 70), CheckedRecipe(recipe)), 101, 151,
            true);
    }
}

TEST(Regions, ColumnsCutThePolygonFirst)
{
    Recipe recipe = ModeRecipe(Mode_Float);
    recipe.regionShape = RegionShape_Trapezium;
    recipe.regionPoints = {{0, 0}, {400, 0}, {400, 300}, {0, 300}};
    ExpectTheSquare(InspectSquare(recipe, 70), 203, 151, true);
    recipe.regionColumns = {220, 390};
    const InspectionResult result = InspectSquare(recipe, 70);
    EXPECT_THAT(result.blobs, IsEmpty());
    EXPECT_EQ(result.region, CRect(220, 0, 390, 300));
}

TEST(Regions, EveryTrapeziumOfAPolygonIsInspected)
{
    Recipe recipe = ModeRecipe(Mode_Float);
    recipe.direction = Direction_Horizontal;
    recipe.regionShape = RegionShape_Trapezium;
    recipe.regionPoints = {{100, 0}, {300, 0}, {400, 150}, {300, 300}, {100, 300}, {0, 150}};
    Inspector inspector(1, 1000);
    for (const int y : {60, 120, 180, 240})
    {
        const InspectionResult result =
            inspector.Inspect(0, MakePattern(nWidth, nHeight, 203, y, 70), CheckedRecipe(recipe));
        EXPECT_THAT(result.outlines, SizeIs(2));
        ExpectTheSquare(result, 203, y, true);
    }
}

} // namespace

} // namespace narvo::test
