// SPDX-License-Identifier: MIT
// The free-form inspections: what lies inside the polygon or mask, and the thresholds of the zone maps.
#include "narvoassem/narvoassem.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "gtest/gtest.h"

#include "support/guarded_memory.h"
#include "support/random.h"
#include "support/vector_levels.h"

namespace
{

using namespace narvo::test;

class CFreeFormProbe : public CNarvoAssem
{
public:
    using CNarvoAssem::ConvFloatVJF_Cpp;
    using CNarvoAssem::ConvFloatVJF_Intrin;
    using CNarvoAssem::Inspect_FreeForm;
    using CNarvoAssem::Inspect_FreeFormMask;
    using CNarvoAssem::MakeFrameRegion;
    using CNarvoAssem::ResetConBuff;
};

/// A flat image of 160 by 200 with bright spots of one column, pitch 20 along y.
struct CScene
{
    static constexpr int nWidth = 160;
    static constexpr int nHeight = 200;
    std::vector<unsigned char> image = std::vector<unsigned char>(nWidth * nHeight, 100);
    std::vector<unsigned char> mask;
    std::vector<CPoint> polygon;
    std::vector<short> offsets = std::vector<short>(nWidth * nHeight, 0);
    std::vector<short> zones = std::vector<short>(nWidth * nHeight, 0);
    std::vector<int> origins;
    CFreeFormProbe engine;

    CScene()
    {
        engine.InitAssem(0, 100);
        CConvParam& param = engine.ConvParam;
        param.pImage = image.data();
        param.nImageWidth = nWidth;
        param.nImageHeight = nHeight;
        param.rtInspect.SetRect(0, 0, nWidth, nHeight);
        param.nDirection = 1;
        param.dConvPitch = 20;
        param.nConvMultiple = 1;
        param.dScanPitch = 20;
        param.nScanMultiple = 1;
        param.nConvWidth = 2;
        param.nConvHeight = 2;
        param.nThreshold = 10;
        param.nThresholdGain = 0;
        param.nZoneMapStride = nWidth;
        Reset();
    }

    void Reset()
    {
        engine.ResetNarvoAssem();
        int nSize = nHeight * 16;
        engine.ResetConBuff(nSize);
    }

    /// Spots of 2 by 2 pixels, so that windows of 2 by 2 see one in full.
    void AddSpot(int x, int y, int nGray)
    {
        for (int r = y; r < y + 2; ++r)
            for (int c = x; c < x + 2; ++c)
                image[static_cast<std::size_t>(r * nWidth + c)] = static_cast<unsigned char>(nGray);
    }

    /// Cells of 40 by 40 with origins from (x0, y0).
    void UseZones(int x0, int y0)
    {
        origins.clear();
        for (int r = 0; r < 6; ++r)
            for (int c = 0; c < 5; ++c)
            {
                origins.push_back(x0 + 40 * c);
                origins.push_back(y0 + 40 * r);
            }
        engine.ConvParam.pZoneOriginTable = origins.data();
        engine.ConvParam.nZoneColumns = 5;
        engine.ConvParam.pZoneIndexMap = zones.data();
        engine.ConvParam.pThresholdOffsetMap = offsets.data();
    }

