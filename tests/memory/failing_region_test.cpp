// SPDX-License-Identifier: MIT
// Region objects and the free-form inspection with every allocation failing in turn, pixman's own included; and the
// parts of the library that do not allocate.
#include <cstdlib>
#include <vector>

#include <pixman.h>

#include "gtest/gtest.h"

#include "memory/failing_heap.h"
#include "narvoassem/base/memory_shortage.h"
#include "narvoassem/narvoassem.h"
#include "support/random.h"

namespace
{

using namespace narvo::test;

/// A comb with many teeth: its region has many bands, more than any fixed array within pixman holds.
std::vector<CPoint> MakeComb()
{
    std::vector<CPoint> comb{{0, 0}};
    for (int i = 0; i < 60; ++i)
    {
        comb.emplace_back(20 + i % 7 * 20, i * 6);
        comb.emplace_back(200 + i % 5 * 30, i * 6 + 3);
    }
    comb.emplace_back(0, 360);
    return comb;
}

struct SRegionAnswer
{
    int nCombined = RGN_ERROR;
    std::vector<unsigned char> data;
};

TEST(FailingRegion, PixmanUsesTheFailingHeap)
{
    // malloc, realloc and free at least.
    EXPECT_GE(CountRedirectedInPixman(), 3);
    std::vector<pixman_box32_t> boxes;
    for (int i = 0; i < 100; ++i)
        boxes.push_back({0, 2 * i, 10, 2 * i + 1});
    pixman_region32_t region;
    const long nBefore = CountLiveBlocks();
    CFailingHeap heap(SFailures::From(0));
    const int nMade = pixman_region32_init_rects(&region, boxes.data(), 100);
    EXPECT_GT(heap.Stop(), 0);
    EXPECT_EQ(nMade, 0);
    ASSERT_NE(pixman_region32_init_rects(&region, boxes.data(), 100), 0);
    EXPECT_GT(CountLiveBlocks(), nBefore);
    pixman_region32_fini(&region);
    EXPECT_EQ(CountLiveBlocks(), nBefore);
}

TEST(FailingRegion, CombiningReturnsAnErrorOrTheWholeRegion)
{
    const std::vector<CPoint> comb = MakeComb();
    SRegionAnswer expected;
    const auto combine = [&](const SFailures& failures)
    {
        SRegionAnswer answer;
        answer.data.resize(std::size_t{1} << 16);
        CRgn rect;
        CRgn polygon;
        CRgn result;
        CFailingHeap heap(failures);
        const bool bCreated = rect.CreateRectRgn(10, 10, 300, 350) != 0 &&
                              polygon.CreatePolygonRgn(comb.data(), static_cast<int>(comb.size()), ALTERNATE) != 0 &&
                              result.CreateRectRgn(0, 0, 0, 0) != 0;
        int nBytes = 0;
        if (bCreated)
        {
            answer.nCombined = result.CombineRgn(&rect, &polygon, RGN_AND);
            nBytes = result.GetRegionData(reinterpret_cast<RGNDATA*>(answer.data.data()),
                                          static_cast<int>(answer.data.size()));
        }
        const long nAsked = heap.Stop();
        answer.data.resize(static_cast<std::size_t>(nBytes));
        if (failures.nEnd == 0)
            expected = answer;
        if (bCreated && answer.nCombined != RGN_ERROR)
        {
            EXPECT_EQ(answer.nCombined, expected.nCombined) << "failure " << failures.nFirst;
            EXPECT_EQ(answer.data, expected.data) << "failure " << failures.nFirst;
        }
        if (bCreated)
        {
            EXPECT_EQ(result.CombineRgn(&rect, &polygon, RGN_AND), expected.nCombined);
        }
        return nAsked;
    };
    combine(SFailures::None());
    EXPECT_GT(FailEachInTurn(combine), 6);
    EXPECT_EQ(expected.nCombined, COMPLEXREGION);
    EXPECT_GT(expected.data.size(), 1000U);
}

TEST(FailingRegion, PolygonReadAsDataIsCompleteOrRefused)
{
    const std::vector<CPoint> comb = MakeComb();
    int nExpected = 0;
    FailEachInTurn(
        [&](const SFailures& failures)
        {
            CRgn polygon;
            CFailingHeap heap(failures);
            const int nCreated = polygon.CreatePolygonRgn(comb.data(), static_cast<int>(comb.size()), ALTERNATE);
            const int nBytes = polygon.GetRegionData(nullptr, 0);
            const long nAsked = heap.Stop();
            if (failures.nEnd == 0)
                nExpected = nBytes;
            EXPECT_TRUE(nBytes == nExpected || nBytes == 0);
            if (nCreated != 0)
            {
                EXPECT_EQ(polygon.GetRegionData(nullptr, 0), nExpected);
                EXPECT_EQ(polygon.DeleteObject(), 1);
            }
            else
            {
                EXPECT_EQ(polygon.GetSafeHandle(), nullptr);
            }
            return nAsked;
        });
    EXPECT_GT(nExpected, 1000);
}

class CFreeFormEngine : public CNarvoAssem
{
public:
    using CNarvoAssem::Inspect_FreeForm;
};

TEST(FailingRegion, FreeFormInspectionNotesWhatItLeftOut)
{
    constexpr int nSide = 360;
    std::vector<unsigned char> image(static_cast<std::size_t>(nSide) * nSide);
    CRandom random(8);
    for (unsigned char& nPixel : image)
        nPixel = static_cast<unsigned char>(random.OneIn(40) ? 190 : 100);
    std::vector<CPoint> comb = MakeComb();
    int nExpected = 0;
    const auto inspect = [&](const SFailures& failures)
    {
        CFreeFormEngine engine;
        engine.InitPixelStorage(5000);
        engine.InitPairStorage(5000);
        CConvParam& param = engine.ConvParam;
        param.pImage = image.data();
        param.nImageWidth = param.nImageHeight = nSide;
        param.rtInspect.SetRect(0, 0, nSide, nSide);
        param.nDirection = 1;
        param.dScanPitch = param.dConvPitch = 20.0;
        param.nScanMultiple = param.nConvMultiple = 1;
        param.nConvWidth = param.nConvHeight = 2;
        param.nThreshold = 40;
        param.pFreeFormPoint = comb.data();
        param.nFreeFormPointCount = static_cast<int>(comb.size());
        int nEndLine = 0;
        const auto run = [&]
        {
            engine.InspectPAD_Clear();
            narvo::engine::ClearMemoryShortage();
            return engine.Inspect_FreeForm(nEndLine);
        };
        CFailingHeap heap(failures);
        const int nPairs = run();
        const long nAsked = heap.Stop();
        if (failures.nEnd == 0)
            nExpected = nPairs;
        EXPECT_TRUE(nPairs == nExpected || narvo::engine::HadMemoryShortage()) << "failure " << failures.nFirst;
        EXPECT_EQ(run(), nExpected) << "the call after failure " << failures.nFirst;
        EXPECT_FALSE(narvo::engine::HadMemoryShortage());
        return nAsked;
    };
    EXPECT_GT(FailEachInTurn(inspect), 15);
    EXPECT_GT(nExpected, 20);
}

TEST(FailingRegion, PitchSearchGeometryAndPlainWindowComparisonNeedNoMemory)
{
    constexpr int nSide = 128;
    std::vector<unsigned char> image(static_cast<std::size_t>(nSide) * nSide);
    for (std::size_t i = 0; i < image.size(); ++i)
        image[i] = static_cast<unsigned char>(60 + i % nSide % 16 * 5 + i / nSide % 16 * 3);
    std::vector<CDefectPair> pairs(10000);
    alignas(16) short nBuffer[2][16 * (nSide + 2)];
    CConvParam param;
    param.pImage = image.data();
    param.nImageWidth = param.nImageHeight = nSide;
    param.rtInspect.SetRect(0, 0, nSide, 100);
    param.nConvWidth = param.nConvHeight = 2;
    param.dScanPitch = 12.5;
    param.nScanMultiple = 1;

    int nBest = 0;
    int nBestWhole = 0;
    int nBestFraction = 0;
    int nBestRow = 0;
    CFailingHeap heap(SFailures::From(0));
    CAssemUtil::CheckPitchSmall16(256, 20, 0, 0, 64, 64, image.data(), nSide, 1, nBest, nBestWhole, nBestFraction);
    const int nRowPitch = nBest;
    CAssemUtil::CheckPitchSmallVert16(256, 20, 0, 0, 64, 64, image.data(), nSide, 1, nBest, nBestWhole, nBestFraction);
    const int nColumnPitch = nBest;
    CAssemUtil::CheckPitchPixel(240, 270, 0, 0, 64, 64, image.data(), nSide, 1, nBestWhole);
    CAssemUtil::CheckPitchSmallVPT16(250, 260, -2, 2, 0, 64, 0, 64, image.data(), nSide, 0, nBuffer[0], nBuffer[1],
                                     nBest, nBestRow);
    CPadPoligon poligon;
    poligon.AddPoint(10, 0);
    poligon.AddPoint(90, 20);
    poligon.AddPoint(80, 90);
    poligon.AddPoint(0, 60);
    poligon.CalOutRect();
    poligon.Find_Corner();
    CPadPoligon inner;
    poligon.Cut_Margin(5, 5, inner);
    CTrapeziumStorage trapezia;
    poligon.Cut_TrapeziumHori(&trapezia);
    CASGInspection asg;
    asg.SetParingBuf(pairs.data(), 0);
    asg.VConvolutionConvC(&param);
    const CConvParam copy(param);
    const long nAsked = heap.Stop();

    EXPECT_EQ(nAsked, 0);
    EXPECT_EQ(nRowPitch, 256);
    EXPECT_EQ(nColumnPitch, 256);
    EXPECT_EQ(nBest, 256);
    EXPECT_GT(trapezia.GetTrapeziumCount(), 0);
    EXPECT_GT(asg.GetParingCnt(), 0);
    EXPECT_EQ(copy.pImage, image.data());
}

} // namespace
