// SPDX-License-Identifier: MIT
// The trapezium inspection of the engine: what the driver passes to the kernels, the blob steps and the result codes.
#include <cstdint>
#include <limits>
#include <vector>

#include <gtest/gtest.h>

#include "compare/driver_scene.h"
#include "narvoassem/narvoassem.h"

namespace
{

using narvo::test::CDriverScene;
using narvo::test::CTracedEngine;

/// Place, kind and polarity of the records, which the blob steps do not change except the polarity of removed ones.
std::vector<int> GetPlaces(const CNarvoAssem& engine)
{
    std::vector<int> places;
    for (int i = 0; i < engine.nPairCount; ++i)
    {
        const CDefectPair& pair = engine.pPair[i];
        places.insert(places.end(), {pair.nDefectPos, pair.nDefectPair, pair.ptDefect.x, pair.ptDefect.y});
    }
    return places;
}

class TrapeziumDriver : public testing::Test
{
protected:
    TrapeziumDriver() : m_line(16 * (CDriverScene::nHeight + CDriverScene::nWidth))
    {
        p.nThreshold = 40; // quarter grey levels
        SetHorizontal();
    }
    void SetHorizontal()
    {
        p.nDirection = 0;
        p.trapInspect.ptCorner[0] = CPadPoint(40, 20);
        p.trapInspect.ptCorner[1] = CPadPoint(250, 20);
        p.trapInspect.ptCorner[2] = CPadPoint(280, 180);
        p.trapInspect.ptCorner[3] = CPadPoint(10, 180);
    }
    void SetVertical()
    {
        p.nDirection = 1;
        p.trapInspect.ptCorner[0] = CPadPoint(30, 40);
        p.trapInspect.ptCorner[1] = CPadPoint(30, 200);
        p.trapInspect.ptCorner[2] = CPadPoint(250, 230);
        p.trapInspect.ptCorner[3] = CPadPoint(250, 10);
    }

    std::vector<int> Inspect()
    {
        CTracedEngine engine;
        EXPECT_EQ(engine.Inspect_Trapezium(&p), 1);
        EXPECT_GT(engine.nPairCount, 20);
        return GetPlaces(engine);
    }
    std::vector<int> RunHori(int* pTable)
    {
        CTracedEngine e;
        e.nPairCount = ConvTrapeziumHori(p.pImage, m_line.data(), e.nPixelSize, 0, 20, 180, 40, 10, 250, 280,
                                         p.nThreshold * 16, 255, e.pPixelX, e.pPixelY, e.pPixelType, e.pPeak, 4, 437, 0,
                                         0, e.pPair, 0, e.nPairSize, 44, p.nImageWidth, pTable, 0);
        return GetPlaces(e);
    }
    std::vector<int> RunVert(int* pTable)
    {
        CTracedEngine e;
        e.nPairCount = ConvTrapeziumVert(p.pImage, m_line.data(), e.nPixelSize, 0, 30, 250, 40, 200, e.pPixelX,
                                         e.pPixelY, e.pPixelType, e.pPeak, e.pPair, 0, e.nPairSize, 44, p.nImageWidth,
                                         407, p.nThreshold * 16, 255, 813, 10, 230, pTable, 437, 0);
        return GetPlaces(e);
    }

