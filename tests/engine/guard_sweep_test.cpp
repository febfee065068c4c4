// SPDX-License-Identifier: MIT
// Every number of a parameter block at every extreme, one at a time, from valid blocks of every kind: no call may
// crash, hang, or read outside image and tables, and its code is that of the checks.
#include <algorithm>
#include <cfloat>
#include <climits>
#include <functional>
#include <limits>
#include <memory>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "engine/guard_bases.h"
#include "engine/guard_scene.h"
#include "reference/check_reference.h"
#include "support/cpu_limit.h"
#include "support/seeds.h"

namespace
{

using narvo::test::CGuardBase;
using narvo::test::CGuardScene;
using narvo::test::CGuardShape;
using narvo::test::Entry;
using narvo::test::GuardBases;
using narvo::test::RunEntry;

constexpr int nSecondsPerCall = 10; ///< many times what the slowest takes under sanitizers

/// A field or a table, and a function that sets it to the value of index nValue.
template <class TValue>
struct CSweepField
{
    std::string strName;
    std::vector<TValue> values;
    std::function<void(CGuardScene&, CConvParam&, const TValue&)> Set;
    bool bTable = false; ///< the scene's own memory changes
};

const std::vector<int> anInt = {
    INT_MIN, INT_MIN + 1, INT_MIN + 16, -(1 << 28),   -65537,      -32769, -1025, -256, -17,  -2,   -1,    0,     1,
    2,       3,           15,           16,           17,          31,     255,   256,  1023, 1024, 32767, 32768, 65535,
    65536,   1 << 24,     1 << 28,      INT_MAX - 16, INT_MAX - 1, INT_MAX};

const std::vector<double> adReal = {
    std::numeric_limits<double>::quiet_NaN(),
    std::numeric_limits<double>::infinity(),
    -std::numeric_limits<double>::infinity(),
    DBL_MAX,
    -DBL_MAX,
    DBL_MIN,
    std::numeric_limits<double>::denorm_min(),
    0.0,
    -0.0,
    1e-9,
    0.03,
    -0.03,
    0.0625,
    0.5,
    1.0,
    -1.0,
    2.97,
    -20.5,
    27.99,
    28.0,
    37.33,
    111.99,
    1e6,
    67108864.0,
    67108864.1,
    -67108864.0,
    134217727.9,
    134217728.0,
    2147483647.0,
    -2147483648.0,
    4294967296.0,
    1e19,
    -1e300,
};

const std::vector<CRect> artSides = {
    {0, 0, 0, 0},
    {0, 0, 112, 84},
    {112, 84, 0, 0},
    {-1, 0, 112, 84},
    {0, -1, 112, 84},
    {0, 0, 113, 84},
    {0, 0, 112, 85},
    {INT_MIN, INT_MIN, INT_MAX, INT_MAX},
    {INT_MAX, INT_MAX, INT_MIN, INT_MIN},
    {INT_MIN, 0, INT_MIN + 112, 84},
    {INT_MAX - 100, 0, INT_MIN + 12, 84}, // 113 wide by 32-bit arithmetic
    {0, INT_MAX - 60, 112, INT_MIN + 24},
    {50, 0, 50, 84},
    {0, 40, 112, 40},
    {5, 5, 6, 6},
    {96, 68, 112, 84},
    {0, 0, 112, 16},
    {1, 1, 111, 83},
    {0, 0, 15, 84},
    {60, 40, 50, 80},
};

std::vector<CSweepField<int>> MakeIntFields()
{
    using P = CConvParam;
    std::vector<CSweepField<int>> fields;
    const std::pair<const char*, int P::*> members[] = {
        {"nInspectMode", &P::nInspectMode},
        {"nDirection", &P::nDirection},
        {"nMaxReinspect", &P::nMaxReinspect},
        {"bAverage2by2", &P::bAverage2by2},
        {"bExtendedKernel", &P::bExtendedKernel},
        {"bZoneFlagged", &P::bZoneFlagged},
        {"nImageWidth", &P::nImageWidth},
        {"nImageHeight", &P::nImageHeight},
        {"nFreeFormPointCount", &P::nFreeFormPointCount},
        {"nConvWidth", &P::nConvWidth},
        {"nConvHeight", &P::nConvHeight},
        {"nConvMultiple", &P::nConvMultiple},
        {"nScanMultiple", &P::nScanMultiple},
        {"nThreshold", &P::nThreshold},
        {"nThresholdGain", &P::nThresholdGain},
        {"nGrayLimit", &P::nGrayLimit},
        {"nBlackFilterGray", &P::nBlackFilterGray},
        {"nBlackFilterGain", &P::nBlackFilterGain},
        {"bBandThread", &P::bBandThread},
        {"bUseLineBuffer", &P::bUseLineBuffer},
        {"bAutoDirection", &P::bAutoDirection},
        {"bKeepSingle", &P::bKeepSingle},
        {"nPairSearchSlack", &P::nPairSearchSlack},
        {"nThresholdExtra", &P::nThresholdExtra},
        {"bTwoSegmentThreshold", &P::bTwoSegmentThreshold},
        {"nZoneMapStride", &P::nZoneMapStride},
        {"nZoneMapHeight", &P::nZoneMapHeight},
        {"nZoneMapLeft", &P::nZoneMapLeft},
        {"nZoneMapTop", &P::nZoneMapTop},
        {"nZoneColumns", &P::nZoneColumns},
        {"nZoneConvMultiple", &P::nZoneConvMultiple},
        {"nZoneScanMultiple", &P::nZoneScanMultiple},
        {"nAverageParam1", &P::nAverageParam1},
        {"nAverageParam2", &P::nAverageParam2},
        {"nCheckLimit1", &P::nCheckLimit1},
        {"nCheckLimit2", &P::nCheckLimit2},
        {"bFalseFilter", &P::bFalseFilter},
        {"bMarginFilter", &P::bMarginFilter},
        {"nFilterMode", &P::nFilterMode},
        {"nFilterMode2", &P::nFilterMode2},
        {"nMergeDivision", &P::nMergeDivision},
        {"nMultiType", &P::nMultiType},
        {"bTwice", &P::bTwice},
        {"nTwiceThreshold", &P::nTwiceThreshold},
        {"nTwiceThresholdGain", &P::nTwiceThresholdGain},
        {"nFreeFormMaskParam", &P::nFreeFormMaskParam},
    };
    for (const auto& [pName, pField] : members)
        fields.push_back(
            {pName, anInt, [pField = pField](CGuardScene&, P& param, const int& n) { param.*pField = n; }});
    const std::pair<const char*, int(P::*)[P::nZoneLimit]> arrays[] = {
        {"nDarkGrayLimit", &P::nDarkGrayLimit},
        {"nBrightMinDiff", &P::nBrightMinDiff},
    };
    for (const auto& [pName, pField] : arrays)
        fields.push_back({pName, anInt, [pField = pField](CGuardScene&, P& param, const int& n) {
                              std::fill_n(param.*pField, P::nZoneLimit, n);
                          }});
    for (int i = 0; i < 4; ++i)
    {
        const std::string strCorner = "ptCorner" + std::to_string(i);
        fields.push_back({strCorner + ".x", anInt,
                          [i](CGuardScene&, P& param, const int& n) { param.trapInspect.ptCorner[i].x = n; }});
        fields.push_back({strCorner + ".y", anInt,
                          [i](CGuardScene&, P& param, const int& n) { param.trapInspect.ptCorner[i].y = n; }});
    }
    const std::pair<const char*, int CRect::*> sides[] = {
        {"left", &CRect::left}, {"top", &CRect::top}, {"right", &CRect::right}, {"bottom", &CRect::bottom}};
    for (const auto& [pName, pSide] : sides)
        fields.push_back({std::string("rtInspect.") + pName, anInt,
                          [pSide = pSide](CGuardScene&, P& param, const int& n) { param.rtInspect.*pSide = n; }});
    return fields;
}

/// What the pointers point at.
std::vector<CSweepField<int>> MakeTableFields()
{
    using P = CConvParam;
    std::vector<CSweepField<int>> fields;
    const auto Add = [&](const std::string& strName, auto Set) { fields.push_back({strName, anInt, Set, true}); };
    Add("pScanPitchTable[]", [](CGuardScene& s, P&, const int& n) { s.SetRowTable(n); });
    Add("pTiltScanTable[]", [](CGuardScene& s, P&, const int& n) { s.SetTiltScan(n); });
    Add("pTiltConvTable[]", [](CGuardScene& s, P&, const int& n) { s.SetTiltConv(n); });
    Add("pConvPitchTable[]", [](CGuardScene& s, P&, const int& n) { s.SetConvPitch(n); });
    Add("pConvWeightNear[]", [](CGuardScene& s, P&, const int& n) { s.SetWeightNear(n); });
    Add("pConvWeightFar[]", [](CGuardScene& s, P&, const int& n) { s.SetWeightFar(n); });
    Add("pFreeFormMask[]", [](CGuardScene& s, P&, const int& n) { s.SetMask(n); });
    Add("skip", [](CGuardScene& s, P&, const int& n) { s.SetGridSkip(n); });
    const char* const pMapNames[] = {"pThresholdOffsetMap[]",  "pThresholdGainMap[]",  "pZoneIndexMap[]",
                                     "pThresholdOffsetMap2[]", "pThresholdGainMap2[]", "pThresholdKneeMap[]",
                                     "pClassIdMap[]"};
    for (int nMap = 0; nMap < CGuardScene::nMaps; ++nMap)
        Add(pMapNames[nMap], [nMap](CGuardScene& s, P&, const int& n) { s.SetMap(nMap, n); });
    for (int nTable = 0; nTable < 6; ++nTable)
        Add("zoneTable" + std::to_string(nTable),
            [nTable](CGuardScene& s, P&, const int& n) { std::fill_n(s.zoneTable[nTable], 16, n); });
    return fields;
}

std::vector<CSweepField<double>> MakeRealFields()
{
    using P = CConvParam;
    std::vector<CSweepField<double>> fields;
    const std::pair<const char*, double P::*> members[] = {
        {"dConvPitch", &P::dConvPitch},   {"dScanPitch", &P::dScanPitch},   {"dClassPitch", &P::dClassPitch},
        {"dPixelSizeX", &P::dPixelSizeX}, {"dPixelSizeY", &P::dPixelSizeY}, {"dTwicePitch", &P::dTwicePitch}};
    for (const auto& [pName, pField] : members)
        fields.push_back(
            {pName, adReal, [pField = pField](CGuardScene&, P& param, const double& d) { param.*pField = d; }});
    // Doubles beyond a float become its infinities, as a host's conversion would make them.
    fields.push_back({"fVtdPitch", adReal,
                      [](CGuardScene&, P& param, const double& d)
                      {
                          constexpr double dMost = FLT_MAX;
                          constexpr float fInfinity = std::numeric_limits<float>::infinity();
                          param.fVtdPitch = d > dMost ? fInfinity : d < -dMost ? -fInfinity : static_cast<float>(d);
                      }});
    const std::pair<const char*, double(P::*)[P::nZoneLimit]> arrays[] = {{"dVeriPitchConv", &P::dVeriPitchConv},
                                                                          {"dVeriPitchScan", &P::dVeriPitchScan}};
    for (const auto& [pName, pField] : arrays)
        fields.push_back({pName, adReal, [pField = pField](CGuardScene&, P& param, const double& d) {
                              std::fill_n(param.*pField, P::nZoneLimit, d);
                          }});
    return fields;
}

std::vector<CSweepField<CRect>> MakeRectFields()
{
    using P = CConvParam;
    return {
        {"rtInspect", artSides, [](CGuardScene&, P& param, const CRect& rt) { param.rtInspect = rt; }},
        {"rtMarginFrame", artSides, [](CGuardScene&, P& param, const CRect& rt) { param.rtMarginFrame = rt; }},
        {"rtDeadZone[0]", artSides, [](CGuardScene&, P& param, const CRect& rt) { param.rtDeadZone[0] = rt; }},
        {"rtDeadZone[]", artSides,
         [](CGuardScene&, P& param, const CRect& rt) { std::fill_n(param.rtDeadZone, P::nDeadZoneLimit, rt); }},
    };
}

/// Runs through fields, values and bases. Guard pages lie alternately after and before the memory.
class CSweep
{
public:
    CSweep() { m_control.InitAssemControl(1, 200); }

