// SPDX-License-Identifier: MIT
// What a recipe becomes in the engine's parameter block.
#include "host/inspect/inspection_plan.h"
#include "host/inspect/plan_keeper.h"

#include "host/host_test_help.h"

namespace narvo::test
{

namespace
{

using testing::ElementsAre;
using testing::SizeIs;

const GreyImage plainImage(398, 300, 90);

TEST(InspectionPlan, ImageAndRegionAreHandedOnWithThePaddedRowLength)
{
    Recipe recipe = SmallestParsed();
    recipe.region = CRect(3, 4, 350, 290);
    const InspectionPlan plan(CheckedRecipe(recipe), plainImage.Width(), plainImage.Height());
    const CConvParam block = plan.BlockFor(plainImage);
    EXPECT_EQ(block.pImage, plainImage.Row(0));
    EXPECT_EQ(block.nImageWidth, 400);
    EXPECT_EQ(block.nImageHeight, 300);
    EXPECT_EQ(block.rtInspect, CRect(3, 4, 350, 290));
}

TEST(InspectionPlan, ScalarsReachTheirFields)
{
    Recipe recipe = SmallestParsed();
    recipe.direction = Direction_Vertical;
    recipe.autoDirection = true;
    recipe.maxReruns = 5;
    recipe.label = 77;
    recipe.multipleX = 2;
    recipe.multipleY = 3;
    recipe.windowWidth = 4;
    recipe.windowHeight = 5;
    recipe.greyLimit = 200;
    recipe.thresholdExtra = 6;
    recipe.keepSingles = false;
    recipe.bandSplit = false;
    recipe.mergeDistance = 9;
    recipe.pixelSizeX = 1.5;
    recipe.pixelSizeY = 2.5;
    recipe.filters = false;
    recipe.marginFilter = false;
    recipe.filterTest = FilterTest_Jump;
    recipe.filterPairs = true;
    recipe.extendedKernel = true;
    recipe.darkFilterBase = 12;
    recipe.darkFilterGain = 13;
    const InspectionPlan plan(CheckedRecipe(recipe), plainImage.Width(), plainImage.Height());
    const CConvParam block = plan.BlockFor(plainImage);
    EXPECT_EQ(block.nInspectMode, 1);
    EXPECT_EQ(block.nDirection, 1);
    EXPECT_EQ(block.bAutoDirection, 1);
    EXPECT_EQ(block.nMaxReinspect, 5);
    EXPECT_EQ(block.nMultiType, 77);
    EXPECT_EQ(block.GetRealConvPitch(), 41.0);
    EXPECT_EQ(block.GetRealScanPitch(), 90.75);
    EXPECT_EQ(block.nConvWidth, 4);
    EXPECT_EQ(block.nConvHeight, 5);
    EXPECT_EQ(block.nGrayLimit, 200);
    EXPECT_EQ(block.nThresholdExtra, 6);
    EXPECT_EQ(block.bKeepSingle, 0);
    EXPECT_EQ(block.bBandThread, 0);
    EXPECT_EQ(block.nMergeDivision, 9);
    EXPECT_EQ(block.bFalseFilter, 0);
    EXPECT_EQ(block.bMarginFilter, 0);
    EXPECT_EQ(block.nFilterMode, 1);
    EXPECT_EQ(block.nFilterMode2, 1);
    EXPECT_EQ(block.bExtendedKernel, 1);
    EXPECT_EQ(block.nBlackFilterGray, 12);
    EXPECT_EQ(block.nBlackFilterGain, 13);
}

TEST(InspectionPlan, PixelSizesAreCrossedAsTheDiameterWantsThem)
{
    Recipe recipe = SmallestParsed();
    recipe.pixelSizeX = 1.5;
    recipe.pixelSizeY = 2.5;
    const InspectionPlan plan(CheckedRecipe(recipe), plainImage.Width(), plainImage.Height());
    const CConvParam block = plan.BlockFor(plainImage);
    EXPECT_EQ(block.dPixelSizeY, 1.5);
    EXPECT_EQ(block.dPixelSizeX, 2.5);
}

TEST(InspectionPlan, FilterSampleChoosesTheModeBehindTheZoneMaps)
{
    Recipe recipe = SmallestParsed();
    recipe.filterSample = FilterSample_Block;
    const InspectionPlan plan(CheckedRecipe(recipe), plainImage.Width(), plainImage.Height());
    const CConvParam block = plan.BlockFor(plainImage);
    EXPECT_EQ(block.nInspectMode, 0);
    EXPECT_NE(block.pThresholdOffsetMap, nullptr);
}

TEST(InspectionPlan, MapsHoldEachZonesNumbers)
{
    Recipe recipe = SmallestParsed();
    recipe.zoneImage = GreyImage(21, 31, 1);
    recipe.zoneImage.Row(2)[3] = 4;
    recipe.zones = {{.index = 1, .offset = 10, .gain = 20}, {.index = 4, .offset = 30, .gain = 40}};
    const InspectionPlan plan(CheckedRecipe(recipe), plainImage.Width(), plainImage.Height());
    const CConvParam block = plan.BlockFor(plainImage);
    const int nPlace = 2 * block.nZoneMapStride + 3;
    EXPECT_EQ(block.pZoneIndexMap[nPlace], 4);
    EXPECT_EQ(block.pThresholdOffsetMap[nPlace], 30);
    EXPECT_EQ(block.pThresholdGainMap[nPlace], 40);
    EXPECT_EQ(block.pZoneIndexMap[nPlace + 1], 1);
    EXPECT_EQ(block.pThresholdOffsetMap[nPlace + 1], 10);
    EXPECT_EQ(block.pThresholdGainMap[nPlace + 1], 20);
    EXPECT_EQ(block.pThresholdKneeMap, nullptr);
}

TEST(InspectionPlan, FlatZoneTakesItsNumbersEverywhere)
{
    Recipe recipe = SmallestParsed();
    recipe.zones = {{.index = 6, .offset = 17, .gain = 3}};
    const InspectionPlan plan(CheckedRecipe(recipe), plainImage.Width(), plainImage.Height());
    const CConvParam block = plan.BlockFor(plainImage);
    EXPECT_EQ(block.pZoneIndexMap[0], 6);
    EXPECT_EQ(block.pThresholdOffsetMap[5], 17);
    EXPECT_EQ(block.pThresholdGainMap[block.nZoneMapStride], 3);
}

TEST(InspectionPlan, UpperSegmentFillsItsThreeMaps)
{
    Recipe recipe = SmallestParsed();
    recipe.twoSegment = true;
    recipe.zones = {{.index = 0, .knee = 100, .upperOffset = 50, .upperGain = 60}};
    const InspectionPlan plan(CheckedRecipe(recipe), plainImage.Width(), plainImage.Height());
    const CConvParam block = plan.BlockFor(plainImage);
    EXPECT_EQ(block.bTwoSegmentThreshold, 1);
    EXPECT_EQ(block.pThresholdKneeMap[0], 100);
    EXPECT_EQ(block.pThresholdOffsetMap2[0], 50);
    EXPECT_EQ(block.pThresholdGainMap2[0], 60);
}

TEST(InspectionPlan, ZoneTablesAndFilterTablesAreSetOnlyWhenAskedFor)
{
    Recipe recipe = SmallestParsed();
    recipe.zones = {{.index = 2,
                     .darkFilterOffset = 1,
                     .darkFilterGain = 2,
                     .brightFilterOffset = 3,
                     .brightFilterGain = 4,
                     .tableOffset = 5,
                     .tableGain = 6,
                     .darkGreyLimit = 7,
                     .brightMinDifference = 8}};
    {
        const InspectionPlan plan(CheckedRecipe(recipe), plainImage.Width(), plainImage.Height());
        const CConvParam block = plan.BlockFor(plainImage);
        EXPECT_EQ(block.pFilterOffset, nullptr);
        EXPECT_EQ(block.pTspTable, nullptr);
        EXPECT_EQ(block.nDarkGrayLimit[2], 7);
        EXPECT_EQ(block.nBrightMinDiff[2], 8);
    }
    recipe.zoneFilterThresholds = true;
    recipe.zoneTables = true;
    recipe.extendedKernel = true;
    const InspectionPlan plan(CheckedRecipe(recipe), plainImage.Width(), plainImage.Height());
    const CConvParam block = plan.BlockFor(plainImage);
    EXPECT_EQ(block.pFilterOffset[2], 1);
    EXPECT_EQ(block.pFilterGain[2], 2);
    EXPECT_EQ(block.pFilterOffset1[2], 3);
    EXPECT_EQ(block.pFilterGain1[2], 4);
    EXPECT_EQ(block.pTspTable[2], 5);
    EXPECT_EQ(block.pTspTable2[2], 6);
    EXPECT_EQ(block.pTspTable[3], 0);
}

TEST(InspectionPlan, PitchTablesAreInSixteenthsAndCoverTheImage)
{
    Recipe recipe = SmallestParsed();
    recipe.scanPitches.assign(19, 30.25);
    {
        const InspectionPlan plan(CheckedRecipe(recipe), plainImage.Width(), plainImage.Height());
        const CConvParam block = plan.BlockFor(plainImage);
        for (int i = 0; i < 20; ++i)
            EXPECT_EQ(block.pScanPitchTable[i], 484);
    }
    recipe.scanPitches.clear();
    recipe.direction = Direction_Horizontal;
    recipe.convPitches.assign(25, 20.5625);
    const InspectionPlan plan(CheckedRecipe(recipe), plainImage.Width(), plainImage.Height());
    const CConvParam block = plan.BlockFor(plainImage);
    for (int x = 0; x < 400; x += 16)
    {
        EXPECT_EQ(block.pConvPitchTable[x], 20);
        EXPECT_EQ(block.pConvWeightNear[x], 7);
        EXPECT_EQ(block.pConvWeightFar[x + 7], 9);
    }
}

TEST(InspectionPlan, EntryOfTheOriginTableFollowsTheDirection)
{
    Recipe recipe = SmallestParsed();
    recipe.region = CRect(50, 100, 390, 290);
    {
        const InspectionPlan plan(CheckedRecipe(recipe), plainImage.Width(), plainImage.Height());
        const CConvParam block = plan.BlockFor(plainImage);
        const int* record = block.pZoneOriginTable + block.nZoneColumns * 2;
        EXPECT_EQ(record[0], 41);
        EXPECT_EQ(record[1], 90);
    }
    recipe.direction = Direction_Horizontal;
    const InspectionPlan plan(CheckedRecipe(recipe), plainImage.Width(), plainImage.Height());
    const CConvParam block = plan.BlockFor(plainImage);
    EXPECT_EQ(block.pZoneOriginTable[0], 41);
    EXPECT_EQ(block.pZoneOriginTable[1], 90);
}

TEST(InspectionPlan, SkippedCellsMakeFlaggedRecords)
{
    Recipe recipe = SmallestParsed();
    recipe.maxReruns = 0;
    recipe.bandSplit = false;
    recipe.skippedCells = {{0, 0}};
    const InspectionPlan plan(CheckedRecipe(recipe), plainImage.Width(), plainImage.Height());
    const CConvParam block = plan.BlockFor(plainImage);
    EXPECT_EQ(block.bZoneFlagged, 1);
    EXPECT_EQ(block.pZoneOriginTable[block.nZoneColumns * 3 + 2], 1);
    EXPECT_EQ(block.pZoneOriginTable[block.nZoneColumns * 3 + 5], 0);
}

TEST(InspectionPlan, InvalidRecipeOrEmptyImageIsRefused)
{
    Recipe recipe = SmallestParsed();
    recipe.region = CRect(0, 0, 399, 300);
    EXPECT_THAT(ProblemsOf([&] { InspectionPlan(CheckedRecipe(recipe), plainImage.Width(), plainImage.Height()); }),
                SizeIs(1));
    EXPECT_THAT(ProblemsOf([] { InspectionPlan(CheckedRecipe(SmallestParsed()), 0, 0); }), SizeIs(1));
}

TEST(InspectionPlan, ImageOfAnotherSizeIsRefused)
{
    const InspectionPlan plan(CheckedRecipe(SmallestParsed()), 400, 300);
    EXPECT_THAT(ProblemsOf([&] { plan.BlockFor(GreyImage(404, 300)); }),
                ElementsAre(IsProblem("image", "404 by 300 pixels", "400 by 300 pixels")));
}

TEST(PlanKeeper, MakesAPlanOnceForRecipeAndSize)
{
    const CheckedRecipe recipe(SmallestParsed());
    PlanKeeper keeper;
    const auto first = keeper.PlanFor(recipe, 400, 300);
    EXPECT_EQ(keeper.PlanFor(recipe, 400, 300), first);
    EXPECT_NE(keeper.PlanFor(recipe, 400, 304), first);
    const auto third = keeper.PlanFor(CheckedRecipe(SmallestParsed()), 400, 304);
    EXPECT_NE(keeper.PlanFor(recipe, 400, 304), third);
    EXPECT_TRUE(first->Fits(400, 300)) << "a plan that is no longer kept stays valid";
}

} // namespace

} // namespace narvo::test
