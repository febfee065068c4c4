// SPDX-License-Identifier: MIT
// Numbers outside their range through the pool, and the result of each.
#include <algorithm>
#include <climits>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "engine/guard_bases.h"
#include "engine/guard_scene.h"
#include "narvoassem/engine/check_bounds.h"

namespace
{

using narvo::test::CGuardBase;
using narvo::test::CGuardScene;
using narvo::test::Entry;
using narvo::test::GuardBases;
using narvo::test::RunEntry;

constexpr double dInfinity = std::numeric_limits<double>::infinity();
constexpr double dNaN = std::numeric_limits<double>::quiet_NaN();

/// The bases by name, on one scene, and what a call leaves.
class GuardNumber : public testing::Test
{
protected:
    GuardNumber() : m_scene(true) { m_control.InitAssemControl(1, 500); }

    CConvParam Make(const std::string& strBase)
    {
        for (const CGuardBase& base : GuardBases())
        {
            if (base.pName == strBase)
            {
                m_eEntry = base.eEntry;
                return base.Make(m_scene);
            }
        }
        ADD_FAILURE() << "no base of the name " << strBase;
        return {};
    }
    int Inspect(const CConvParam& param)
    {
        m_control.ResetReinspectCount();
        return RunEntry(m_control, m_eEntry, param);
    }
    CNarvoAssem& Lane() { return *m_control.GetNarvoAssem(0); }
    /// The pairs of a call, which must be done.
    std::vector<int> GetPairs(const CConvParam& param)
    {
        EXPECT_EQ(Inspect(param), 1);
        return ReadPairs();
    }
    /// The code of a call, and its pairs.
    std::pair<int, std::vector<int>> GetOutcome(const CConvParam& param)
    {
        const int nResult = Inspect(param);
        return {nResult, ReadPairs()};
    }
    std::vector<int> ReadPairs()
    {
        std::vector<int> pairs;
        for (int i = 0; i < Lane().nPairCount; ++i)
        {
            const CDefectPair& pair = Lane().pPair[i];
            pairs.insert(pairs.end(), {pair.ptDefect.x, pair.ptDefect.y, pair.nDefectType, pair.nPeak, pair.nSrcGray,
                                       pair.nCmpGray, pair.nZoneIndex, pair.nThreshold});
        }
        return pairs;
    }

