// SPDX-License-Identifier: MIT
// Each row of the selection of zone kernels through a whole inspection, compared with a direct call of the kernel that
// the row names, with the arguments that it must get.
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "compare/driver_scene.h"
#include "narvoassem/narvoassem.h"

namespace
{

using narvo::test::CDriverScene;
using narvo::test::CTracedEngine;
using narvo::test::GetTrace;

// The arguments that the zone family shares, as the driver is to hand them on.
#define HITS                                                                                                           \
    p.pImage, p.nThreshold, e.nPixelSize, e.nPixelCount, p.rtInspect.left, p.rtInspect.right, p.rtInspect.top,         \
        p.rtInspect.bottom, e.pPixelX, e.pPixelY, e.pPixelType, e.pPeak, e.pSrcGray, e.pCmpGray, e.pZoneIndex,         \
        e.pThreshold, p.nImageWidth
#define MAPS(grid)                                                                                                     \
    p.pThresholdOffsetMap, p.pZoneIndexMap, nStride, (grid).data(), e.pPair, 0, e.nPairSize, 44, nCellWidth, nCellHeight
#define BACK nColumns * 8, p.nPairSearchSlack, p.pThresholdGainMap
#define FLAGGED_BACK nColumns * 12, p.nPairSearchSlack, p.pThresholdGainMap
#define VERT_TAIL m_strip.data(), p.bKeepSingle, &m_nEnd, p.nThresholdExtra, p.nGrayLimit
#define VTD_TAIL(shift) shift, p.bKeepSingle, &m_nEnd, p.nThresholdExtra, p.nGrayLimit

class ZoneKernelCalls : public testing::Test
{
protected:
    static constexpr int nStride = 128;
    static constexpr int nColumns = 14;
    static constexpr int nCellWidth = 27;  // 27.34 pixels
    static constexpr int nCellHeight = 25; // 25.41 pixels
    static constexpr int nConv16 = 437;
    static constexpr int nScan16 = 406;

    ZoneKernelCalls() : m_strip(16 * (CDriverScene::nHeight + 40))
    {
        std::mt19937 random(9);
        const auto MakeMap = [&random](int nFirst, int nRange)
        {
            std::vector<short> map(static_cast<std::size_t>(nStride) * 400);
            for (short& nValue : map)
                nValue = static_cast<short>(nFirst + static_cast<int>(random() % static_cast<unsigned>(nRange)));
            return map;
        };
        for (auto& [map, ppMap, nFirst, nRange] :
             std::initializer_list<CMapOfBlock>{{m_offset, &p.pThresholdOffsetMap, 8, 8},
                                                {m_gain, &p.pThresholdGainMap, 0, 20},
                                                {m_zone, &p.pZoneIndexMap, 0, 16},
                                                {m_offset2, &p.pThresholdOffsetMap2, 4, 8},
                                                {m_gain2, &p.pThresholdGainMap2, 0, 20},
                                                {m_knee, &m_pKnee, 105, 10},
                                                {m_class, &p.pClassIdMap, 1, 15}})
        {
            map = MakeMap(nFirst, nRange);
            *ppMap = map.data() + nStride * 100 + 64;
        }
        // Vertical runs step over the first grid row, horizontal ones begin with it: both find their cells.
        for (int nRow = 0; nRow < 14; ++nRow)
            for (int nColumn = 0; nColumn < nColumns; ++nColumn)
            {
                const int x = 16 + nColumn * 27;
                const int y = 10 + (nRow - 1) * 25;
                m_grid.insert(m_grid.end(), {x, y});
                m_flagged.insert(m_flagged.end(), {x, y, (nRow + nColumn) % 4 == 0 ? 2 : 0});
            }
        m_tspOffset.assign(16, 12);
        m_tspGain.assign(16, 6);
        p.nZoneMapStride = nStride;
        p.nZoneColumns = nColumns;
        p.pZoneOriginTable = m_grid.data();
        p.nDirection = 1;
        p.nMaxReinspect = 0;
    }

    std::vector<int> Inspect()
    {
        CTracedEngine engine;
        EXPECT_EQ(engine.Inspect_Rect(&p), 1);
        EXPECT_GT(engine.nPairCount, 50);
        return GetTrace(engine);
    }
    template <class TCall>
    std::vector<int> Run(TCall call)
    {
        CTracedEngine engine;
        engine.SetConvParam(&p);
        engine.nPairCount = call(engine);
        return GetTrace(engine);
    }

