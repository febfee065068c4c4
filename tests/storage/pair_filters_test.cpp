// SPDX-License-Identifier: MIT
// The pair filters: which pairs each walk tests, where the reference lies, and when a pair stands.
#include <gtest/gtest.h>

#include "narvoassem/storage/filters/filter_walk.h"
#include "storage/store_samples.h"

namespace
{

using narvo::test::AddPair;
using narvo::test::CTestImage;
using narvo::test::MakePair;

// Pixel inspection of an image of 128 by 128, grey 100; conv pitch 10, scan pitch 12, threshold 20.
class PairFilters : public testing::Test
{
protected:
    PairFilters()
    {
        m_store.InitPairStorage(32);
        CConvParam& param = m_store.ConvParam;
        m_image.Attach(param);
        param.nInspectMode = 1;
        param.dConvPitch = 10.0;
        param.nConvMultiple = 1;
        param.dScanPitch = 12.0;
        param.nScanMultiple = 1;
        param.nConvWidth = 2;
        param.nConvHeight = 2;
    }

    CDefectPair Make(int x, int y, int nPos = DefectPos_Middle, int nPair = DefectPair_Single, int nType = 1)
    {
        CDefectPair pair = MakePair(x, y, nType);
        pair.nDefectPos = nPos;
        pair.nDefectPair = nPair;
        pair.nThreshold = 20;
        return pair;
    }

