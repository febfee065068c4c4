// SPDX-License-Identifier: MIT
// From a polygon to strips of at least 16 columns.
#include "narvoassem/narvoassem.h"

#include <climits>
#include <cstdlib>
#include <random>
#include <vector>

#include "gmock/gmock.h"
#include "gtest/gtest.h"

#include "reference/region_reference.h"

namespace
{

using namespace narvo::test;
using testing::ElementsAre;
using testing::IsEmpty;

class CFrameProbe : public CNarvoAssem
{
public:
    using CNarvoAssem::ExtractRectInRgn;
    using CNarvoAssem::MakeFrameRegion;
};

struct CFrame
{
    int nResult;
    std::vector<CRect> rects;
};

CFrame MakeFrame(std::vector<CPoint> polygon, const CRect& rtFrame)
{
    CFrameProbe probe;
    int nCount = -1;
    CRect* pList = nullptr;
    const int nResult =
        probe.MakeFrameRegion(polygon.data(), static_cast<int>(polygon.size()), rtFrame, nCount, &pList);
    CFrame frame{nResult, {}};
    if (nResult == 1)
        frame.rects.assign(pList, pList + nCount);
    else
        EXPECT_EQ(pList, nullptr);
    std::free(pList);
    return frame;
}

std::vector<CPoint> MakeBox(int nLeft, int nTop, int nRight, int nBottom)
{
    return {{nLeft, nTop}, {nRight, nTop}, {nRight, nBottom}, {nLeft, nBottom}};
}

TEST(FrameRegion, PolygonEqualToTheFrameIsOneRectangle)
{
    const CFrame frame = MakeFrame(MakeBox(10, 20, 110, 60), CRect(10, 20, 110, 60));
    EXPECT_EQ(frame.nResult, 1);
    EXPECT_THAT(frame.rects, ElementsAre(CRect(10, 20, 110, 60)));
}

TEST(FrameRegion, NothingIsSaidOfAPolygonOutsideTheFrame)
{
    CFrameProbe probe;
    std::vector<CPoint> polygon = MakeBox(200, 200, 300, 300);
    int nCount = 77;
    CRect* pList = nullptr;
    EXPECT_EQ(probe.MakeFrameRegion(polygon.data(), 4, CRect(10, 20, 110, 60), nCount, &pList), 0);
    EXPECT_EQ(nCount, 77);
    EXPECT_EQ(pList, nullptr);
}

TEST(FrameRegion, PolygonIsClippedToTheFrame)
{
    const CFrame frame = MakeFrame(MakeBox(-50, -50, 500, 40), CRect(10, 20, 110, 60));
    EXPECT_THAT(frame.rects, ElementsAre(CRect(10, 20, 110, 40)));
}

TEST(FrameRegion, PolygonUnderSixteenColumnsGivesAnEmptyListAndStillSucceeds)
{
    const CFrame frame = MakeFrame(MakeBox(30, 20, 45, 60), CRect(0, 0, 200, 100));
    EXPECT_EQ(frame.nResult, 1);
    EXPECT_THAT(frame.rects, IsEmpty());
    EXPECT_THAT(MakeFrame(MakeBox(30, 20, 46, 60), CRect(0, 0, 200, 100)).rects, ElementsAre(CRect(30, 20, 46, 60)));
}

TEST(FrameRegion, ThinBandsAfterTheLastWideOneAreLost)
{
    // 40 whole columns, then a rim that slants away in bands of one column each.
    const CFrame frame = MakeFrame({{0, 0}, {40, 0}, {55, 60}, {40, 60}, {0, 60}}, CRect(0, 0, 100, 100));
    ASSERT_EQ(frame.nResult, 1);
    ASSERT_EQ(frame.rects.size(), 1U);
    EXPECT_EQ(frame.rects[0], CRect(0, 0, 41, 60)) << "column 40 alone still spans all rows";
}

TEST(FrameRegion, ThinBandsAreGatheredAndReducedToTheRowsTheyShare)
{
    // A stair of columns 5 wide, each 10 rows lower, then a wide band.
    const CFrame frame = MakeFrame({{0, 0},
                                    {5, 0},
                                    {5, 10},
                                    {10, 10},
                                    {10, 20},
                                    {15, 20},
                                    {15, 30},
                                    {20, 30},
                                    {20, 40},
                                    {60, 40},
                                    {60, 100},
                                    {0, 100}},
                                   CRect(0, 0, 100, 100));
    ASSERT_EQ(frame.nResult, 1);
    // Bands of 5, 5, 5 and 5 columns make a group of 20, which the wide band then joins: it is widened by it.
    EXPECT_THAT(frame.rects, ElementsAre(CRect(0, 30, 60, 100)));
}

TEST(FrameRegion, NothingInTheFrameGivesNoList)
{
    EXPECT_EQ(MakeFrame(MakeBox(200, 200, 300, 300), CRect(0, 0, 100, 100)).nResult, 0);
    EXPECT_EQ(MakeFrame({}, CRect(0, 0, 100, 100)).nResult, 0);
    EXPECT_EQ(MakeFrame({{5, 5}}, CRect(0, 0, 100, 100)).nResult, 0);
    EXPECT_EQ(MakeFrame(MakeBox(0, 0, 100, 100), CRect(100, 100, 0, 0)).nResult, 0);
    EXPECT_EQ(MakeFrame(MakeBox(0, 0, 100, 100), CRect()).nResult, 0);
    CFrameProbe probe;
    int nCount = 0;
    CRect* pList = nullptr;
    EXPECT_EQ(probe.MakeFrameRegion(nullptr, 4, CRect(0, 0, 9, 9), nCount, &pList), 0);
    CPoint pt;
    EXPECT_EQ(probe.MakeFrameRegion(&pt, -1, CRect(0, 0, 9, 9), nCount, &pList), 0);
    CRgn none;
    EXPECT_EQ(probe.ExtractRectInRgn(none, nCount, &pList), 0);
    CRgn empty;
    ASSERT_EQ(empty.CreateRectRgn(0, 0, 0, 0), 1);
    EXPECT_EQ(probe.ExtractRectInRgn(empty, nCount, &pList), 0);
    EXPECT_EQ(pList, nullptr);
}

TEST(FrameRegion, RandomPolygonsGiveTheStripsOfThePlainForm)
{
    std::mt19937 random(37);
    std::size_t nStrips = 0;
    std::size_t nReversed = 0;
    for (int nCase = 0; nCase < 4000; ++nCase)
    {
        std::uniform_int_distribution<int> coordinate(-40, nCase % 2 == 0 ? 160 : 600);
        std::vector<CPoint> polygon(3 + random() % 30);
        for (CPoint& pt : polygon)
            pt = CPoint(coordinate(random), coordinate(random));
        if (nCase % 5 == 0) // vertical and horizontal edges only: wide bands and gaps
            for (std::size_t i = 1; i < polygon.size(); ++i)
                (i % 2 == 0 ? polygon[i].x : polygon[i].y) = i % 2 == 0 ? polygon[i - 1].x : polygon[i - 1].y;
        const CRect rtFrame(0, 10, 150 + static_cast<int>(random() % 400), 300);
        const CFrame frame = MakeFrame(polygon, rtFrame);

        std::vector<CPoint> transposed;
        for (const CPoint& pt : polygon)
            transposed.emplace_back(pt.y, pt.x);
        CRgn polygonRgn;
        ASSERT_EQ(polygonRgn.CreatePolygonRgn(transposed.data(), static_cast<int>(transposed.size()), ALTERNATE), 1);
        CRgn frameRgn;
        ASSERT_EQ(frameRgn.CreateRectRgn(rtFrame.top, rtFrame.left, rtFrame.bottom, rtFrame.right), 1);
        ASSERT_NE(frameRgn.CombineRgn(&frameRgn, &polygonRgn, RGN_AND), RGN_ERROR);
        const std::vector<CRect> bands = ReadRegion(frameRgn);
        ASSERT_EQ(frame.nResult, bands.empty() ? 0 : 1);
        if (bands.empty())
            continue;
        const std::vector<CRect> expected = JoinBandsReference(bands);
        ASSERT_EQ(frame.rects, expected) << "case " << nCase;
        nStrips += expected.size();
        for (const CRect& rt : expected)
            nReversed += rt.IsRectEmpty() ? 1 : 0;
    }
    EXPECT_GT(nStrips, 4000U);
    EXPECT_GT(nReversed, 50U) << "groups whose bands share no rows";
}

TEST(FrameRegion, HugeAndDegeneratePolygonsEndInTime)
{
    std::mt19937 random(41);
    for (int nCase = 0; nCase < 300; ++nCase)
    {
        std::vector<CPoint> polygon(1 + random() % 400);
        for (CPoint& pt : polygon)
            pt = nCase % 3 == 0 ? CPoint(static_cast<int>(random()), static_cast<int>(random()))
                                : CPoint(random() % 2 == 0 ? INT_MIN : INT_MAX, static_cast<int>(random() % 500));
        const CFrame frame = MakeFrame(polygon, CRect(0, 0, 500, 500));
        for (const CRect& rt : frame.rects)
        {
            EXPECT_GE(rt.left, 0);
            EXPECT_LE(rt.right, 500);
        }
    }
}

} // namespace