    std::vector<int> RunVert()
    {
        return Run([this](CNarvoAssem& e)
                   { return ConvZoneVertFast(HITS, nScan16, 0, 0, MAPS(m_grid), BACK, VERT_TAIL); });
    }
    std::vector<int> RunVert2by2()
    {
        return Run([this](CNarvoAssem& e)
                   { return ConvZoneVert2by2Fast(HITS, nScan16, 0, 0, MAPS(m_grid), BACK, VERT_TAIL); });
    }
    std::vector<int> RunFlag()
    {
        return Run([this](CNarvoAssem& e)
                   { return ConvZoneVertFlagFast(HITS, nScan16, 0, 0, MAPS(m_flagged), FLAGGED_BACK, VERT_TAIL); });
    }
    std::vector<int> RunFlag2by2()
    {
        return Run([this](CNarvoAssem& e)
                   { return ConvZoneVertFlag2by2Fast(HITS, nScan16, 0, 0, MAPS(m_flagged), FLAGGED_BACK, VERT_TAIL); });
    }
    std::vector<int> RunDirect()
    {
        return Run(
            [this](CNarvoAssem& e)
            {
                return ConvZoneVertDirectFast(HITS, nScan16, 0, 0, MAPS(m_grid), BACK, m_strip.data(), p.bKeepSingle,
                                              &m_nEnd, p.nGrayLimit);
            });
    }
    std::vector<int> RunKnee()
    {
        return Run(
            [this](CNarvoAssem& e)
            {
                return ConvZoneVertKneeFast(HITS, nScan16, 0, 0, MAPS(m_grid), BACK, m_strip.data(), p.bKeepSingle,
                                            &m_nEnd, p.pThresholdKneeMap, p.pThresholdOffsetMap2, p.pThresholdGainMap2,
                                            p.nGrayLimit);
            });
    }
    std::vector<int> RunVtd(int nShift16, int* pTable)
    {
        return Run([&](CNarvoAssem& e)
                   { return ConvZoneVTDFast(HITS, pTable, nScan16, 0, MAPS(m_grid), BACK, VTD_TAIL(nShift16)); });
    }
    std::vector<int> RunVtdIntrin(int nShift16)
    {
        return Run([&](CNarvoAssem& e)
                   { return e.ConvZoneVTD_Intrin(HITS, nullptr, nScan16, 0, MAPS(m_grid), BACK, VTD_TAIL(nShift16)); });
    }
    std::vector<int> RunTsp()
    {
        return Run([this](CNarvoAssem& e)
                   { return e.ConvZoneVert2S_TSP_Intrin(HITS, nScan16, 0, 0, MAPS(m_grid), BACK, VERT_TAIL); });
    }
    std::vector<int> RunBlack()
    {
        return Run([this](CNarvoAssem& e)
                   { return e.ConvZoneVert2S_BlackFilter(HITS, nScan16, 0, 0, MAPS(m_grid), BACK, VERT_TAIL); });
    }
    std::vector<int> RunClassId()
    {
        return Run(
            [this](CNarvoAssem& e)
            {
                return ConvZone_AVX_ClassID(HITS, nullptr, std::int64_t{nScan16}, 0, MAPS(m_grid), BACK, nullptr,
                                            std::int64_t{0}, p.bKeepSingle, &m_nEnd, p.nThresholdExtra, p.nGrayLimit,
                                            m_strip.data(), 0, nullptr);
            });
    }
    std::vector<int> RunClassIdByDouble()
    {
        return Run(
            [this](CNarvoAssem& e)
            {
                return ConvZone_AVX_ClassID(HITS, nullptr, p.GetRealScanPitch(), 0, MAPS(m_grid), BACK, nullptr,
                                            p.dClassPitch, p.bKeepSingle, &m_nEnd, p.nThresholdExtra, p.nGrayLimit,
                                            m_strip.data(), 0, nullptr);
            });
    }
    std::vector<int> RunClassIdTable()
    {
        return Run(
            [this](CNarvoAssem& e)
            {
                return ConvZoneVTDSMC_IntrinAVX(HITS, m_scene.scanTable.data(), nScan16, 0, MAPS(m_grid), BACK, nullptr,
                                                0, p.bKeepSingle, &m_nEnd, p.nThresholdExtra, p.nGrayLimit,
                                                m_strip.data(), 0, p.pClassIdMap);
            });
    }
    std::vector<int> RunHori()
    {
        return Run(
            [this](CNarvoAssem& e)
            { return ConvZoneFast(HITS, nConv16, 0, 0, MAPS(m_grid), BACK, p.bKeepSingle, &m_nEnd, p.nGrayLimit); });
    }
    std::vector<int> RunHoriTable()
    {
        return Run(
            [this](CNarvoAssem& e)
            {
                return ConvZoneTableFast(HITS, m_scene.convTable.data(), m_scene.weightNear.data(),
                                         m_scene.weightFar.data(), MAPS(m_grid), p.nPairSearchSlack, nConv16,
                                         nColumns * 8, p.pThresholdGainMap, p.bKeepSingle, &m_nEnd, p.nGrayLimit);
            });
    }