    CDriverScene m_scene;
    CConvParam& p = m_scene.param;
    std::vector<short> m_line;
};

TEST_F(TrapeziumDriver, HorizontalScanRunsBetweenTheLeftAndRightSides)
{
    EXPECT_EQ(Inspect(), RunHori(nullptr));
    p.nDirection = 2;
    EXPECT_EQ(Inspect(), RunHori(nullptr));
    p.pScanPitchTable = m_scene.scanTable.data(); // not the table of this direction
    EXPECT_EQ(Inspect(), RunHori(nullptr));
    p.pTiltConvTable = m_scene.scanTable.data();
    EXPECT_EQ(Inspect(), RunHori(m_scene.scanTable.data()));
    EXPECT_NE(RunHori(nullptr), RunHori(m_scene.scanTable.data()));
}

TEST_F(TrapeziumDriver, VerticalScanRunsBetweenTheUpperAndLowerSides)
{
    SetVertical();
    EXPECT_EQ(Inspect(), RunVert(nullptr));
    p.pTiltConvTable = m_scene.scanTable.data(); // not the table of this direction
    EXPECT_EQ(Inspect(), RunVert(nullptr));
    p.pScanPitchTable = m_scene.scanTable.data();
    EXPECT_EQ(Inspect(), RunVert(m_scene.scanTable.data()));
    EXPECT_NE(RunVert(nullptr), RunVert(m_scene.scanTable.data()));
}

TEST_F(TrapeziumDriver, TopAndBottomOnOneRowGiveNoPairsAndNoKernelCall)
{
    p.trapInspect.ptCorner[3].y = p.trapInspect.ptCorner[0].y;
    CTracedEngine engine;
    EXPECT_EQ(engine.Inspect_Trapezium(&p), 1);
    EXPECT_EQ(engine.nPairCount, 0);
    EXPECT_EQ(engine.pPixelX[0], -77);
    // A direct call discards the pairs held before.
    engine.nPairCount = 1;
    engine.Compare_Trapezium();
    EXPECT_EQ(engine.nPairCount, 0);
}

TEST_F(TrapeziumDriver, VerticalTrapeziumUnderSixteenColumnsInspectsNothing)
{
    SetVertical();
    p.trapInspect.ptCorner[3].x = 45;
    CTracedEngine engine;
    EXPECT_EQ(engine.Inspect_Trapezium(&p), 1);
    EXPECT_EQ(engine.nPairCount, 0);
    EXPECT_EQ(engine.pPixelX[0], -77);
}

TEST_F(TrapeziumDriver, SinglesAreNeverKeptAndTheJumpFilterIsSet)
{
    for (int nDirection : {0, 1})
    {
        if (nDirection == 1)
            SetVertical();
        p.bKeepSingle = 1;
        p.nFilterMode = 0;
        CTracedEngine engine;
        EXPECT_EQ(engine.Inspect_Trapezium(&p), 1);
        EXPECT_EQ(engine.ConvParam.bKeepSingle, 0);
        EXPECT_EQ(engine.ConvParam.nFilterMode, 1);
        EXPECT_EQ(p.bKeepSingle, 1);
        ASSERT_GT(engine.nPairCount, 0);
        for (int i = 0; i < engine.nPairCount; ++i)
            EXPECT_EQ(engine.pPair[i].nDefectPair, DefectPair_Paired);
        EXPECT_GT(engine.GetBlobCount(), 0);
    }
}

/// Two bright columns, 24 apart, in the last rows of an image of 64: alike at a pitch of 24, pairs at one of 20.
TEST_F(TrapeziumDriver, TheLastEntryOfATableServesTheLastRowsAndTheRowBelowTheImage)
{
    constexpr int nWidth = 320;
    constexpr int nHeight = 64;
    std::vector<unsigned char> image(nWidth * nHeight, 100);
    for (std::size_t y = 49; y < nHeight; ++y) // windows are of two rows
        for (const std::size_t x : {100, 124})
            image[y * nWidth + x] = 200;
    p.pImage = image.data();
    p.nImageWidth = nWidth;
    p.nImageHeight = nHeight;
    p.rtInspect.SetRect(0, 0, nWidth, nHeight);
    p.dConvPitch = 20.0;
    p.nConvMultiple = 1;
    int table[] = {20 * 16, 20 * 16, 20 * 16, 24 * 16, 20 * 16};
    p.pTiltConvTable = table;
    const auto countPairs = [&](int nTop, int nBottom)
    {
        p.trapInspect.ptCorner[0] = CPadPoint(30, nTop);
        p.trapInspect.ptCorner[1] = CPadPoint(220, nTop);
        p.trapInspect.ptCorner[2] = CPadPoint(220, nBottom);
        p.trapInspect.ptCorner[3] = CPadPoint(30, nBottom);
        CTracedEngine engine;
        EXPECT_EQ(engine.Inspect_Trapezium(&p), 1);
        return engine.nPairCount;
    };
    EXPECT_EQ(countPairs(0, nHeight - 1), 0);
    EXPECT_EQ(countPairs(nHeight, nHeight - 4), 0) << "the row below the image";
    table[3] = 20 * 16;
    EXPECT_GT(countPairs(0, nHeight - 1), 0);
    EXPECT_GT(countPairs(nHeight, nHeight - 4), 0);
}

TEST_F(TrapeziumDriver, ATrapeziumHasNoSecondPass)
{
    SetVertical();
    CTracedEngine once;
    EXPECT_EQ(once.Inspect_Trapezium(&p), 1);
    p.nMaxReinspect = 3;
    CTracedEngine engine;
    EXPECT_EQ(engine.Inspect_Trapezium(&p), 1);
    EXPECT_EQ(GetPlaces(engine), GetPlaces(once));
    EXPECT_EQ(engine.nReinspectCount, 0);
}

TEST_F(TrapeziumDriver, EveryModeIsCheckedAndEarlierBlobsAreCleared)
{
    CTracedEngine engine;
    EXPECT_EQ(engine.Inspect_Trapezium(&p), 1);
    const int nBlobs = engine.GetBlobCount();
    EXPECT_EQ(engine.Inspect_Trapezium(&p), 1);
    EXPECT_EQ(engine.GetBlobCount(), nBlobs);
    EXPECT_EQ(engine.dInspectTime, 0.0);
    for (int nMode : {0, 1, 2, 3, 9})
    {
        p.nInspectMode = nMode;
        p.nThreshold = 40;
        EXPECT_EQ(engine.Inspect_Trapezium(&p), 1) << nMode;
        p.nThreshold = 0;
        EXPECT_EQ(engine.Inspect_Trapezium(&p), 8) << nMode;
        EXPECT_EQ(engine.GetBlobCount(), 0);
    }
    EXPECT_EQ(engine.Inspect_Trapezium(nullptr), 8);
}

TEST_F(TrapeziumDriver, FullPairStoreEndsTheKernelAndTheCodeStaysOne)
{
    CTracedEngine engine;
    engine.InitPairStorage(10);
    EXPECT_EQ(engine.Inspect_Trapezium(&p), 1);
    EXPECT_EQ(engine.nPairCount, 10);
}

TEST_F(TrapeziumDriver, CornersOutsideTheImageAreRefusedAsFarAsTheyAreRead)
{
    CTracedEngine engine;
    p.trapInspect.ptCorner[1].y = p.trapInspect.ptCorner[2].y = -1000; // read by no horizontal scan
    EXPECT_EQ(engine.Inspect_Trapezium(&p), 1);
    p.trapInspect.ptCorner[1].x = CDriverScene::nWidth + 1;
    EXPECT_EQ(engine.Inspect_Trapezium(&p), 8);
    SetVertical();
    p.trapInspect.ptCorner[1].x = p.trapInspect.ptCorner[2].x = -1000; // read by no vertical scan
    EXPECT_EQ(engine.Inspect_Trapezium(&p), 1);
    p.trapInspect.ptCorner[2].y = CDriverScene::nHeight + 1;
    EXPECT_EQ(engine.Inspect_Trapezium(&p), 8);
    p.trapInspect.ptCorner[2].y = std::numeric_limits<int>::min();
    EXPECT_EQ(engine.Inspect_Trapezium(&p), 8);
}

/// A flat image with one step of nChange grey levels along the scan: its edges are hits when it is large enough.
int CountPairsOfStep(int nThreshold, int nChange, int nGrayLimit = 255)
{
    std::vector<unsigned char> image(200 * 100, 100);
    for (int y = 40; y < 50; ++y)
        for (int x = 90; x < 94; ++x)
            image[static_cast<std::size_t>(y) * 200 + x] = static_cast<unsigned char>(100 + nChange);
    CConvParam param;
    param.pImage = image.data();
    param.nImageWidth = 200;
    param.nImageHeight = 100;
    param.rtInspect.SetRect(0, 0, 200, 100);
    param.nConvWidth = param.nConvHeight = 2;
    param.dConvPitch = 20.0;
    param.nConvMultiple = 1;
    param.nThreshold = nThreshold;
    param.nGrayLimit = nGrayLimit;
    param.trapInspect.ptCorner[0] = CPadPoint(0, 0);
    param.trapInspect.ptCorner[1] = CPadPoint(200, 0);
    param.trapInspect.ptCorner[2] = CPadPoint(200, 99);
    param.trapInspect.ptCorner[3] = CPadPoint(0, 99);
    CNarvoAssem engine;
    engine.InitAssem(0, 100);
    EXPECT_EQ(engine.Inspect_Trapezium(&param), 1);
    return engine.nPairCount;
}

TEST(TrapeziumThreshold, TenIsTwoAndAHalfGreyLevels)
{
    EXPECT_EQ(CountPairsOfStep(10, 2), 0);
    EXPECT_GT(CountPairsOfStep(10, 3), 0);
    EXPECT_EQ(CountPairsOfStep(12, 3), 0);
}

TEST(TrapeziumThreshold, GreysAboveTheLimitAreAllAlike)
{
    EXPECT_EQ(CountPairsOfStep(10, 30, 100), 0);
    EXPECT_GT(CountPairsOfStep(10, 30, 103), 0);
}

} // namespace
