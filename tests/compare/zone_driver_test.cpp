// SPDX-License-Identifier: MIT
// The zone comparison: choice of the kernel, its call, and the blob steps after it.
#include <algorithm>
#include <cstddef>
#include <limits>
#include <vector>

#include <gtest/gtest.h>

#include "engine/inspection_scene.h"
#include "narvoassem/compare/compare_chain.h"
#include "narvoassem/compare/zone_driver.h"
#include "narvoassem/narvoassem.h"

using narvo::engine::ChooseAsgZoneKernel;
using narvo::engine::GetAsgZoneCellSize;

namespace
{

using narvo::engine::ZoneKernel;
using narvo::test::CZoneScene;

/// A vertical block with every option of the selection at its default.
class ZoneSelection : public testing::Test
{
protected:
    ZoneSelection()
    {
        param.pThresholdOffsetMap = &nMap;
        param.nDirection = 1;
    }
    ZoneKernel Choose() const { return narvo::engine::ChooseZoneKernel(param).eKernel; }

    short nMap = 0;
    int nTable = 0;
    unsigned short nColumnTable = 0;
    CConvParam param;
};

TEST_F(ZoneSelection, DefaultsTakeThePlainVerticalKernel)
{
    EXPECT_EQ(Choose(), ZoneKernel::Vert);
    for (int nDirection : {2, -1, 7})
    {
        param.nDirection = nDirection;
        EXPECT_EQ(Choose(), ZoneKernel::Vert);
    }
}

TEST_F(ZoneSelection, HorizontalHasOnlyThePlainAndTheTableKernel)
{
    param.nDirection = 0;
    param.pScanPitchTable = param.pTspTable = &nTable;
    param.fVtdPitch = 1.0F;
    param.bExtendedKernel = param.bZoneFlagged = param.bAverage2by2 = param.bTwoSegmentThreshold = 1;
    param.pThresholdKneeMap = &nMap;
    param.bUseLineBuffer = 0;
    EXPECT_EQ(Choose(), ZoneKernel::Hori);
    param.pConvPitchTable = &nColumnTable;
    EXPECT_EQ(Choose(), ZoneKernel::HoriTable);
}

TEST_F(ZoneSelection, ColumnTableHasNoEffectOnVerticalRuns)
{
    param.pConvPitchTable = &nColumnTable;
    EXPECT_EQ(Choose(), ZoneKernel::Vert);
}

TEST_F(ZoneSelection, EachSelectionHidesThoseAfterIt)
{
    // Everything set: the first selection. Then one setting after the other is cleared.
    param.pScanPitchTable = &nTable;
    param.bExtendedKernel = 1;
    param.fVtdPitch = 0.5F;
    param.bUseLineBuffer = 0;
    param.bTwoSegmentThreshold = 1;
    param.pThresholdKneeMap = &nMap;
    param.bZoneFlagged = 1;
    param.bAverage2by2 = 1;
    param.pTspTable = &nTable;
    param.nBlackFilterGray = 5;
    param.dClassPitch = 1.0;
    EXPECT_EQ(Choose(), ZoneKernel::ClassIdTable);
    param.bExtendedKernel = 0;
    EXPECT_EQ(Choose(), ZoneKernel::Vtd);
    param.pScanPitchTable = nullptr;
    param.bExtendedKernel = 1;
    EXPECT_EQ(Choose(), ZoneKernel::VtdIntrin);
    param.bExtendedKernel = 0;
    EXPECT_EQ(Choose(), ZoneKernel::Vtd);
    param.fVtdPitch = 0.0F;
    param.bExtendedKernel = 1;
    EXPECT_EQ(Choose(), ZoneKernel::VertDirect);
    param.bUseLineBuffer = 1;
    EXPECT_EQ(Choose(), ZoneKernel::VertKnee);
    param.bTwoSegmentThreshold = 0;
    EXPECT_EQ(Choose(), ZoneKernel::VertFlag2by2);
    param.bAverage2by2 = 0;
    EXPECT_EQ(Choose(), ZoneKernel::VertFlag);
    param.bZoneFlagged = 0;
    param.bAverage2by2 = 1;
    EXPECT_EQ(Choose(), ZoneKernel::Vert2by2);
    param.bAverage2by2 = 0;
    EXPECT_EQ(Choose(), ZoneKernel::Vert2STsp);
    param.pTspTable = nullptr;
    EXPECT_EQ(Choose(), ZoneKernel::Vert2SBlack);
    param.nBlackFilterGray = 0;
    EXPECT_EQ(Choose(), ZoneKernel::ClassId);
    param.dClassPitch = 0.0;
    EXPECT_EQ(Choose(), ZoneKernel::ClassId);
    param.bExtendedKernel = 0;
    EXPECT_EQ(Choose(), ZoneKernel::Vert);
}

TEST_F(ZoneSelection, KneeMapWithoutTheSwitchIsNotTaken)
{
    param.pThresholdKneeMap = &nMap;
    EXPECT_EQ(Choose(), ZoneKernel::Vert);
    param.pThresholdKneeMap = nullptr;
    param.bTwoSegmentThreshold = 1;
    EXPECT_EQ(Choose(), ZoneKernel::Vert);
}

TEST_F(ZoneSelection, BlackFilterNeedsTheExtendedKernels)
{
    param.nBlackFilterGray = 5;
    EXPECT_EQ(Choose(), ZoneKernel::Vert);
    param.bExtendedKernel = 1;
    EXPECT_EQ(Choose(), ZoneKernel::Vert2SBlack);
    param.nBlackFilterGray = -5;
    EXPECT_EQ(Choose(), ZoneKernel::ClassId);
}

TEST_F(ZoneSelection, ZoneTablesTakePrecedenceOverTheBlackFilter)
{
    param.bExtendedKernel = 1;
    param.pTspTable = &nTable;
    param.nBlackFilterGray = 5;
    EXPECT_EQ(Choose(), ZoneKernel::Vert2STsp);
}

TEST_F(ZoneSelection, DirectReadingTakesPrecedenceOverTheBlockMean)
{
    param.bUseLineBuffer = 0;
    param.bAverage2by2 = 1;
    EXPECT_EQ(Choose(), ZoneKernel::VertDirect);
}

TEST_F(ZoneSelection, RowTableIgnoresTheClassPitch)
{
    param.pScanPitchTable = &nTable;
    param.dClassPitch = 2.0;
    EXPECT_EQ(Choose(), ZoneKernel::Vtd);
    param.bExtendedKernel = 1;
    EXPECT_EQ(Choose(), ZoneKernel::ClassIdTable);
}

TEST_F(ZoneSelection, NotANumberShiftSelectsTheShiftKernels)
{
    param.fVtdPitch = std::numeric_limits<float>::quiet_NaN();
    EXPECT_EQ(Choose(), ZoneKernel::Vtd);
}

TEST_F(ZoneSelection, AsgIgnoresTablesFlagsAndExtendedKernels)
{
    param.pScanPitchTable = param.pTspTable = &nTable;
    param.bExtendedKernel = param.bZoneFlagged = 1;
    param.fVtdPitch = 1.0F;
    EXPECT_EQ(ChooseAsgZoneKernel(param).eKernel, ZoneKernel::Vert);
    param.bAverage2by2 = 1;
    EXPECT_EQ(ChooseAsgZoneKernel(param).eKernel, ZoneKernel::Vert2by2);
    param.bTwoSegmentThreshold = 1;
    param.pThresholdKneeMap = &nMap;
    EXPECT_EQ(ChooseAsgZoneKernel(param).eKernel, ZoneKernel::VertKnee);
    param.bUseLineBuffer = 0;
    EXPECT_EQ(ChooseAsgZoneKernel(param).eKernel, ZoneKernel::VertDirect);
    param.nDirection = 0;
    EXPECT_EQ(ChooseAsgZoneKernel(param).eKernel, ZoneKernel::Hori);
    param.pConvPitchTable = &nColumnTable;
    EXPECT_EQ(ChooseAsgZoneKernel(param).eKernel, ZoneKernel::HoriTable);
}

// --- the call ---

class ZoneCall : public testing::Test
{
protected:
    ZoneCall()
    {
        m_engine.InitAssem(0, 10);
        CConvParam& param = m_engine.ConvParam;
        param.nDirection = 1;
        param.dConvPitch = 27.34;
        param.nConvMultiple = 2;
        param.nZoneConvMultiple = 3;
        param.dScanPitch = 10.99;
        param.nScanMultiple = 1;
        param.nZoneScanMultiple = 4;
        param.nZoneColumns = 7;
        param.fVtdPitch = -1.2F;
        param.pScanPitchTable = &m_nTable;
        param.pClassIdMap = &m_nMap;
    }
    /// The call of a kernel by the first choice that takes it, or by one that reads nothing.
    narvo::engine::CZoneCall Make(ZoneKernel eKernel)
    {
        const narvo::engine::CZoneChoice none{{}, eKernel, {}, ""};
        const narvo::engine::CZoneChoice* pTaken = &none;
        for (const bool bVertical : {false, true})
            for (const narvo::engine::CZoneChoice& choice : narvo::engine::GetZoneChoices(bVertical))
                if (choice.eKernel == eKernel && pTaken == &none)
                    pTaken = &choice;
        return narvo::engine::MakeZoneCall(m_engine, *pTaken, narvo::engine::GetZoneCellSize(m_engine.ConvParam),
                                           &m_nEndLine);
    }

