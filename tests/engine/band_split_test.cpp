// SPDX-License-Identifier: MIT
// The band split and the private pool it runs on.
#include <algorithm>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "engine/inspection_scene.h"
#include "narvoassem/narvoassem.h"

namespace
{

using narvo::test::CZoneScene;

using Box = std::tuple<int, int, int, int>;

std::vector<Box> GetBoxes(CNarvoAssem& engine)
{
    std::vector<Box> boxes;
    for (int i = 0; i < engine.GetBlobCount(); ++i)
    {
        const CRect& rtDefect = engine.GetBlobDefect(i)->rtDefect;
        boxes.emplace_back(rtDefect.left, rtDefect.top, rtDefect.right, rtDefect.bottom);
    }
    return boxes;
}

CRect GetBand(CNarvoAssem& engine, int nBand)
{
    return engine.pThreadControl->GetAssem(nBand)->ConvParam.rtInspect;
}

bool HasRun(CNarvoAssem& engine, int nBand)
{
    return engine.pThreadControl->GetAssem(nBand)->ConvParam.pImage != nullptr;
}

TEST(ThreadPool, CreatesEnginesOnceAndKeepsThemForSmallerCounts)
{
    CAssemThreadControl control;
    EXPECT_EQ(control.GetCount(), 0);
    EXPECT_EQ(control.Init(3, 50), 1);
    EXPECT_EQ(control.GetCount(), 3);
    EXPECT_EQ(control.GetAssem(2)->nAssemIndex, 2);
    EXPECT_EQ(control.GetAssem(2)->nBlobSize, 50);
    EXPECT_EQ(control.GetAssem(2)->pThreadControl, nullptr);
    EXPECT_EQ(control.Init(2, 10), 1);
    EXPECT_EQ(control.GetCount(), 2);
    EXPECT_EQ(control.nAssemCapacity, 3);
    EXPECT_EQ(control.GetAssem(0)->nBlobSize, 50);
}

TEST(ThreadPool, RefusesAnIndexOutsideItsEngines)
{
    CAssemThreadControl control;
    CConvParam param;
    EXPECT_EQ(control.Inspect(0, &param), 8);
    control.Init(1, 10);
    EXPECT_EQ(control.Inspect(-1, &param), 8);
    EXPECT_EQ(control.Inspect(1, &param), 8);
}

TEST(ThreadPool, EntersTheGridAtTheFirstRecordRightOfTheRegion)
{
    CZoneScene scene(400, 256, 40, 1);
    CAssemThreadControl control;
    control.Init(1, 10);
    int* const pTable = scene.param.pZoneOriginTable;
    scene.param.rtInspect.left = 80;
    EXPECT_EQ(control.Inspect(0, &scene.param), 1);
    EXPECT_EQ(scene.param.pZoneOriginTable, pTable + 2 * 3);
    EXPECT_EQ(control.GetAssem(0)->ConvParam.pZoneOriginTable, pTable + 2 * 3);
}

TEST(ThreadPool, RefusesARegionWithNoRecordRightOfIt)
{
    CZoneScene scene(400, 256, 40, 1);
    CAssemThreadControl control;
    control.Init(1, 10);
    int* const pTable = scene.param.pZoneOriginTable;
    scene.param.nZoneColumns = 3; // records at 0, 40 and 80
    scene.param.rtInspect.left = 80;
    EXPECT_EQ(control.Inspect(0, &scene.param), 8);
    EXPECT_EQ(scene.param.pZoneOriginTable, pTable);
    EXPECT_EQ(control.GetAssem(0)->ConvParam.pImage, nullptr);
}

TEST(ThreadPool, RegionsWithoutAGridRunUnchanged)
{
    CZoneScene scene(400, 256, 40, 1);
    scene.param.pThresholdOffsetMap = nullptr;
    scene.param.pZoneOriginTable = nullptr;
    scene.param.nInspectMode = 4;
    CAssemThreadControl control;
    control.Init(1, 10);
    control.GetAssem(0)->nBlobCount = 1;
    EXPECT_EQ(control.Inspect(0, &scene.param), 1);
    EXPECT_EQ(control.GetAssem(0)->nBlobCount, 0);
}

class BandSplit : public testing::Test
{
protected:
    void Enable(int nThreads, int nDefectSize = 500)
    {
        m_engine.InitAssem(0, nDefectSize);
        EXPECT_EQ(m_engine.EnableInternalThread(nThreads, nDefectSize), 1);
    }
    CNarvoAssem m_engine;
};

TEST_F(BandSplit, NeedsSubEngines)
{
    CZoneScene scene(4400, 130, 40, 1);
    m_engine.InitAssem(0, 100);
    EXPECT_EQ(m_engine.Inspect_RectThread(&scene.param), 8);
}

TEST_F(BandSplit, SubEnginesAreMadeOnce)
{
    Enable(2);
    CAssemThreadControl* const pPool = m_engine.pThreadControl;
    EXPECT_EQ(m_engine.EnableInternalThread(4, 100), 1);
    EXPECT_EQ(m_engine.pThreadControl, pPool);
    EXPECT_EQ(pPool->GetCount(), 2);
}

TEST_F(BandSplit, RegionsUnderTwoThousandPixelsAreNotSplit)
{
    CZoneScene scene(2100, 130, 40, 1);
    scene.AddDefect(800, 60, 3, 80);
    Enable(4);
    scene.param.rtInspect.SetRect(10, 0, 10 + 1999, 130);
    EXPECT_EQ(m_engine.Inspect_RectThread(&scene.param), 1);
    EXPECT_FALSE(HasRun(m_engine, 0));
    EXPECT_EQ(m_engine.ConvParam.rtInspect, CRect(10, 0, 2009, 130));
    EXPECT_EQ(m_engine.GetBlobCount(), 1);

    scene.param.rtInspect.SetRect(10, 0, 10 + 2000, 130);
    m_engine.ResetNarvoAssem();
    EXPECT_EQ(m_engine.Inspect_RectThread(&scene.param), 1);
    EXPECT_EQ(GetBand(m_engine, 0), CRect(10, 0, 2010, 130));
    EXPECT_FALSE(HasRun(m_engine, 1));
    EXPECT_EQ(m_engine.GetBlobCount(), 1);
}

TEST_F(BandSplit, NineThousandPixelsMakeFourBandsOf2240AndTheLastTakesTheRest)
{
    CZoneScene scene(9100, 130, 40, 1);
    Enable(4);
    scene.param.rtInspect.SetRect(32, 2, 9032, 130);
    EXPECT_EQ(m_engine.Inspect_RectThread(&scene.param), 1);
    EXPECT_EQ(GetBand(m_engine, 0), CRect(32, 2, 2272, 130));
    EXPECT_EQ(GetBand(m_engine, 1), CRect(2272, 2, 4512, 130));
    EXPECT_EQ(GetBand(m_engine, 2), CRect(4512, 2, 6752, 130));
    EXPECT_EQ(GetBand(m_engine, 3), CRect(6752, 2, 9032, 130));
    EXPECT_EQ(scene.param.rtInspect, CRect(32, 2, 9032, 130));
}

TEST_F(BandSplit, NeverMakesMoreBandsThanSubEngines)
{
    CZoneScene scene(9100, 130, 40, 1);
    Enable(3);
    EXPECT_EQ(m_engine.Inspect_RectThread(&scene.param), 1);
    EXPECT_EQ(GetBand(m_engine, 0), CRect(0, 0, 3008, 130)); // 9100 / 3 = 3033
    EXPECT_EQ(GetBand(m_engine, 2), CRect(6016, 0, 9100, 130));
}

TEST_F(BandSplit, EmptyPoolGivesTheResultOfAnUnsplitCall)
{
    CZoneScene scene(4400, 130, 40, 1);
    scene.AddDefect(800, 60, 3, 80);
    for (int nThreads : {0, -2})
    {
        CNarvoAssem engine;
        engine.InitAssem(0, 100);
        EXPECT_EQ(engine.EnableInternalThread(nThreads, 100), 1);
        EXPECT_EQ(engine.Inspect_RectThread(&scene.param), 1);
        EXPECT_EQ(engine.GetBlobCount(), 1);
        EXPECT_EQ(engine.ConvParam.rtInspect, scene.param.rtInspect);
    }
}

TEST_F(BandSplit, GivesTheBlobsOfItsBandsRunAlone)
{
    CZoneScene scene(9100, 300, 40, 1);
    unsigned nSeed = 7;
    const auto Next = [&nSeed](int nRange)
    {
        nSeed = nSeed * 1664525U + 1013904223U;
        return static_cast<int>(nSeed >> 8) % nRange;
    };
    for (int i = 0; i < 120; ++i)
        scene.AddDefect(Next(9080), Next(280), 1 + Next(8), i % 2 == 0 ? 70 : -40);
    for (int nSeam : {2240, 4480, 6720})
        scene.AddDefect(nSeam - 4, 150, 8, 90);
    scene.param.rtInspect.SetRect(0, 0, 9000, 300);
    Enable(4);
    EXPECT_EQ(m_engine.Inspect_RectThread(&scene.param), 1);

    std::vector<Box> boxes;
    int nPairs = 0;
    CAssemThreadControl alone;
    alone.Init(1, 500);
    for (int nBand = 0; nBand < 4; ++nBand)
    {
        CConvParam band(scene.param);
        band.rtInspect.left = 2240 * nBand;
        band.rtInspect.right = nBand == 3 ? 9000 : 2240 * (nBand + 1);
        EXPECT_EQ(alone.Inspect(0, &band), 1);
        const std::vector<Box> found = GetBoxes(*alone.GetAssem(0));
        boxes.insert(boxes.end(), found.begin(), found.end());
        nPairs += alone.GetAssem(0)->GetPairCount();
    }
    EXPECT_GT(boxes.size(), 80U);
    EXPECT_EQ(GetBoxes(m_engine), boxes);
    EXPECT_EQ(m_engine.nPairCount, nPairs);

    double dLongest = 0.0;
    double dLongestBlob = 0.0;
    for (int nBand = 0; nBand < 4; ++nBand)
    {
        dLongest = std::max(dLongest, m_engine.pThreadControl->GetAssem(nBand)->dInspectTime);
        dLongestBlob = std::max(dLongestBlob, m_engine.pThreadControl->GetAssem(nBand)->dBlobTime);
    }
    EXPECT_GT(dLongest, 0.0);
    EXPECT_EQ(m_engine.dInspectTime, dLongest);
    EXPECT_EQ(m_engine.dBlobTime, dLongestBlob);
}

TEST_F(BandSplit, ClearsTheEnginesResults)
{
    CZoneScene scene(4400, 130, 40, 1);
    scene.AddDefect(800, 60, 3, 80);
    Enable(2);
    m_engine.Inspect_RectThread(&scene.param);
    EXPECT_EQ(m_engine.Inspect_RectThread(&scene.param), 1);
    EXPECT_EQ(m_engine.GetBlobCount(), 1);
    EXPECT_EQ(m_engine.GetPairCount(), 9);
}

TEST_F(BandSplit, MorePairsThanTheEnginesOwnStoreGiveSixteen)
{
    CZoneScene scene(4400, 130, 40, 1);
    scene.AddDefect(800, 60, 3, 80);
    scene.AddDefect(3000, 60, 3, 80);
    Enable(2);
    m_engine.InitPairStorage(18);
    EXPECT_EQ(m_engine.Inspect_RectThread(&scene.param), 1);
    m_engine.InitPairStorage(17);
    EXPECT_EQ(m_engine.Inspect_RectThread(&scene.param), 16);
    EXPECT_EQ(m_engine.GetBlobCount(), 2);
}

TEST_F(BandSplit, BandsWithoutAGridRecordDoNotAffectTheOthers)
{
    CZoneScene scene(4400, 130, 40, 1);
    scene.AddDefect(800, 60, 3, 80);
    scene.AddDefect(3000, 60, 3, 80);
    scene.param.nZoneColumns = 40; // the grid row's search ends before the second band
    Enable(2);
    scene.param.pThresholdOffsetMap = nullptr;
    scene.param.nInspectMode = 4;
    EXPECT_EQ(m_engine.Inspect_RectThread(&scene.param), 1);
    EXPECT_TRUE(HasRun(m_engine, 0));
    EXPECT_FALSE(HasRun(m_engine, 1));
}

TEST_F(BandSplit, CutsLeftAndRightAlsoWhenTheSpanIsTheHeight)
{
    CZoneScene scene(256, 4200, 40, 0);
    scene.param.pThresholdOffsetMap = nullptr;
    scene.param.pZoneOriginTable = nullptr;
    scene.param.nInspectMode = 4;
    Enable(4);
    scene.param.rtInspect.SetRect(0, 100, 256, 4200);
    EXPECT_EQ(m_engine.Inspect_RectThread(&scene.param), 1);
    EXPECT_EQ(GetBand(m_engine, 0), CRect(100, 100, 100 + 2048, 4200));
    EXPECT_EQ(GetBand(m_engine, 1), CRect(100 + 2048, 100, 4200, 4200));
    EXPECT_FALSE(HasRun(m_engine, 2));
}

TEST_F(BandSplit, SpansBeyondEveryImageAreRefusedBeforeTheSplit)
{
    CZoneScene scene(256, 256, 40, 1);
    scene.param.rtInspect.SetRect(0, 0, 2147483647, 256);
    for (int nThreads : {1, 4})
    {
        CNarvoAssem engine;
        engine.InitAssem(0, 10);
        engine.EnableInternalThread(nThreads, 10);
        EXPECT_EQ(engine.Inspect_RectThread(&scene.param), 8);
        EXPECT_EQ(engine.GetBlobCount(), 0);
        EXPECT_FALSE(HasRun(engine, 0));
    }
}

TEST_F(BandSplit, BandsThatDoNotRunKeepTheBlobsOfTheCallBefore)
{
    CZoneScene scene(4400, 130, 40, 1);
    scene.AddDefect(3000, 60, 3, 80);
    Enable(2);
    EXPECT_EQ(m_engine.Inspect_RectThread(&scene.param), 1);
    EXPECT_EQ(m_engine.GetBlobCount(), 1);
    scene.param.nZoneColumns = 40; // the second band finds no record
    scene.param.pThresholdOffsetMap = nullptr;
    scene.param.nInspectMode = 4;
    EXPECT_EQ(m_engine.Inspect_RectThread(&scene.param), 1);
    EXPECT_EQ(m_engine.GetBlobCount(), 1);
}

TEST_F(BandSplit, PoolsDoNotResetTheReRunsOfBands)
{
    CAssemControl pool;
    pool.InitAssemControl(1, 100);
    CNarvoAssem& lane = *pool.GetNarvoAssem(0);
    CNarvoAssem& band = *lane.pThreadControl->GetAssem(1);
    lane.CountReinspect();
    band.CountReinspect();
    pool.ResetReinspectCount();
    EXPECT_EQ(lane.nReinspectCount, 0);
    EXPECT_EQ(band.nReinspectCount, 1);
}

/// A flat image with bright pixels two bands apart, in pixel mode.
struct CFlatScene
{
    static constexpr int nWidth = 4200;
    static constexpr int nHeight = 120;
    std::vector<unsigned char> image;
    CConvParam param;