    template <class TValue>
    void Run(const std::vector<CSweepField<TValue>>& fields)
    {
        for (const CSweepField<TValue>& field : fields)
        {
            for (std::size_t i = 0; i < field.values.size() && !testing::Test::HasFatalFailure(); ++i)
                RunValue(field, i);
        }
    }
    int GetCompared() const { return m_nCompared; }
    int GetRefused() const { return m_nRefused; }

private:
    /// The scene of the usual shape, and one of another shape, kept until the next one since most bases need the same.
    struct CSide
    {
        explicit CSide(bool bBehind) : bFlushBack(bBehind), scene(bBehind) {}
        bool bFlushBack;
        CGuardScene scene;
        std::unique_ptr<CGuardScene> pOther;

        /// @return null if no host can have so much memory
        CGuardScene* FindScene(const CGuardShape& shape)
        {
            if (shape == scene.GetShape())
                return &scene;
            if (pOther != nullptr && shape == pOther->GetShape())
                return pOther.get();
            pOther.reset();
            try
            {
                pOther = std::make_unique<CGuardScene>(bFlushBack, shape);
            }
            catch (const std::bad_alloc&)
            {
            }
            return pOther.get();
        }
    };

    template <class TValue>
    void RunValue(const CSweepField<TValue>& field, std::size_t nValue)
    {
        // Blocks do not change the tables, so that these are set once for all bases.
        CConvParam none;
        for (CSide& side : m_sides)
            if (field.bTable)
                field.Set(side.scene, none, field.values[nValue]);
        const std::vector<CGuardBase>& bases = GuardBases();
        for (std::size_t i = 0; i < bases.size() && !testing::Test::HasFatalFailure(); ++i)
        {
            // With a share of the cases each base gets different values, so that each value is still tried on many
            // bases.
            if ((i + nValue) % static_cast<std::size_t>(m_nShare) != 0)
                continue;
            m_strCase = std::string(bases[i].pName) + ", " + field.strName + ", value " + std::to_string(nValue);
            RunCase(m_sides[(i + nValue / 2) % 2], bases[i], field, field.values[nValue]);
        }
        for (CSide& side : m_sides)
            if (field.bTable)
                side.scene.FillTables();
    }