    CDriverScene m_scene;
    CConvParam& p = m_scene.param;
    std::vector<short> m_strip;
    std::vector<short> m_offset, m_gain, m_zone, m_offset2, m_gain2, m_knee, m_class;
    short* m_pKnee = nullptr;
    std::vector<int> m_grid;
    std::vector<int> m_flagged;
    std::vector<int> m_tspOffset;
    std::vector<int> m_tspGain;
    int m_nEnd = 0;

private:
    struct CMapOfBlock
    {
        std::vector<short>& map;
        short** ppMap;
        int nFirst;
        int nRange;
    };
};

TEST_F(ZoneKernelCalls, KernelsDifferOnTheScene)
{
    p.pThresholdKneeMap = m_pKnee;
    p.pTspTable = m_tspOffset.data();
    p.pTspTable2 = m_tspGain.data();
    p.nBlackFilterGray = 20;
    int* const pTable = m_scene.scanTable.data();
    const std::vector<std::vector<int>> traces = {
        RunVert(),         RunVert2by2(),   RunFlag(), RunFlag2by2(), RunDirect(),       RunKnee(), RunVtd(5, nullptr),
        RunVtd(0, pTable), RunVtdIntrin(5), RunTsp(),  RunBlack(),    RunClassIdTable(), RunHori(), RunHoriTable()};
    for (std::size_t i = 0; i < traces.size(); ++i)
        for (std::size_t j = 0; j < i; ++j)
            EXPECT_NE(traces[i], traces[j]) << i << " and " << j;
}

TEST_F(ZoneKernelCalls, HorizontalKernelsRunAsCalled)
{
    p.nDirection = 0;
    EXPECT_EQ(Inspect(), RunHori());
    p.pConvPitchTable = m_scene.convTable.data();
    p.pConvWeightNear = m_scene.weightNear.data();
    p.pConvWeightFar = m_scene.weightFar.data();
    EXPECT_EQ(Inspect(), RunHoriTable());
}

TEST_F(ZoneKernelCalls, PlainSettingsRunTheStripKernel)
{
    EXPECT_EQ(Inspect(), RunVert());
}

TEST_F(ZoneKernelCalls, RowTableKernelsRunAsCalled)
{
    p.pScanPitchTable = m_scene.scanTable.data();
    EXPECT_EQ(Inspect(), RunVtd(0, p.pScanPitchTable));
    p.fVtdPitch = 0.33F; // 5.28 sixteenths
    EXPECT_EQ(Inspect(), RunVtd(5, p.pScanPitchTable));
    p.bExtendedKernel = 1;
    EXPECT_EQ(Inspect(), RunClassIdTable());
}

TEST_F(ZoneKernelCalls, ShiftKernelsRunAsCalled)
{
    p.fVtdPitch = 0.33F;
    EXPECT_EQ(Inspect(), RunVtd(5, nullptr));
    p.bExtendedKernel = 1;
    EXPECT_EQ(Inspect(), RunVtdIntrin(5));
}

TEST_F(ZoneKernelCalls, DirectKernelRunsAsCalled)
{
    p.bUseLineBuffer = 0;
    EXPECT_EQ(Inspect(), RunDirect());
}

TEST_F(ZoneKernelCalls, KneeKernelRunsAsCalled)
{
    p.bTwoSegmentThreshold = 1;
    p.pThresholdKneeMap = m_pKnee;
    EXPECT_EQ(Inspect(), RunKnee());
}

TEST_F(ZoneKernelCalls, FlaggedAndMeanKernelsRunAsCalled)
{
    p.bAverage2by2 = 1;
    EXPECT_EQ(Inspect(), RunVert2by2());
    p.bZoneFlagged = 1;
    p.pZoneOriginTable = m_flagged.data();
    EXPECT_EQ(Inspect(), RunFlag2by2());
    p.bAverage2by2 = 0;
    EXPECT_EQ(Inspect(), RunFlag());
}

TEST_F(ZoneKernelCalls, ExtendedKernelsRunAsCalled)
{
    p.bExtendedKernel = 1;
    EXPECT_EQ(Inspect(), RunClassId());
    p.dClassPitch = 1.5;
    EXPECT_EQ(Inspect(), RunClassIdByDouble());
    p.nBlackFilterGray = 20;
    EXPECT_EQ(Inspect(), RunBlack());
    p.pTspTable = m_tspOffset.data();
    p.pTspTable2 = m_tspGain.data();
    EXPECT_EQ(Inspect(), RunTsp());
}

} // namespace

#undef HITS
#undef MAPS
#undef BACK
#undef FLAGGED_BACK
#undef VERT_TAIL
#undef VTD_TAIL
