// What a recipe becomes in the engine's parameter block.
#include "host/inspect/parameter_set.h"

#include "host/host_test_help.h"

namespace narvo
{

namespace
{

using testing::SizeIs;

const GreyImage image(398, 300, 90);

TEST(ParameterSet, ImageAndRegionAreHandedOnWithThePaddedRowLength)
{
    Recipe recipe = SmallestParsed();
    recipe.region = CRect(3, 4, 350, 290);
    ParameterSet set(image, recipe);
    const CConvParam& block = set.Block();
    EXPECT_EQ(block.pImage, image.Row(0));
    EXPECT_EQ(block.nImageWidth, 400);
    EXPECT_EQ(block.nImageHeight, 300);
    EXPECT_EQ(block.rtInspect, CRect(3, 4, 350, 290));
}

TEST(ParameterSet, ScalarsReachTheirFields)
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
    ParameterSet set(image, recipe);
    const CConvParam& block = set.Block();
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

TEST(ParameterSet, PixelSizesAreCrossedAsTheDiameterWantsThem)
{
    Recipe recipe = SmallestParsed();
    recipe.pixelSizeX = 1.5;
    recipe.pixelSizeY = 2.5;
    ParameterSet set(image, recipe);
    EXPECT_EQ(set.Block().dPixelSizeY, 1.5);
    EXPECT_EQ(set.Block().dPixelSizeX, 2.5);
}

TEST(ParameterSet, FilterSampleChoosesTheModeBehindTheZoneMaps)
{
    Recipe recipe = SmallestParsed();
    recipe.filterSample = FilterSample_Block;
    ParameterSet set(image, recipe);
    EXPECT_EQ(set.Block().nInspectMode, 0);
    EXPECT_NE(set.Block().pThresholdOffsetMap, nullptr);
}

TEST(ParameterSet, MapsHoldEachZonesNumbers)
{
    Recipe recipe = SmallestParsed();
    recipe.zoneImage = GreyImage(21, 31, 1);
    recipe.zoneImage.Row(2)[3] = 4;
    recipe.zones = {{.index = 1, .offset = 10, .gain = 20}, {.index = 4, .offset = 30, .gain = 40}};
    ParameterSet set(image, recipe);
    const CConvParam& block = set.Block();
    const int nPlace = 2 * block.nZoneMapStride + 3;
    EXPECT_EQ(block.pZoneIndexMap[nPlace], 4);
    EXPECT_EQ(block.pThresholdOffsetMap[nPlace], 30);
    EXPECT_EQ(block.pThresholdGainMap[nPlace], 40);
    EXPECT_EQ(block.pZoneIndexMap[nPlace + 1], 1);
    EXPECT_EQ(block.pThresholdOffsetMap[nPlace + 1], 10);
    EXPECT_EQ(block.pThresholdGainMap[nPlace + 1], 20);
    EXPECT_EQ(block.pThresholdKneeMap, nullptr);
}

TEST(ParameterSet, FlatZoneTakesItsNumbersEverywhere)
{
    Recipe recipe = SmallestParsed();
    recipe.zones = {{.index = 6, .offset = 17, .gain = 3}};
    ParameterSet set(image, recipe);
    EXPECT_EQ(set.Block().pZoneIndexMap[0], 6);
    EXPECT_EQ(set.Block().pThresholdOffsetMap[5], 17);
    EXPECT_EQ(set.Block().pThresholdGainMap[set.Block().nZoneMapStride], 3);
}

TEST(ParameterSet, UpperSegmentFillsItsThreeMaps)
{
    Recipe recipe = SmallestParsed();
    recipe.twoSegment = true;
    recipe.zones = {{.index = 0, .knee = 100, .upperOffset = 50, .upperGain = 60}};
    ParameterSet set(image, recipe);
    EXPECT_EQ(set.Block().bTwoSegmentThreshold, 1);
    EXPECT_EQ(set.Block().pThresholdKneeMap[0], 100);
    EXPECT_EQ(set.Block().pThresholdOffsetMap2[0], 50);
    EXPECT_EQ(set.Block().pThresholdGainMap2[0], 60);
}

TEST(ParameterSet, ZoneTablesAndFilterTablesAreSetOnlyWhenAskedFor)
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
        ParameterSet set(image, recipe);
        EXPECT_EQ(set.Block().pFilterOffset, nullptr);
        EXPECT_EQ(set.Block().pTspTable, nullptr);
        EXPECT_EQ(set.Block().nDarkGrayLimit[2], 7);
        EXPECT_EQ(set.Block().nBrightMinDiff[2], 8);
    }
    recipe.zoneFilterThresholds = true;
    recipe.zoneTables = true;
    recipe.extendedKernel = true;
    ParameterSet set(image, recipe);
    EXPECT_EQ(set.Block().pFilterOffset[2], 1);
    EXPECT_EQ(set.Block().pFilterGain[2], 2);
    EXPECT_EQ(set.Block().pFilterOffset1[2], 3);
    EXPECT_EQ(set.Block().pFilterGain1[2], 4);
    EXPECT_EQ(set.Block().pTspTable[2], 5);
    EXPECT_EQ(set.Block().pTspTable2[2], 6);
    EXPECT_EQ(set.Block().pTspTable[3], 0);
}