    template <class TValue>
    void RunCase(CSide& side, const CGuardBase& base, const CSweepField<TValue>& field, const TValue& value)
    {
        CConvParam param = base.Make(side.scene);
        if (!field.bTable)
            field.Set(side.scene, param, value);
        const bool bAsg = base.eEntry == Entry::Asg || base.eEntry == Entry::RectAsg;
        CGuardScene* const pScene = side.FindScene(CGuardShape::Of(param, bAsg));
        if (pScene == nullptr)
            return;
        if (pScene != &side.scene)
        {
            param = base.Make(*pScene);
            field.Set(*pScene, param, value);
        }
        Inspect(base, param);
    }

    void Inspect(const CGuardBase& base, const CConvParam& param)
    {
        m_limit.Restart(m_strCase);
        m_control.ResetReinspectCount();
        const int nResult = RunEntry(m_control, base.eEntry, param);
        const CNarvoAssem& lane = *m_control.GetNarvoAssem(0);
        const int nRefusal = narvo::test::ExpectRefusal(param, base.eEntry);
        if (nRefusal != 0)
        {
            ++m_nRefused;
            ASSERT_EQ(nResult, nRefusal) << m_strCase;
            ASSERT_EQ(lane.nPairCount, 0) << m_strCase;
            ASSERT_EQ(lane.nBlobCount, 0) << m_strCase;
            return;
        }
        ++m_nCompared;
        ASSERT_TRUE(nResult == 1 || nResult == 16) << nResult << ": " << m_strCase;
        ASSERT_GE(lane.nBlobCount, 0) << m_strCase;
        ASSERT_LE(lane.nBlobCount, lane.nBlobSize) << m_strCase;
    }