    CFlatScene() : image(static_cast<std::size_t>(nWidth) * nHeight, 100)
    {
        for (const int x : {500, 1500, 2500, 3500, 4000})
            image[static_cast<std::size_t>(60 * nWidth + x)] = 220;
        param.nInspectMode = 1;
        param.nDirection = 1;
        param.pImage = image.data();
        param.nImageWidth = nWidth;
        param.nImageHeight = nHeight;
        param.rtInspect.SetRect(0, 0, nWidth, nHeight);
        param.nConvWidth = param.nConvHeight = 2;
        param.dConvPitch = param.dScanPitch = 10.0;
        param.nConvMultiple = param.nScanMultiple = 1;
        param.nThreshold = 20;
        param.nThresholdGain = 0;
    }
};

TEST_F(BandSplit, RegionOneColumnWiderThanItsImageIsRefusedWithBandsAsWithout)
{
    CFlatScene scene;
    CAssemControl pool;
    pool.InitAssemControl(1, 500);
    EXPECT_EQ(pool.Inspect_Rect(0, &scene.param, 0), 1);
    EXPECT_EQ(pool.GetNarvoAssem(0)->GetBlobCount(), 5);
    ++scene.param.rtInspect.right;
    for (const int bBands : {0, 1})
    {
        scene.param.bBandThread = bBands;
        EXPECT_EQ(pool.Inspect_Rect(0, &scene.param, 0), 8) << bBands;
        EXPECT_EQ(pool.GetNarvoAssem(0)->GetBlobCount(), 0) << bBands;
    }
}

TEST_F(BandSplit, BandsThatTheSplitPutsOutsideTheImageRefuseTheCall)
{
    // In the direction 2 the height is cut, but left and right take the cuts: only an image as wide as high holds them.
    CFlatScene scene;
    scene.param.nDirection = 2;
    scene.param.nImageWidth = CFlatScene::nHeight;
    scene.param.nImageHeight = CFlatScene::nWidth;
    scene.param.rtInspect.SetRect(0, 0, CFlatScene::nHeight, CFlatScene::nWidth);
    Enable(4);
    m_engine.nBlobCount = 1;
    EXPECT_EQ(m_engine.Inspect_RectThread(&scene.param), 8);
    EXPECT_EQ(m_engine.GetBlobCount(), 0);
    EXPECT_FALSE(HasRun(m_engine, 0));
}

TEST_F(BandSplit, EngineWithoutStoresIsRefusedWithBandsAsWithout)
{
    CFlatScene scene;
    EXPECT_EQ(m_engine.EnableInternalThread(2, 10), 1);
    EXPECT_EQ(m_engine.Inspect_Rect(&scene.param), 8);
    EXPECT_EQ(m_engine.Inspect_RectThread(&scene.param), 8);
}

TEST_F(BandSplit, GridWalksOfBandsStayInTheirRow)
{
    // Cells without width are stepped once per 16 columns, from the band's own entry on: the row has records for the
    // whole region, but the second band enters it at its last one.
    CZoneScene scene(4096, 130, 40, 1);
    scene.param.nZoneConvMultiple = 0;
    scene.param.nZoneColumns = 4096 / 16 + 2;
    std::vector<int> grid(static_cast<std::size_t>(scene.param.nZoneColumns) * 8 * 2);
    for (int nRow = 0; nRow < 8; ++nRow)
        for (int i = 0; i < scene.param.nZoneColumns; ++i)
        {
            int* const pRecord = grid.data() + 2 * (nRow * scene.param.nZoneColumns + i);
            pRecord[0] = i == scene.param.nZoneColumns - 1 ? 4096 : 0;
            pRecord[1] = (nRow - 1) * 40;
        }
    scene.param.pZoneOriginTable = grid.data();
    Enable(2);
    EXPECT_EQ(m_engine.Inspect_RectThread(&scene.param), 8);
    EXPECT_FALSE(HasRun(m_engine, 1));
}

} // namespace