TEST(ParameterSet, PitchTablesAreInSixteenthsAndCoverTheImage)
{
    Recipe recipe = SmallestParsed();
    recipe.scanPitches.assign(19, 30.25);
    {
        ParameterSet set(image, recipe);
        for (int i = 0; i < 20; ++i)
            EXPECT_EQ(set.Block().pScanPitchTable[i], 484);
    }
    recipe.scanPitches.clear();
    recipe.direction = Direction_Horizontal;
    recipe.convPitches.assign(25, 20.5625);
    ParameterSet set(image, recipe);
    for (int x = 0; x < 400; x += 16)
    {
        EXPECT_EQ(set.Block().pConvPitchTable[x], 20);
        EXPECT_EQ(set.Block().pConvWeightNear[x], 7);
        EXPECT_EQ(set.Block().pConvWeightFar[x + 7], 9);
    }
}

TEST(ParameterSet, EntryOfTheOriginTableFollowsTheDirection)
{
    Recipe recipe = SmallestParsed();
    recipe.region = CRect(50, 100, 390, 290);
    {
        ParameterSet set(image, recipe);
        const int* record = set.Block().pZoneOriginTable + set.Block().nZoneColumns * 2;
        EXPECT_EQ(record[0], 41);
        EXPECT_EQ(record[1], 90);
    }
    recipe.direction = Direction_Horizontal;
    ParameterSet set(image, recipe);
    EXPECT_EQ(set.Block().pZoneOriginTable[0], 41);
    EXPECT_EQ(set.Block().pZoneOriginTable[1], 90);
}

TEST(ParameterSet, SkippedCellsMakeFlaggedRecords)
{
    Recipe recipe = SmallestParsed();
    recipe.maxReruns = 0;
    recipe.bandSplit = false;
    recipe.skippedCells = {{0, 0}};
    ParameterSet set(image, recipe);
    EXPECT_EQ(set.Block().bZoneFlagged, 1);
    EXPECT_EQ(set.Block().pZoneOriginTable[set.Block().nZoneColumns * 3 + 2], 1);
    EXPECT_EQ(set.Block().pZoneOriginTable[set.Block().nZoneColumns * 3 + 5], 0);
}

TEST(ParameterSet, InvalidRecipeOrEmptyImageIsRefused)
{
    Recipe recipe = SmallestParsed();
    recipe.region = CRect(0, 0, 399, 300);
    EXPECT_THAT(ProblemsOf([&] { ParameterSet set(image, recipe); }), SizeIs(1));
    EXPECT_THAT(ProblemsOf([] { ParameterSet set(GreyImage(), SmallestParsed()); }), SizeIs(1));
}

} // namespace

} // namespace narvo