    CNarvoAssem m_engine;
    CConvParam& m_param = m_engine.ConvParam;
    int m_nTable = 0;
    short m_nMap = 0;
    int m_nEndLine = 0;
};

TEST_F(ZoneCall, PitchesAreTruncatedToSixteenthsAndCellsToWholePixels)
{
    EXPECT_EQ(Make(ZoneKernel::Vert).nPitch16, 175);   // 175.84
    EXPECT_EQ(Make(ZoneKernel::Vert).nCellWidth, 82);  // 82.02
    EXPECT_EQ(Make(ZoneKernel::Vert).nCellHeight, 43); // 43.96
    m_param.nDirection = 0;
    EXPECT_EQ(Make(ZoneKernel::Hori).nPitch16, 874); // 874.88
}

TEST_F(ZoneCall, FlaggedRecordsHaveThreeInts)
{
    EXPECT_EQ(Make(ZoneKernel::Vert).nRowBytes, 7 * 8);
    EXPECT_EQ(Make(ZoneKernel::VertFlag).nRowBytes, 7 * 12);
    EXPECT_EQ(Make(ZoneKernel::VertFlag2by2).nRowBytes, 7 * 12);
    EXPECT_EQ(Make(ZoneKernel::Vtd).nRowBytes, 7 * 8);
}

TEST_F(ZoneCall, OnlyTheirKernelsGetRowTableShiftAndClassIds)
{
    EXPECT_EQ(Make(ZoneKernel::Vtd).pScanPitchTable, &m_nTable);
    EXPECT_EQ(Make(ZoneKernel::Vtd).nVtdPitch16, -19);
    EXPECT_EQ(Make(ZoneKernel::Vtd).pClassIdMap, nullptr);
    EXPECT_EQ(Make(ZoneKernel::ClassIdTable).pScanPitchTable, &m_nTable);
    EXPECT_EQ(Make(ZoneKernel::ClassIdTable).nVtdPitch16, 0);
    EXPECT_EQ(Make(ZoneKernel::ClassIdTable).pClassIdMap, &m_nMap);
    EXPECT_EQ(Make(ZoneKernel::ClassId).pScanPitchTable, nullptr);
    EXPECT_EQ(Make(ZoneKernel::ClassId).pClassIdMap, nullptr);
    EXPECT_EQ(Make(ZoneKernel::VtdIntrin).nVtdPitch16, -19);
    EXPECT_EQ(Make(ZoneKernel::VtdIntrin).pScanPitchTable, nullptr);
}

TEST_F(ZoneCall, OnlyMembersSeeTheEnginesParameters)
{
    for (ZoneKernel eKernel :
         {ZoneKernel::Vert2S, ZoneKernel::Vert2STsp, ZoneKernel::Vert2SBlack, ZoneKernel::VtdIntrin})
        EXPECT_EQ(Make(eKernel).pParam, &m_param);
    for (ZoneKernel eKernel : {ZoneKernel::Vert, ZoneKernel::Vtd, ZoneKernel::ClassId, ZoneKernel::ClassIdTable})
        EXPECT_EQ(Make(eKernel).pParam, nullptr);
}

TEST_F(ZoneCall, ShiftsWithoutAFixedPointFormCountAsNone)
{
    for (float fPitch : {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(), 3e38F})
    {
        m_param.fVtdPitch = fPitch;
        EXPECT_EQ(Make(ZoneKernel::Vtd).nVtdPitch16, 0);
    }
}

TEST_F(ZoneCall, AsgCellsAreUnboundedAcrossTheCompareDirection)
{
    constexpr int nUnbounded = 2147483647;
    EXPECT_EQ(GetAsgZoneCellSize(m_param).nWidth, nUnbounded);
    EXPECT_EQ(GetAsgZoneCellSize(m_param).nHeight, 43);
    m_param.nDirection = 0;
    EXPECT_EQ(GetAsgZoneCellSize(m_param).nWidth, 54); // the compare distance, not the cell's
    EXPECT_EQ(GetAsgZoneCellSize(m_param).nHeight, nUnbounded);
}

// --- whole comparisons ---

TEST(CompareZone, OverflowedVerticalPassBuildsNoBlobsAndAHorizontalOneDoes)
{
    CNarvoAssem engine;
    engine.InitAssem(0, 1000);
    for (int nDirection : {0, 1})
    {
        CZoneScene scene(512, 480, 40, nDirection);
        scene.AddStripes(0, 512);
        engine.ResetNarvoAssem();
        EXPECT_EQ(engine.Inspect_Rect(&scene.param), 1);
        EXPECT_GT(engine.nPairCount, 100000);
        EXPECT_EQ(engine.GetBlobCount() > 0, nDirection == 0);
    }
}

TEST(CompareZone, VerticalPassAtTheLimitStillBuildsBlobs)
{
    CNarvoAssem engine;
    engine.InitAssem(0, 1000);
    CZoneScene scene(512, 480, 40, 1);
    scene.AddDefect(200, 200, 3, 80);
    for (int nPairs : {100000, 100001})
    {
        engine.ResetNarvoAssem();
        engine.SetConvParam(&scene.param);
        engine.nPairCount = nPairs;
        // One true pair; the others count as removed.
        for (int i = 0; i < engine.nPairCount; ++i)
            engine.pPair[i].nDefectType = DefectType_Removed;
        CDefectPair& pair = engine.pPair[0];
        pair.nDefectPos = DefectPos_Middle;
        pair.nDefectPair = DefectPair_Paired;
        pair.nDefectType = DefectType_Bright;
        pair.ptDefect = CPoint(200, 200);
        pair.nSrcGray = 200;
        pair.nCmpGray = 100;
        pair.nPeak = 80;
        pair.nThreshold = 20;
        narvo::engine::FinishBlobs(engine, {.bVertical = true, .bLimited = true}, 0);
        EXPECT_EQ(engine.GetBlobCount(), nPairs == 100000 ? 1 : 0);
    }
}

TEST(CompareZone, EndLineOfAWholePassLiesAtOrBeyondTheRegion)
{
    CNarvoAssem engine;
    engine.InitAssem(0, 10);
    CZoneScene vertical(256, 256, 40, 1);
    engine.SetConvParam(&vertical.param);
    engine.ResetNarvoAssem();
    EXPECT_EQ(engine.Compare_Zone2(), 256 + 16);
    CZoneScene horizontal(256, 256, 40, 0);
    engine.SetConvParam(&horizontal.param);
    EXPECT_EQ(engine.Compare_Zone2(), 256 + 1);
}

TEST(CompareZone, VerticalRunsSizeTheStripBuffers)
{
    CNarvoAssem engine;
    engine.InitAssem(0, 10);
    CZoneScene horizontal(256, 200, 40, 0);
    engine.Inspect_Rect(&horizontal.param);
    EXPECT_EQ(engine.ConBuffComp.GetSize(), 0);
    CZoneScene vertical(256, 200, 40, 1);
    engine.Inspect_Rect(&vertical.param);
    EXPECT_EQ(engine.ConBuffComp.GetSize(), (200 * 16 + 32) * 16);
    engine.Inspect_ASG(&vertical.param);
    EXPECT_EQ(engine.ConBuffComp.GetSize(), (200 * 4 + 32) * 16);
}

TEST(CompareZone, BlobsOfEarlierPassesAreNotChanged)
{
    CNarvoAssem engine;
    engine.InitAssem(0, 100);
    CZoneScene scene(512, 480, 40, 1);
    scene.AddDefect(203, 187, 3, 80);
    engine.ResetNarvoAssem();
    engine.Inspect_Rect(&scene.param);
    engine.Inspect_Rect(&scene.param);
    // Same place, same type: one merge step over both passes would have made one of them.
    EXPECT_EQ(engine.GetBlobCount(), 2);
}

/// Pair records of one run with a defect inside a dead zone and one outside it.
int CountPairsUnderDeadZones(const std::vector<CRect>& deadZones, int bExtended, float fVtd = 0.0F)
{
    CNarvoAssem engine;
    engine.InitAssem(0, 100);
    CZoneScene scene(512, 480, 40, 1);
    scene.AddDefect(203, 187, 3, 80);
    scene.AddDefect(303, 287, 4, 60);
    scene.param.bExtendedKernel = bExtended;
    scene.param.fVtdPitch = fVtd;
    scene.param.nBlackFilterGray = 1;
    for (std::size_t i = 0; i < deadZones.size(); ++i)
        scene.param.rtDeadZone[i] = deadZones[i];
    EXPECT_EQ(engine.Inspect_Rect(&scene.param), 1);
    return engine.GetPairCount();
}

TEST(CompareZone, ExtendedKernelsDropHitsInDeadZones)
{
    const CRect rtFirst(200, 180, 210, 200);
    EXPECT_EQ(CountPairsUnderDeadZones({}, 1), 9 + 16);
    EXPECT_EQ(CountPairsUnderDeadZones({rtFirst}, 1), 16);
    EXPECT_EQ(CountPairsUnderDeadZones({rtFirst}, 0), 9 + 16);
    // Right and bottom are exclusive.
    EXPECT_EQ(CountPairsUnderDeadZones({CRect(200, 180, 205, 189)}, 1), 25 - 4);
}

TEST(CompareZone, DeadZoneAfterAnEmptyOneIsIgnored)
{
    EXPECT_EQ(CountPairsUnderDeadZones({CRect(5, 5, 5, 5), CRect(200, 180, 210, 200)}, 1), 9 + 16);
}

TEST(CompareZone, TenDeadZonesCountAsNone)
{
    const std::vector<CRect> nine(9, CRect(200, 180, 210, 200));
    const std::vector<CRect> ten(10, CRect(200, 180, 210, 200));
    EXPECT_EQ(CountPairsUnderDeadZones(nine, 1), 16);
    EXPECT_EQ(CountPairsUnderDeadZones(ten, 1), 9 + 16);
}

TEST(CompareZone, BlackFilterJudgesDarkDefectsByItsOwnThreshold)
{
    CNarvoAssem engine;
    engine.InitAssem(0, 100);
    CZoneScene scene(512, 480, 40, 1);
    scene.AddDefect(203, 187, 3, 50);
    scene.AddDefect(303, 287, 4, -50);
    scene.param.nBlackFilterGray = 60;
    EXPECT_EQ(engine.Inspect_Rect(&scene.param), 1);
    EXPECT_EQ(engine.GetPairCount(), 9 + 16);
    scene.param.bExtendedKernel = 1;
    EXPECT_EQ(engine.Inspect_Rect(&scene.param), 1);
    EXPECT_EQ(engine.GetPairCount(), 9);
    scene.param.nBlackFilterGray = 40;
    EXPECT_EQ(engine.Inspect_Rect(&scene.param), 1);
    EXPECT_EQ(engine.GetPairCount(), 9 + 16);
}

TEST(CompareZone, ZoneTablesReplaceTheMaps)
{
    CNarvoAssem engine;
    engine.InitAssem(0, 100);
    CZoneScene scene(512, 480, 40, 1);
    scene.AddDefect(203, 187, 3, 50);
    scene.AddDefect(303, 287, 4, -80);
    std::vector<int> offsets(16, 60);
    std::vector<int> gains(16, 0);
    scene.param.pTspTable = offsets.data();
    scene.param.pTspTable2 = gains.data();
    EXPECT_EQ(engine.Inspect_Rect(&scene.param), 1);
    EXPECT_EQ(engine.GetPairCount(), 9 + 16);
    scene.param.bExtendedKernel = 1;
    EXPECT_EQ(engine.Inspect_Rect(&scene.param), 1);
    EXPECT_EQ(engine.GetPairCount(), 16);
    EXPECT_EQ(engine.GetPairDefect(0)->nThreshold, 60);
    scene.param.pTspTable2 = nullptr; // counts as all 0
    EXPECT_EQ(engine.Inspect_Rect(&scene.param), 1);
    EXPECT_EQ(engine.GetPairCount(), 16);
}

TEST(CompareZone, ClassIdKernelEqualsThePlainOneAndTheTableFormAddsIds)
{
    CNarvoAssem engine;
    engine.InitAssem(0, 100);
    CZoneScene scene(512, 480, 40, 1);
    scene.AddDefect(203, 187, 3, 50);
    std::vector<short> classIds(80 * 160, 5);
    std::vector<int> table(64, 40 * 16);
    scene.param.bExtendedKernel = 1;
    scene.param.pClassIdMap = classIds.data() + 80 * 40;
    for (double dClassPitch : {0.0, 3.5})
    {
        scene.param.dClassPitch = dClassPitch;
        EXPECT_EQ(engine.Inspect_Rect(&scene.param), 1);
        ASSERT_EQ(engine.GetPairCount(), 9);
        EXPECT_EQ(engine.GetPairDefect(0)->nSubZone, 0);
    }
    scene.param.pScanPitchTable = table.data();
    EXPECT_EQ(engine.Inspect_Rect(&scene.param), 1);
    ASSERT_EQ(engine.GetPairCount(), 9);
    EXPECT_EQ(engine.GetPairDefect(0)->nSubZone, 5);
}

TEST(CompareZone, SkippedCellsAreNotInspected)
{
    CNarvoAssem engine;
    engine.InitAssem(0, 100);
    CZoneScene scene(512, 480, 40, 1);
    scene.AddDefect(203, 187, 3, 50);
    std::vector<int> flagged;
    for (int i = 0; i < scene.param.nZoneColumns * 14; ++i)
        flagged.insert(flagged.end(),
                       {scene.param.pZoneOriginTable[2 * i], scene.param.pZoneOriginTable[2 * i + 1], 0});
    scene.param.bZoneFlagged = 1;
    scene.param.pZoneOriginTable = flagged.data();
    EXPECT_EQ(engine.Inspect_Rect(&scene.param), 1);
    EXPECT_EQ(engine.GetPairCount(), 9);
    for (std::size_t i = 2; i < flagged.size(); i += 3)
        flagged[i] = 2;
    EXPECT_EQ(engine.Inspect_Rect(&scene.param), 1);
    EXPECT_EQ(engine.GetPairCount(), 0);
}

TEST(CompareAsgZone, EndLineOfAWholePassLiesAtOrBeyondTheRegion)
{
    CNarvoAssem engine;
    engine.InitAssem(0, 10);
    CZoneScene vertical(256, 200, 40, 1);
    engine.SetConvParam(&vertical.param);
    EXPECT_EQ(engine.Compare_ASGZone(), 256 + 16);
    CZoneScene horizontal(256, 200, 40, 0);
    engine.SetConvParam(&horizontal.param);
    EXPECT_EQ(engine.Compare_ASGZone(), 200 + 1);
}

TEST(CompareAsgZone, HorizontalCellSpansTheWholeHeight)
{
    // The map's lines continue below the first cell: a threshold that no pixel passes from the second cell on.
    CNarvoAssem engine;
    engine.InitAssem(0, 100);
    CZoneScene scene(512, 480, 40, 0);
    scene.AddDefect(203, 20, 3, 80);
    scene.AddDefect(203, 187, 3, 80);
    std::vector<short> tall(80 * 520, 20);
    std::fill(tall.begin() + 80 * 80, tall.end(), short{32767});
    scene.param.pThresholdOffsetMap = tall.data() + 40;
    scene.param.pThresholdGainMap = nullptr;
    scene.param.pZoneIndexMap = nullptr;
    EXPECT_EQ(engine.Inspect_ASG(&scene.param), 1);
    EXPECT_EQ(engine.GetPairCount(), 9);
    EXPECT_EQ(engine.Inspect_Rect(&scene.param), 1);
    EXPECT_EQ(engine.GetPairCount(), 18);
}

} // namespace