    const CDefectPair* FindPair(int x, int y)
    {
        for (int i = 0; i < engine.nPairCount; ++i)
            if (engine.pPair[i].ptDefect == CPoint(x, y))
                return &engine.pPair[i];
        return nullptr;
    }
};

TEST(FreeFormMask, ReportsTheSourcePixelsThatTheMaskAllows)
{
    CScene scene;
    scene.AddSpot(40, 100, 115);
    scene.AddSpot(120, 100, 115);
    scene.mask.assign(scene.image.size(), 0);
    for (int y = 0; y < CScene::nHeight; ++y)
        std::memset(&scene.mask[static_cast<std::size_t>(y * CScene::nWidth)], 1, 80);
    scene.engine.ConvParam.pFreeFormMask = scene.mask.data();
    int nEndLine = CScene::nWidth;
    const int nCount = scene.engine.Inspect_FreeFormMask(nEndLine);
    EXPECT_EQ(nCount, scene.engine.nPairCount);
    EXPECT_EQ(nEndLine, CScene::nHeight);
    EXPECT_NE(scene.FindPair(40, 100), nullptr);
    EXPECT_EQ(scene.FindPair(120, 100), nullptr);
    for (int i = 0; i < nCount; ++i)
        EXPECT_LT(scene.engine.pPair[i].ptDefect.x, 80);
}

TEST(FreeFormMask, PairBelowTheMapsThresholdIsMarkedAndStaysInTheBuffer)
{
    CScene scene;
    scene.AddSpot(50, 100, 115);
    scene.UseZones(1, 1);
    // The spot lies in cell (1, 2), whose origin is (41, 81).
    const std::size_t nIndex = (100 - 81) * CScene::nWidth + (50 - 41);
    scene.offsets[nIndex] = 6;
    scene.zones[nIndex] = 3;
    int nEndLine = 0;
    scene.engine.Inspect_FreeFormMask(nEndLine);
    const CDefectPair* pPair = scene.FindPair(50, 100);
    ASSERT_NE(pPair, nullptr);
    EXPECT_EQ(pPair->nPeak, 5);
    EXPECT_EQ(pPair->nDefectType, 4);
    EXPECT_EQ(pPair->nThreshold, 6);
    EXPECT_EQ(pPair->nZoneIndex, 3);
    // The neighbour's map cell holds 0, so it is kept.
    const CDefectPair* pNeighbour = scene.FindPair(51, 100);
    ASSERT_NE(pNeighbour, nullptr);
    EXPECT_EQ(pNeighbour->nDefectType, 1);
    EXPECT_EQ(pNeighbour->nThreshold, 0);

    scene.Reset();
    scene.offsets[nIndex] = 5;
    scene.engine.Inspect_FreeFormMask(nEndLine);
    EXPECT_EQ(scene.FindPair(50, 100)->nDefectType, 1) << "equal to the threshold is kept";
}

TEST(FreeFormMask, PairWithoutACellUsesTheThresholdOfThePairBefore)
{
    CScene scene;
    // Origins of the first row have y 0: no cell. The spots lie in strips of their own, so their pairs come in order of
    // x: without a cell, in a cell that asks for 7, without a cell.
    scene.AddSpot(10, 30, 115);
    scene.AddSpot(50, 100, 115);
    scene.AddSpot(100, 30, 115);
    scene.UseZones(1, 0);
    std::fill(scene.offsets.begin(), scene.offsets.end(), short{7});
    std::fill(scene.zones.begin(), scene.zones.end(), short{9});
    int nEndLine = 0;
    scene.engine.Inspect_FreeFormMask(nEndLine);
    int nRunning = 0;
    int nWithout = 0;
    int nHeld = 0;
    for (int i = 0; i < scene.engine.nPairCount; ++i)
    {
        const CDefectPair& pair = scene.engine.pPair[i];
        if (pair.ptDefect.y >= 40)
        {
            nRunning = 7;
            EXPECT_EQ(pair.nZoneIndex, 9);
            EXPECT_EQ(pair.nThreshold, 7);
        }
        else
        {
            ++nWithout;
            nHeld += nRunning == 7 ? 1 : 0;
            EXPECT_EQ(pair.nZoneIndex, 0);
            EXPECT_EQ(pair.nThreshold, 10) << "as the kernel wrote it";
        }
        EXPECT_EQ(pair.nDefectType == 4, pair.nPeak < nRunning);
    }
    EXPECT_GT(nWithout, nHeld);
    EXPECT_GT(nHeld, 0);
}

TEST(FreeFormMask, AnOriginOnEitherAxisCountsAsNoCell)
{
    for (const bool bFirstColumn : {false, true})
    {
        CScene scene;
        const CPoint ptWithout = bFirstColumn ? CPoint(10, 100) : CPoint(50, 30);
        scene.AddSpot(ptWithout.x, ptWithout.y, 115);
        scene.AddSpot(100, 100, 115);
        bFirstColumn ? scene.UseZones(0, 1) : scene.UseZones(1, 0);
        std::fill(scene.zones.begin(), scene.zones.end(), short{9});
        int nEndLine = 0;
        scene.engine.Inspect_FreeFormMask(nEndLine);
        const CDefectPair* pWithout = scene.FindPair(ptWithout.x, ptWithout.y);
        const CDefectPair* pInside = scene.FindPair(100, 100);
        ASSERT_TRUE(pWithout != nullptr && pInside != nullptr);
        EXPECT_EQ(pWithout->nZoneIndex, 0);
        EXPECT_EQ(pInside->nZoneIndex, 9);
    }
}

TEST(FreeFormMask, WithoutAnOffsetMapTheRunningThresholdStaysAtZero)
{
    CScene scene;
    scene.AddSpot(50, 100, 115);
    scene.UseZones(1, 1);
    std::fill(scene.zones.begin(), scene.zones.end(), short{9});
    scene.engine.ConvParam.pThresholdOffsetMap = nullptr;
    int nEndLine = 0;
    scene.engine.Inspect_FreeFormMask(nEndLine);
    const CDefectPair* pPair = scene.FindPair(50, 100);
    ASSERT_NE(pPair, nullptr);
    EXPECT_EQ(pPair->nZoneIndex, 9);
    EXPECT_EQ(pPair->nThreshold, 0);
    EXPECT_EQ(pPair->nDefectType, 1);
}

TEST(FreeFormMask, PairsHeldBeforeAndRemovedOnesAreNotChanged)
{
    CScene scene;
    scene.AddSpot(50, 100, 115);
    scene.UseZones(1, 1);
    std::fill(scene.zones.begin(), scene.zones.end(), short{9});
    scene.engine.nPairCount = 1;
    scene.engine.pPair[0].nDefectType = 1;
    scene.engine.pPair[0].ptDefect = CPoint(50, 100);
    scene.engine.pPair[0].nZoneIndex = 5;
    int nEndLine = 0;
    ASSERT_GT(scene.engine.Inspect_FreeFormMask(nEndLine), 1);
    EXPECT_EQ(scene.engine.pPair[0].nZoneIndex, 5);
}

TEST(FreeForm, ReportsOnlyInsideThePolygon)
{
    CScene scene;
    scene.AddSpot(40, 100, 200);
    scene.AddSpot(140, 100, 200);
    scene.polygon = {{10, 0}, {100, 0}, {100, 200}, {10, 200}};
    scene.engine.ConvParam.pFreeFormPoint = scene.polygon.data();
    scene.engine.ConvParam.nFreeFormPointCount = 4;
    int nEndLine = CScene::nWidth;
    const int nCount = scene.engine.Inspect_FreeForm(nEndLine);
    EXPECT_EQ(nEndLine, CScene::nHeight);
    EXPECT_EQ(nCount, scene.engine.nPairCount);
    ASSERT_GT(nCount, 0);
    for (int i = 0; i < nCount; ++i)
    {
        EXPECT_GE(scene.engine.pPair[i].ptDefect.x, 10);
        EXPECT_LT(scene.engine.pPair[i].ptDefect.x, 100);
    }
}

TEST(FreeForm, StripsGoToTheVectorKernelInSixteensAndTheRestToThePlainOne)
{
    CScene scene;
    for (int x = 4; x < 150; x += 3)
        scene.AddSpot(x, 40 + x, 100 + x % 90);
    scene.polygon = {{0, 0}, {150, 30}, {130, 200}, {70, 90}, {20, 190}};
    scene.engine.ConvParam.pFreeFormPoint = scene.polygon.data();
    scene.engine.ConvParam.nFreeFormPointCount = 5;
    int nEndLine = 0;
    const int nCount = scene.engine.Inspect_FreeForm(nEndLine);
    std::vector<CDefectPair> pairs(scene.engine.pPair, scene.engine.pPair + nCount);

    scene.Reset();
    int nRects = 0;
    CRect* pRect = nullptr;
    ASSERT_EQ(scene.engine.MakeFrameRegion(scene.polygon.data(), 5, scene.engine.ConvParam.rtInspect, nRects, &pRect),
              1);
    ASSERT_GT(nRects, 1);
    for (int i = 0; i < nRects; ++i)
    {
        const CRect rt = pRect[i];
        const int nCut = rt.left + (rt.Width() > 15 ? rt.Width() / 16 * 16 : 0);
        if (nCut > rt.left)
            scene.engine.nPairCount =
                scene.engine.ConvFloatVJF_Intrin(CRect(rt.left, rt.top, nCut, rt.bottom), nEndLine);
        if (nCut < rt.right || nCut == rt.left)
            scene.engine.nPairCount = scene.engine.ConvFloatVJF_Cpp(CRect(nCut, rt.top, rt.right, rt.bottom), nEndLine);
    }
    std::free(pRect);
    ASSERT_GT(nCount, 0);
    ASSERT_EQ(nCount, scene.engine.nPairCount);
    EXPECT_EQ(std::memcmp(pairs.data(), scene.engine.pPair, sizeof(CDefectPair) * pairs.size()), 0);
}

TEST(FreeForm, ThePlainKernelReadsZeroWhereANegativePitchLeavesItsRows)
{
    CScene scene;
    scene.engine.ConvParam.dScanPitch = -20.5;
    int nEndLine = 0;
    const int nPairs = scene.engine.ConvFloatVJF_Cpp(CRect(3, 10, 8, 60), nEndLine);
    EXPECT_EQ(nEndLine, 9) << "every column was looked at";
    // Such rows count as black and differ, but a middle hit has no answer above it.
    EXPECT_EQ(nPairs, 0);
}

TEST(FreeForm, NoReadLeavesImageOrMask)
{
    CForcedLevel level(VectorLevels().front());
    for (const std::int64_t nLevel : VectorLevels())
    {
        level.Change(nLevel);
        for (const auto eFlush : {CGuardedMemory::Flush::Front, CGuardedMemory::Flush::Back})
            for (const int nWidth : {33, 64, 77})
            {
                const int nHeight = 90;
                CRandom random(static_cast<std::uint64_t>(nWidth));
                CGuardedMemory image(static_cast<std::size_t>(nWidth * nHeight), eFlush);
                CGuardedMemory mask(static_cast<std::size_t>(nWidth * nHeight), eFlush);
                for (std::size_t i = 0; i < image.Size(); ++i)
                {
                    image.Data()[i] = static_cast<std::uint8_t>(random.Int(80, 120));
                    mask.Data()[i] = static_cast<std::uint8_t>(random.Int(0, 1));
                }
                CScene scene;
                CConvParam& param = scene.engine.ConvParam;
                param.pImage = image.Data();
                param.nImageWidth = nWidth;
                param.nImageHeight = nHeight;
                param.rtInspect.SetRect(0, 0, nWidth, nHeight);
                param.dScanPitch = 11.6;
                param.nThreshold = 20;
                param.pFreeFormMask = mask.Data();
                for (const float fShift : {0.0F, 1.4F, -1.4F})
                {
                    scene.Reset();
                    param.fVtdPitch = fShift;
                    int nEndLine = 0;
                    EXPECT_GT(scene.engine.Inspect_FreeFormMask(nEndLine), 0);
                }
                scene.Reset();
                scene.polygon = {{0, 0}, {nWidth, 0}, {nWidth, nHeight}, {0, nHeight}};
                param.pFreeFormPoint = scene.polygon.data();
                param.nFreeFormPointCount = 4;
                int nEndLine = 0;
                EXPECT_GT(scene.engine.Inspect_FreeForm(nEndLine), 0);
            }
    }
}

TEST(FreeForm, WithoutARegionPairCountAndEndLineStay)
{
    CScene scene;
    scene.AddSpot(40, 100, 200);
    scene.engine.nPairCount = 3;
    int nEndLine = 77;
    EXPECT_EQ(scene.engine.Inspect_FreeForm(nEndLine), 3);
    EXPECT_EQ(nEndLine, 77);
    scene.polygon = {{500, 500}, {600, 500}, {600, 600}};
    scene.engine.ConvParam.pFreeFormPoint = scene.polygon.data();
    scene.engine.ConvParam.nFreeFormPointCount = 3;
    EXPECT_EQ(scene.engine.Inspect_FreeForm(nEndLine), 3);
    EXPECT_EQ(nEndLine, 77);
}

TEST(FreeForm, ThinPolygonInspectsNothingButEndsAtTheBottom)
{
    CScene scene;
    scene.AddSpot(40, 100, 200);
    scene.polygon = {{35, 0}, {50, 0}, {50, 200}, {35, 200}};
    scene.engine.ConvParam.pFreeFormPoint = scene.polygon.data();
    scene.engine.ConvParam.nFreeFormPointCount = 4;
    int nEndLine = 77;
    EXPECT_EQ(scene.engine.Inspect_FreeForm(nEndLine), 0);
    EXPECT_EQ(nEndLine, CScene::nHeight);
}

TEST(FreeForm, ZoneThresholdsReplaceThoseOfTheKernels)
{
    CScene scene;
    scene.AddSpot(40, 100, 200);
    scene.polygon = {{10, 0}, {100, 0}, {100, 200}, {10, 200}};
    scene.engine.ConvParam.pFreeFormPoint = scene.polygon.data();
    scene.engine.ConvParam.nFreeFormPointCount = 4;
    scene.UseZones(1, 1);
    std::fill(scene.offsets.begin(), scene.offsets.end(), short{32000});
    std::fill(scene.zones.begin(), scene.zones.end(), short{4});
    int nEndLine = 0;
    const int nCount = scene.engine.Inspect_FreeForm(nEndLine);
    ASSERT_GT(nCount, 0);
    for (int i = 0; i < nCount; ++i)
        EXPECT_EQ(scene.engine.pPair[i].nDefectType, 4);
}

} // namespace