    CSide m_sides[2] = {CSide(false), CSide(true)};
    CAssemControl m_control;
    narvo::test::CCpuLimit m_limit{nSecondsPerCall};
    std::string m_strCase;
    int m_nShare = std::min(narvo::test::CaseShare(), 5);
    int m_nCompared = 0;
    int m_nRefused = 0;
};

TEST(GuardBlocks, ValidBlocksAreComparedAndFindBlobs)
{
    CGuardScene scene(true);
    CAssemControl control;
    control.InitAssemControl(1, 200);
    for (const CGuardBase& base : GuardBases())
    {
        const CConvParam param = base.Make(scene);
        EXPECT_EQ(narvo::test::ExpectRefusal(param, base.eEntry), 0) << base.pName;
        const int nResult = RunEntry(control, base.eEntry, param);
        const CNarvoAssem& lane = *control.GetNarvoAssem(0);
        const std::string strName = base.pName;
        // These stop at a row, which the engine takes for a column.
        const bool bReruns = strName == "PixelAnyDirection" || strName == "FloatFreeForm";
        EXPECT_EQ(nResult, bReruns ? 16 : 1) << strName;
        const bool bIdle = strName == "UnknownMode" || strName == "FloatNothing";
        EXPECT_EQ(lane.nPairCount > 0 || (bReruns && lane.nBlobCount > 0), !bIdle) << strName;
    }
}

TEST(GuardSweep, EveryIntegerFieldAtEveryExtreme)
{
    CSweep sweep;
    sweep.Run(MakeIntFields());
    EXPECT_GT(sweep.GetCompared(), 5000);
    EXPECT_GT(sweep.GetRefused(), 100);
}

TEST(GuardSweep, EveryPitchAndPixelSizeAtEveryExtreme)
{
    CSweep sweep;
    sweep.Run(MakeRealFields());
    EXPECT_GT(sweep.GetCompared(), 300);
    EXPECT_GT(sweep.GetRefused(), 100);
}

TEST(GuardSweep, EveryRectangleEmptyReversedOutsideAndAtTheLimitsOfInt)
{
    CSweep sweep;
    sweep.Run(MakeRectFields());
    EXPECT_GT(sweep.GetCompared(), 300);
    EXPECT_GT(sweep.GetRefused(), 100);
}

TEST(GuardSweep, EveryTableAndMapFilledWithEveryExtreme)
{
    CSweep sweep;
    sweep.Run(MakeTableFields());
    EXPECT_GT(sweep.GetCompared(), 1000);
    EXPECT_EQ(sweep.GetRefused(), 0);
}

} // namespace