    CTestImage m_image{128, 128};
    CPairStorage m_store;
    CConvParam& m_param = m_store.ConvParam;
};

TEST_F(PairFilters, CorrectionFormsThePeakFromTheKernelsValuesAndReadsTheSourcePixel)
{
    m_image.Set(30, 40, 77);
    CDefectPair pair = Make(30, 40);
    pair.nSrcGray = 1000;
    pair.nCmpGray = 1300;
    pair.nThreshold = -40;
    AddPair(m_store, pair);
    m_store.CorrectDefGray();
    EXPECT_EQ(m_store.pPair[0].nPeak, 260);
    EXPECT_EQ(m_store.pPair[0].nSrcGray, 77);
    EXPECT_EQ(m_store.pPair[0].nCmpGray, 1300);
}

TEST_F(PairFilters, CorrectionWithoutAnImageChangesNothing)
{
    m_param.pImage = nullptr;
    CDefectPair pair = Make(30, 40);
    pair.nSrcGray = 1000;
    AddPair(m_store, pair);
    m_store.CorrectDefGray();
    EXPECT_EQ(m_store.pPair[0].nPeak, 0);
    EXPECT_EQ(m_store.pPair[0].nSrcGray, 1000);
}

TEST_F(PairFilters, ATruePairIsNotTestedByTheHorizontalWalkNotEvenForTheMargin)
{
    // Flat image: every test would fail.
    AddPair(m_store, Make(50, 60, DefectPos_First, DefectPair_Paired));
    AddPair(m_store, Make(50, 60, DefectPos_First, DefectPair_Single));
    m_store.Filtering_Hori();
    EXPECT_EQ(m_store.pPair[0].nDefectType, 1);
    EXPECT_EQ(m_store.pPair[1].nDefectType, DefectType_Removed);
}

TEST_F(PairFilters, FilterMode2OnePutsEveryPairToTheTest)
{
    m_param.nFilterMode2 = 1;
    AddPair(m_store, Make(50, 60, DefectPos_Middle, DefectPair_Paired));
    m_store.Filtering_Hori();
    EXPECT_EQ(m_store.pPair[0].nDefectType, DefectType_Removed);
    m_store.pPair[0].nDefectType = 1;
    m_store.Filtering_Vert();
    EXPECT_EQ(m_store.pPair[0].nDefectType, DefectType_Removed);
}

TEST_F(PairFilters, WithoutTheFalseFilterTheVerticalWalkTestsTheEdgeAndTheHorizontalNothing)
{
    m_param.bFalseFilter = 0;
    AddPair(m_store, Make(50, 60, DefectPos_First, DefectPair_Paired));
    AddPair(m_store, Make(50, 60, DefectPos_Middle, DefectPair_Paired));
    m_store.Filtering_Hori();
    EXPECT_EQ(m_store.pPair[0].nDefectType, 1);
    m_store.Filtering_Vert();
    EXPECT_EQ(m_store.pPair[0].nDefectType, DefectType_Removed);
    EXPECT_EQ(m_store.pPair[1].nDefectType, 1);
}

TEST_F(PairFilters, TheFilterModeChoosesBetweenCrossAndJump)
{
    // Differs one pitch on and not two pitches on, along both axes.
    m_image.Set(50, 60, 150);
    m_image.Set(70, 60, 150);
    m_image.Set(50, 84, 150);
    AddPair(m_store, Make(50, 60));
    m_store.Filtering_Vert();
    m_store.Filtering_Hori();
    EXPECT_EQ(m_store.pPair[0].nDefectType, 1);
    m_param.nFilterMode = 1;
    m_store.Filtering_Vert();
    EXPECT_EQ(m_store.pPair[0].nDefectType, DefectType_Removed);
    m_store.pPair[0].nDefectType = 1;
    m_store.Filtering_Hori();
    EXPECT_EQ(m_store.pPair[0].nDefectType, DefectType_Removed);
}

TEST_F(PairFilters, MiddleBandPairsPassTheEdgeTestsWithoutAReadingOfTheImage)
{
    m_param.pImage = nullptr;
    CDefectPair pair = Make(1000000, -1000000, DefectPos_Middle);
    EXPECT_EQ(m_store.MarginFilter_Hori(&pair), 1);
    EXPECT_EQ(m_store.OneFilter_Vert(&pair), 1);
}

TEST_F(PairFilters, ValueEqualToTheLimitFailsThePair)
{
    CDefectPair pair = Make(50, 60);
    m_image.Set(50, 60, 120);
    EXPECT_EQ(m_store.CrossFilter_Hori(&pair), 0);
    EXPECT_EQ(m_store.CrossFilter_Vert(&pair), 0);
    m_image.Set(50, 60, 121);
    EXPECT_EQ(m_store.CrossFilter_Hori(&pair), 1);
    EXPECT_EQ(m_store.CrossFilter_Vert(&pair), 1);
    m_image.Set(50, 60, 79);
    EXPECT_EQ(m_store.CrossFilter_Hori(&pair), 1) << "cross tests do not look at the sign";
}

TEST_F(PairFilters, CrossTestsTurnBackAtTheRegionsEndOneAndTwoPixelsEarly)
{
    m_param.rtInspect = CRect(0, 0, 100, 100);
    m_image.Fill(CRect(99, 0, 128, 128), 0);
    m_image.Fill(CRect(0, 98, 128, 128), 0);
    CDefectPair pair = Make(89, 50);
    EXPECT_EQ(m_store.CrossFilter_Hori(&pair), 0) << "89 + 10 + 1 reaches 100: backward, where nothing differs";
    pair.ptDefect = CPoint(88, 50);
    m_image.Set(98, 50, 0);
    EXPECT_EQ(m_store.CrossFilter_Hori(&pair), 1) << "forward";
    pair.ptDefect = CPoint(50, 86);
    EXPECT_EQ(m_store.CrossFilter_Vert(&pair), 0) << "86 + 12 + 2 reaches 100";
    pair.ptDefect = CPoint(50, 85);
    m_image.Set(50, 97, 0);
    EXPECT_EQ(m_store.CrossFilter_Vert(&pair), 1);
}

TEST_F(PairFilters, ANarrowRegionFallsBackToTheJumpAlongTheOtherAxis)
{
    CDefectPair pair = Make(50, 60);
    m_param.rtInspect = CRect(45, 55, 64, 75);
    // Both jumps lead out of the region: along y that keeps the pair, along x it removes it.
    EXPECT_EQ(m_store.CrossFilter_Hori(&pair), 1);
    EXPECT_EQ(m_store.JumpFilter_Vert(&pair), 1);
    EXPECT_EQ(m_store.CrossFilter_Vert(&pair), 0);
    EXPECT_EQ(m_store.JumpFilter_Hori(&pair), 0);
    m_image.Set(50, 60, 200);
    EXPECT_EQ(m_store.CrossFilter_Vert(&pair), 0);
}

TEST_F(PairFilters, ARegionOfTwoPitchesIsNotNarrow)
{
    CDefectPair pair = Make(50, 60);
    m_param.rtInspect = CRect(45, 55, 65, 75);
    EXPECT_EQ(m_store.CrossFilter_Hori(&pair), 0) << "20 pixels: the cross test, where nothing differs";
    m_param.rtInspect.right = 64;
    EXPECT_EQ(m_store.CrossFilter_Hori(&pair), 1) << "the jump along y leads out";
}

TEST_F(PairFilters, FlaggedZonesTurnTheFiltersOfVerticalBuildsOffAndNoOthers)
{
    m_param.bZoneFlagged = 1;
    EXPECT_FALSE(narvo::engine::HasPairFilters(m_param, true));
    EXPECT_TRUE(narvo::engine::HasPairFilters(m_param, false));
    m_param.bZoneFlagged = 0;
    EXPECT_TRUE(narvo::engine::HasPairFilters(m_param, true));
}

TEST_F(PairFilters, AJumpOntoTheRegionsFarSideIsStillInside)
{
    m_image.Set(50, 60, 200);
    CDefectPair pair = Make(50, 60);
    m_param.rtInspect = CRect(30, 36, 60, 70);
    EXPECT_EQ(m_store.JumpFilter_Hori(&pair), 1) << "back to 30, the left side itself";
    m_param.rtInspect.left = 31;
    EXPECT_EQ(m_store.JumpFilter_Hori(&pair), 0);
    m_image.Set(50, 60, 100);
    EXPECT_EQ(m_store.JumpFilter_Vert(&pair), 0) << "back to 36, the top itself: tested, and flat";
    m_param.rtInspect.top = 37;
    EXPECT_EQ(m_store.JumpFilter_Vert(&pair), 1) << "out of the region: kept";
}

TEST_F(PairFilters, AJumpTurnsWhereItComesWithinAPixelOfTheEnd)
{
    m_image.Set(50, 60, 200);
    m_image.Set(70, 60, 200);
    m_image.Set(50, 84, 200);
    const CDefectPair pair = Make(50, 60);
    CDefectPair asked = pair;
    m_param.rtInspect = CRect(0, 0, 72, 86);
    EXPECT_EQ(m_store.JumpFilter_Hori(&asked), 0) << "on to 70, which is as bright";
    EXPECT_EQ(m_store.JumpFilter_Vert(&asked), 0) << "on to 84, which is as bright";
    m_param.rtInspect = CRect(0, 0, 71, 85);
    EXPECT_EQ(m_store.JumpFilter_Hori(&asked), 1) << "back to 30";
    EXPECT_EQ(m_store.JumpFilter_Vert(&asked), 1) << "back to 36";
}

TEST_F(PairFilters, TheLimitOfAPixelInspectionComesFromTheZoneTables)
{
    int nOffset[16] = {};
    int nGain[16] = {};
    int nOffset1[16] = {};
    int nGain1[16] = {};
    nOffset[3] = 10;
    nGain[3] = 32;
    nOffset1[3] = 60;
    m_param.pFilterOffset = nOffset;
    m_param.pFilterGain = nGain;
    m_param.pFilterOffset1 = nOffset1;
    m_param.pFilterGain1 = nGain1;
    m_image.Set(50, 60, 135);
    CDefectPair pair = Make(50, 60, DefectPos_Middle, DefectPair_Single, DefectType_Dark);
    pair.nZoneIndex = 3;
    pair.nSrcGray = 120;
    pair.nCmpGray = 200;
    EXPECT_EQ(m_store.CrossFilter_Hori(&pair), 0) << "10 + 200 * 32 / 256 = 35";
    pair.nCmpGray = 192;
    EXPECT_EQ(m_store.CrossFilter_Hori(&pair), 1) << "34";
    pair.nDefectType = DefectType_Bright;
    EXPECT_EQ(m_store.CrossFilter_Hori(&pair), 0) << "60";
    m_param.pFilterOffset1 = nullptr;
    EXPECT_EQ(m_store.CrossFilter_Hori(&pair), 1) << "the pair's own 20 where the table for bright is missing";
    m_param.pFilterOffset1 = nOffset1;
    m_param.pFilterGain1 = nullptr;
    EXPECT_EQ(m_store.CrossFilter_Hori(&pair), 1) << "and where its gains are";
    m_param.pFilterGain1 = nGain1;
    for (const int nZone : {16, -1})
    {
        pair.nZoneIndex = nZone;
        EXPECT_EQ(m_store.CrossFilter_Hori(&pair), 1) << "no zone of the tables: the pair's own";
    }
}

TEST_F(PairFilters, AFloatInspectionComparesTwoByTwoBlocksWithAWindowsThreshold)
{
    m_param.nInspectMode = 0;
    CDefectPair pair = Make(50, 60);
    m_image.Fill(CRect(50, 60, 52, 62), 120);
    EXPECT_EQ(m_store.CrossFilter_Hori(&pair), 0) << "4 * 20 against 20 * 2 * 2";
    m_image.Set(51, 61, 121);
    EXPECT_EQ(m_store.CrossFilter_Hori(&pair), 1);
    m_param.nConvHeight = 3;
    EXPECT_EQ(m_store.CrossFilter_Hori(&pair), 0);
}

TEST_F(PairFilters, TheMarginTestAsksForThePolarityOfThePair)
{
    // Last band: the reference lies one pitch on.
    m_image.Set(50, 60, 150);
    CDefectPair pair = Make(50, 60, DefectPos_Last);
    EXPECT_EQ(m_store.MarginFilter_Hori(&pair), 1);
    pair.nDefectType = DefectType_Dark;
    EXPECT_EQ(m_store.MarginFilter_Hori(&pair), 0);
    m_image.Set(50, 60, 50);
    EXPECT_EQ(m_store.MarginFilter_Hori(&pair), 1);
    m_image.Set(50, 60, 80);
    EXPECT_EQ(m_store.MarginFilter_Hori(&pair), 0) << "equal to the limit";
    m_param.bMarginFilter = 0;
    EXPECT_EQ(m_store.MarginFilter_Hori(&pair), 1);
}

TEST_F(PairFilters, TheMarginTestOfTheFirstBandComparesThePixelOnePitchBackWithThePair)
{
    m_image.Set(50, 60, 150);
    CDefectPair pair = Make(50, 60, DefectPos_First);
    EXPECT_EQ(m_store.MarginFilter_Hori(&pair), 1);
    pair.nDefectType = DefectType_Dark;
    EXPECT_EQ(m_store.MarginFilter_Hori(&pair), 0);
    m_image.Set(50, 60, 100);
    m_image.Set(40, 60, 150);
    EXPECT_EQ(m_store.MarginFilter_Hori(&pair), 1) << "darker than the pixel a pitch back";
}

TEST_F(PairFilters, WhereTheSpanHasNoRoomTheMarginTestTurnsAtARaisedThreshold)
{
    m_param.nThresholdExtra = 7;
    // First band at x 12: 12 - 10 - 3 lies before the span; the test goes from 22 back to 12.
    CDefectPair pair = Make(12, 60, DefectPos_First);
    m_image.Set(12, 60, 127);
    EXPECT_EQ(m_store.MarginFilter_Hori(&pair), 0) << "27 does not exceed 20 + 7";
    m_image.Set(12, 60, 128);
    EXPECT_EQ(m_store.MarginFilter_Hori(&pair), 1);
    // Last band: 116 + 10 + 3 passes 128; the reference lies one pitch back.
    pair = Make(116, 60, DefectPos_Last);
    m_image.Set(116, 60, 127);
    EXPECT_EQ(m_store.MarginFilter_Hori(&pair), 0);
    m_image.Set(116, 60, 128);
    EXPECT_EQ(m_store.MarginFilter_Hori(&pair), 1);
    pair.ptDefect.x = 115;
    m_image.Set(115, 60, 121);
    EXPECT_EQ(m_store.MarginFilter_Hori(&pair), 1) << "room for a test forward: not raised";
}

TEST_F(PairFilters, AnEmptyMarginFrameSpansTheImageAlongXAndTheRegionAlongY)
{
    m_param.nThresholdExtra = 1000;
    m_param.rtInspect = CRect(45, 55, 128, 128);
    m_image.Set(50, 60, 200);
    CDefectPair pair = Make(50, 60, DefectPos_First);
    EXPECT_EQ(m_store.MarginFilter_Hori(&pair), 1) << "x 40 lies before the region, but in the image";
    EXPECT_EQ(m_store.OneFilter_Vert(&pair), 0) << "y 48 lies above the region: raised threshold";
    m_param.rtMarginFrame = CRect(0, 0, 128, 128);
    EXPECT_EQ(m_store.OneFilter_Vert(&pair), 1);
    m_param.rtMarginFrame = CRect(39, 0, 128, 128);
    EXPECT_EQ(m_store.MarginFilter_Hori(&pair), 0) << "the frame, once it has a height, is the span";
}

TEST_F(PairFilters, TheVerticalEdgeTestIgnoresPolarityAndTheMarginSwitch)
{
    m_param.bMarginFilter = 0;
    CDefectPair pair = Make(50, 60, DefectPos_Last, DefectPair_Single, DefectType_Dark);
    EXPECT_EQ(m_store.OneFilter_Vert(&pair), 0);
    m_image.Set(50, 60, 150);
    EXPECT_EQ(m_store.OneFilter_Vert(&pair), 1);
    pair.nDefectPos = DefectPos_First;
    EXPECT_EQ(m_store.OneFilter_Vert(&pair), 1);
}

TEST_F(PairFilters, TheVerticalEdgeTestTakesItsPitchFromTheScanTable)
{
    std::vector<int> table(8, 12 * 16);
    table[60 / 16] = 14 * 16;
    m_param.pScanPitchTable = table.data();
    m_image.Set(50, 74, 150);
    CDefectPair pair = Make(50, 60, DefectPos_Last);
    EXPECT_EQ(m_store.OneFilter_Vert(&pair), 1);
    pair.ptDefect.y = 64;
    EXPECT_EQ(m_store.OneFilter_Vert(&pair), 0) << "12 rows on from the next entry's first row";
}

TEST_F(PairFilters, CrossAndJumpAlongTheOtherAxisAskTheEdgeTestFirst)
{
    m_param.rtInspect = CRect(0, 0, 128, 128);
    m_image.Set(50, 60, 150);
    m_image.Set(50, 72, 150);
    CDefectPair pair = Make(50, 60, DefectPos_Last);
    EXPECT_EQ(m_store.OneFilter_Vert(&pair), 0);
    EXPECT_EQ(m_store.CrossFilter_Hori(&pair), 0);
    EXPECT_EQ(m_store.JumpFilter_Vert(&pair), 0);
    pair.nDefectPos = DefectPos_Middle;
    EXPECT_EQ(m_store.CrossFilter_Hori(&pair), 1);
    EXPECT_EQ(m_store.JumpFilter_Vert(&pair), 1);
}

TEST_F(PairFilters, TheBlockJumpIsLimitedByItsOwnAreaAndTakesTheWindowsThreshold)
{
    CDefectPair pair = Make(50, 60);
    m_image.Fill(CRect(50, 60, 52, 62), 120);
    const CRect rtArea(0, 0, 128, 128);
    EXPECT_EQ(m_store.JumpFilter_Vert2by2(&pair, rtArea), 0) << "80 does not exceed 20 * 2 * 2, in a pixel inspection";
    m_image.Set(50, 60, 121);
    EXPECT_EQ(m_store.JumpFilter_Vert2by2(&pair, rtArea), 1);
    m_image.Set(50, 60, 120);
    EXPECT_EQ(m_store.JumpFilter_Vert2by2(&pair, CRect(0, 34, 128, 86)), 0) << "back to 36, two rows of reserve";
    EXPECT_EQ(m_store.JumpFilter_Vert2by2(&pair, CRect(0, 35, 128, 86)), 1) << "out of the area: kept";
}

TEST_F(PairFilters, ShadowFlyMarksSinglesAndTheFalseFiltersNothing)
{
    AddPair(m_store, Make(50, 60, DefectPos_Middle, DefectPair_Paired));
    AddPair(m_store, Make(51, 60, DefectPos_Middle, DefectPair_Single));
    AddPair(m_store, Make(52, 60, DefectPos_Middle, DefectPair_FirstSettled));
    EXPECT_EQ(m_store.FalseFilter_Hori(), 0);
    EXPECT_EQ(m_store.FalseFilter_Vert(), 0);
    m_store.Filtering_Vert_Temp();
    EXPECT_EQ(m_store.pPair[1].nDefectType, 1);
    m_store.ShadowFly();
    EXPECT_EQ(m_store.pPair[0].nDefectType, 1);
    EXPECT_EQ(m_store.pPair[1].nDefectType, DefectType_Removed);
    EXPECT_EQ(m_store.pPair[2].nDefectType, 1);
}

} // namespace