    CGuardScene m_scene;
    CAssemControl m_control;
    Entry m_eEntry = Entry::Rect;
};

const std::vector<const char*> pHorizontal = {"ZoneHori", "PixelHori", "FloatHori4"};
const std::vector<const char*> pVertical = {"ZoneVert", "PixelVert", "FloatVert4"};

// --- pitches ---

TEST_F(GuardNumber, PitchOfZeroComparesPixelsWithThemselvesAndFindsNothing)
{
    for (const char* pBase : {"PixelHori", "FloatHori4", "ZoneVert", "PixelVert", "FloatVert4"})
    {
        CConvParam param = Make(pBase);
        param.nConvMultiple = param.nScanMultiple = 0;
        EXPECT_EQ(Inspect(param), 1) << pBase;
        EXPECT_EQ(Lane().GetPairCount(), 0) << pBase;
    }
}

TEST_F(GuardNumber, NegativePitchIsRefusedAlongTheDirectionAlone)
{
    for (const char* pBase : pHorizontal)
    {
        CConvParam param = Make(pBase);
        param.dConvPitch = -param.dConvPitch;
        param.nZoneConvMultiple = -1;
        EXPECT_EQ(Inspect(param), 8) << pBase;
        param = Make(pBase);
        param.nScanMultiple = -1;
        EXPECT_EQ(Inspect(param), 1) << pBase;
    }
    for (const char* pBase : pVertical)
    {
        CConvParam param = Make(pBase);
        param.nScanMultiple = -1;
        EXPECT_EQ(Inspect(param), 8) << pBase;
        param = Make(pBase);
        param.nConvMultiple = -1;
        EXPECT_EQ(Inspect(param), 1) << pBase;
    }
}

TEST(HasStores, TellsOfEachArrayThatIsMissing)
{
    CPairStorage store;
    EXPECT_FALSE(narvo::engine::HasStores(store));
    ASSERT_EQ(store.InitPixelStorage(16), 16);
    EXPECT_FALSE(narvo::engine::HasStores(store)) << "no pairs";
    CPairStorage whole;
    ASSERT_EQ(whole.InitPairStorage(4), 4);
    ASSERT_EQ(whole.InitPixelStorage(16), 16);
    EXPECT_TRUE(narvo::engine::HasStores(whole));
}

TEST_F(GuardNumber, FreeFormPitchThatRoundsToZeroAndTruncatesBelowItIsRefused)
{
    CConvParam param = Make("FloatFreeForm");
    param.nScanMultiple = 1;
    for (const double dPitch : {-0.05, -0.075, -0.1})
    {
        param.dScanPitch = dPitch;
        EXPECT_EQ(Inspect(param) == 8, dPitch < -0.06) << dPitch;
    }
}

TEST_F(GuardNumber, PitchThatIsNotFiniteIsRefusedAlongBothAxesWhereTheCrossFilterReadsThem)
{
    for (const auto& family : {pHorizontal, pVertical})
    {
        for (const char* pBase : family)
        {
            for (const double dPitch : {dNaN, dInfinity, -dInfinity, 1e300, -1e300, 1e9})
            {
                CConvParam param = Make(pBase);
                param.dConvPitch = dPitch;
                EXPECT_EQ(Inspect(param), 8) << pBase << " " << dPitch;
                param = Make(pBase);
                param.dScanPitch = dPitch;
                EXPECT_EQ(Inspect(param), 8) << pBase << " " << dPitch;
            }
        }
    }
}

/// Settings under which no pair reaches the cross filter.
const std::vector<std::pair<const char*, void (*)(CConvParam&)>> withoutCrossFilter = {
    {"no filter", [](CConvParam& param) { param.bFalseFilter = 0; }},
    {"jump filter", [](CConvParam& param) { param.nFilterMode = 1; }},
    {"no singles", [](CConvParam& param) { param.bKeepSingle = param.nFilterMode2 = 0; }},
};

TEST_F(GuardNumber, PitchAcrossTheDirectionWithoutAFixedPointFormIsNoReasonToRefuseWhereNothingReadsIt)
{
    int nCompared = 0;
    for (const CGuardBase& base : GuardBases())
    {
        if (base.eEntry != Entry::Rect)
            continue;
        CConvParam param = Make(base.pName);
        param.pVeriPitchString = nullptr; // verification compares its cycles with the multiples
        const bool bZone = param.pThresholdOffsetMap != nullptr;
        const bool bVertical = bZone ? param.nDirection != 0 : param.nDirection == 1;
        for (const auto& [pName, Set] : withoutCrossFilter)
        {
            CConvParam sound = param;
            Set(sound);
            const bool bSinglesStay = !bZone && param.nInspectMode == 0 && sound.bKeepSingle == 0;
            if (bSinglesStay)
                continue; // float kernels except the members still keep them
            const auto expected = GetOutcome(sound);
            EXPECT_NE(expected.first, 8) << base.pName << ", " << pName;
            nCompared += expected.second.empty() ? 0 : 1;
            CConvParam odd = sound;
            (bVertical ? odd.nConvMultiple : odd.nScanMultiple) = -(1 << 28);
            EXPECT_EQ(GetOutcome(odd), expected) << base.pName << ", " << pName;
            if (bZone)
                continue; // the pitch is the zone cells' too
            odd = sound;
            for (const double dPitch : {dNaN, -dInfinity, -1e300, -1e9})
            {
                (bVertical ? odd.dConvPitch : odd.dScanPitch) = dPitch;
                EXPECT_EQ(GetOutcome(odd), expected) << base.pName << ", " << pName << ", " << dPitch;
            }
        }
    }
    EXPECT_GT(nCompared, 60);
}

TEST_F(GuardNumber, PitchAcrossTheDirectionIsRefusedWhereACrossFilterCanReadIt)
{
    for (const auto& family : {pHorizontal, pVertical})
    {
        for (const char* pBase : family)
        {
            CConvParam param = Make(pBase);
            (param.nDirection == 0 ? param.nScanMultiple : param.nConvMultiple) = -(1 << 28);
            EXPECT_EQ(Inspect(param), 8) << pBase;
            param.bKeepSingle = 0;
            param.nFilterMode2 = 1; // now all pairs reach it
            EXPECT_EQ(Inspect(param), 8) << pBase;
        }
    }
}

TEST_F(GuardNumber, OnlyTheVerticalTrapeziumReadsThePitchAcross)
{
    // The block's settings of filters and singles do not matter: these calls set both.
    for (const char* pBase : {"AsgPixelVert", "AsgZoneVert", "TrapeziumHori"})
    {
        CConvParam param = Make(pBase);
        param.bKeepSingle = param.bFalseFilter = 1;
        param.nFilterMode = 0;
        const std::vector<int> expected = GetPairs(param);
        (param.nDirection == 0 ? param.nScanMultiple : param.nConvMultiple) = -(1 << 28);
        EXPECT_EQ(GetPairs(param), expected) << pBase;
    }
    CConvParam param = Make("TrapeziumVert");
    param.nConvMultiple = -(1 << 28);
    EXPECT_EQ(Inspect(param), 8);
}

TEST_F(GuardNumber, InfinitePitchIsTooSmallARegionIfTheDirectionMaySwap)
{
    CConvParam param = Make("PixelHori");
    param.bAutoDirection = 1;
    param.dConvPitch = param.dScanPitch = dInfinity;
    EXPECT_EQ(Inspect(param), 64);
    // Turned, the other axis still holds the infinite pitch, which the check of the image's width refuses.
    param.dScanPitch = CGuardScene::dScanPitch;
    EXPECT_EQ(Inspect(param), 8);
}

TEST_F(GuardNumber, MultiplesAtTheLimitsOfIntAreRefused)
{
    for (const int nMultiple : {INT_MAX, INT_MIN, INT_MIN + 1, 1 << 28})
    {
        CConvParam param = Make("PixelHori");
        param.nConvMultiple = nMultiple;
        EXPECT_EQ(Inspect(param), 8) << nMultiple;
        param = Make("PixelVert");
        param.nScanMultiple = nMultiple;
        EXPECT_EQ(Inspect(param), 8) << nMultiple;
    }
}

TEST_F(GuardNumber, SecondPitchCountsOnlyWhereASecondPassRuns)
{
    for (const double dPitch : {dNaN, dInfinity, -1.0, 1e9})
    {
        for (const char* pBase : {"PixelHoriTwice", "PixelVertTwice"})
        {
            CConvParam param = Make(pBase);
            param.dTwicePitch = dPitch;
            EXPECT_EQ(Inspect(param), 8) << pBase << " " << dPitch;
            param.bTwice = 0;
            EXPECT_EQ(Inspect(param), 1) << pBase << " " << dPitch;
        }
    }
}

TEST_F(GuardNumber, ShiftLargerThanEveryImageCountsAsNone)
{
    for (const char* pBase : {"ZoneVtdIntrin", "ZoneVtdShift", "FloatVtdShift", "PixelVertWide"})
    {
        CConvParam param = Make(pBase);
        param.fVtdPitch = 0.001F; // the same kernel without a shift
        const std::vector<int> expected = GetPairs(param);
        EXPECT_FALSE(expected.empty()) << pBase;
        for (const float fShift : {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(),
                                   -std::numeric_limits<float>::infinity(), 1e9F, -1e30F})
        {
            param.fVtdPitch = fShift;
            EXPECT_EQ(GetPairs(param), expected) << pBase << " " << fShift;
        }
    }
}

TEST_F(GuardNumber, VerificationPitchThatIsNotFiniteTurnsTheCheckOff)
{
    CConvParam param = Make("ZoneVert");
    param.pVeriPitchString = nullptr;
    const std::vector<int> expected = GetPairs(param);
    param.pVeriPitchString = m_scene.verifyText;
    for (const double dPitch : {dNaN, dInfinity, -dInfinity})
    {
        std::fill_n(param.dVeriPitchConv, CConvParam::nZoneLimit, dPitch);
        std::fill_n(param.dVeriPitchScan, CConvParam::nZoneLimit, dPitch);
        EXPECT_EQ(GetPairs(param), expected) << dPitch;
    }
}

// --- thresholds, gains and limits ---

TEST_F(GuardNumber, ThresholdsBelowOneAreRefusedAndThoseBeyondEveryDifferenceFindNothing)
{
    for (const char* pBase : {"PixelHori", "PixelVert", "FloatHori4", "FloatVert4"})
    {
        for (const int nThreshold : {0, -1, INT_MIN})
        {
            CConvParam param = Make(pBase);
            param.nThreshold = nThreshold;
            EXPECT_EQ(Inspect(param), 8) << pBase << " " << nThreshold;
        }
        CConvParam param = Make(pBase);
        param.nThreshold = 2000; // beyond every difference of a window, and within the lanes of the kernels
        param.nThresholdGain = 0;
        EXPECT_EQ(Inspect(param), 1) << pBase;
        EXPECT_EQ(Lane().GetPairCount(), 0) << pBase;
    }
}

TEST_F(GuardNumber, AverageThresholdsTakeTheirSignsAndTheLowestIntKeepsItsOwn)
{
    CConvParam param = Make("Average");
    const std::vector<int> expected = GetPairs(param);
    EXPECT_FALSE(expected.empty());
    param.nThreshold = -30;
    param.nBlackFilterGray = 30;
    EXPECT_EQ(GetPairs(param), expected);
    param.nThreshold = INT_MIN; // has no positive counterpart
    EXPECT_EQ(Inspect(param), 8);
    param = Make("Average");
    param.nBlackFilterGray = INT_MIN;
    EXPECT_EQ(Inspect(param), 1);
    param.nThreshold = INT_MAX;
    EXPECT_EQ(GetPairs(param), std::vector<int>());
    param.nBlackFilterGray = 0;
    EXPECT_EQ(Inspect(param), 8);
}

TEST_F(GuardNumber, GreyLimitsBeyondAByteAreClampedBeforeTheComparison)
{
    for (const char* pBase : {"PixelHori", "PixelVert", "FloatVert4", "ZoneHori", "ZoneVert"})
    {
        CConvParam param = Make(pBase);
        param.nGrayLimit = 255;
        const std::vector<int> whole = GetPairs(param);
        for (const int nLimit : {256, 65536, INT_MAX})
        {
            param.nGrayLimit = nLimit;
            EXPECT_EQ(GetPairs(param), whole) << pBase << " " << nLimit;
        }
        param.nGrayLimit = 1;
        const std::vector<int> dark = GetPairs(param);
        for (const int nLimit : {0, -1, INT_MIN})
        {
            param.nGrayLimit = nLimit;
            EXPECT_EQ(GetPairs(param), dark) << pBase << " " << nLimit;
        }
    }
}

// --- windows ---

TEST_F(GuardNumber, WindowsOutOfRangeAreRefusedUnlessTheModeSkipsTheCheck)
{
    for (const int nSide : {0, -1, 1024, INT_MAX, INT_MIN})
    {
        for (int CConvParam::*pSide : {&CConvParam::nConvWidth, &CConvParam::nConvHeight})
        {
            CConvParam param = Make("ZoneVert");
            param.*pSide = nSide;
            EXPECT_EQ(Inspect(param), 8) << nSide;
            param = Make("ZoneVertUnchecked");
            param.*pSide = nSide;
            EXPECT_EQ(Inspect(param), 1) << nSide;
        }
    }
}

TEST_F(GuardNumber, UncheckedWindowBeyondItsLimitIsVerifiedAsTheLargestOne)
{
    CConvParam param = Make("ZoneVertUnchecked");
    param.nConvWidth = 1023;
    param.nConvHeight = 1;
    EXPECT_EQ(Inspect(param), 1);
    const int nRemoved = Lane().nRemovedConv + Lane().nRemovedScan;
    param.nConvWidth = INT_MAX;
    EXPECT_EQ(Inspect(param), 1);
    EXPECT_EQ(Lane().nRemovedConv + Lane().nRemovedScan, nRemoved);
}

TEST_F(GuardNumber, AverageRegionBelowItsWindowIsTooSmallAndWindowsWithoutAreaFindNothing)
{
    CConvParam param = Make("Average");
    param.nAverageParam1 = CGuardScene::nHeight + 1;
    EXPECT_EQ(Inspect(param), 64);
    param.nAverageParam1 = INT_MAX;
    EXPECT_EQ(Inspect(param), 64);
    for (const int nWindow : {0, -1, INT_MIN})
    {
        param = Make("Average");
        param.nAverageParam1 = nWindow;
        EXPECT_EQ(Inspect(param), 1) << nWindow;
        param = Make("Average");
        param.nAverageParam2 = nWindow;
        EXPECT_EQ(Inspect(param), 1) << nWindow;
    }
    param = Make("Average");
    param.nAverageParam2 = 0;
    EXPECT_EQ(GetPairs(param), std::vector<int>());
}

// --- enumerations ---

TEST_F(GuardNumber, UnknownModesAreCheckedAndCompareNothing)
{
    for (const int nMode : {-1, 4, INT_MAX, INT_MIN})
    {
        CConvParam param = Make("UnknownMode");
        param.nInspectMode = nMode;
        EXPECT_EQ(Inspect(param), 1) << nMode;
        EXPECT_EQ(Lane().GetPairCount(), 0) << nMode;
        param.nThreshold = 0;
        EXPECT_EQ(Inspect(param), 8) << nMode;
    }
}

TEST_F(GuardNumber, DirectionsOutOfRangeCompareAsTheEngineInterpretsThem)
{
    for (const int nDirection : {2, -1, INT_MAX, INT_MIN})
    {
        // Zone maps: vertical. Scalar thresholds: horizontal.
        CConvParam zone = Make("ZoneVert");
        const std::vector<int> vertical = GetPairs(zone);
        zone.nDirection = nDirection;
        EXPECT_EQ(GetPairs(zone), vertical) << nDirection;

        CConvParam pixel = Make("PixelHori");
        const std::vector<int> horizontal = GetPairs(pixel);
        pixel.nDirection = nDirection;
        pixel.nMaxReinspect = 0; // its end line is a row, which any nonzero direction takes for a column
        EXPECT_EQ(GetPairs(pixel), horizontal) << nDirection;
    }
}

TEST_F(GuardNumber, ZoneIndicesBeyondTheTablesOfSixteenTouchNone)
{
    for (const int nZone : {-32768, -1, 16, 32767})
    {
        for (const char* pBase : {"ZoneVert", "ZoneHoriUnchecked", "ZoneVert2STsp", "FloatFreeForm"})
        {
            CConvParam param = Make(pBase);
            m_scene.SetMap(2, nZone);
            const int nResult = Inspect(param);
            EXPECT_TRUE(nResult == 1 || nResult == 16) << pBase << " " << nZone;
        }
    }
    m_scene.FillTables();
}

TEST_F(GuardNumber, MergeDistancesAtTheLimitsOfIntMergeNothingOrAll)
{
    for (const char* pBase : {"PixelHori", "PixelVert", "Binarise", "TrapeziumHori", "TrapeziumVert"})
    {
        CConvParam param = Make(pBase);
        param.nMergeDivision = INT_MIN;
        EXPECT_EQ(Inspect(param), 1) << pBase;
        const int nApart = Lane().GetBlobCount();
        param.nMergeDivision = INT_MAX;
        EXPECT_EQ(Inspect(param), 1) << pBase;
        EXPECT_LE(Lane().GetBlobCount(), nApart) << pBase;
        EXPECT_LE(Lane().GetBlobCount(), 4) << pBase; // one per type at most
    }
}

} // namespace
