// SPDX-License-Identifier: MIT
// Polygon regions: the even-odd rule against a test of single pixels, the form of the data, and arbitrary input.
#include "narvoassem/platform.h"

#include <algorithm>
#include <climits>
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

std::vector<CRect> Fill(const std::vector<CPoint>& polygon)
{
    CRgn rgn;
    EXPECT_EQ(rgn.CreatePolygonRgn(polygon.data(), static_cast<int>(polygon.size()), ALTERNATE), 1);
    return ReadRegion(rgn);
}

/// Sorted by top, then left; bands share top and bottom; nothing touches within a band; equal neighbours are one band.
void ExpectBanded(const std::vector<CRect>& rects)
{
    using Spans = std::vector<std::pair<int, int>>;
    Spans before;
    Spans band;
    int nBeforeBottom = INT_MIN;
    for (std::size_t i = 0; i < rects.size(); ++i)
    {
        const CRect& rt = rects[i];
        ASSERT_FALSE(rt.IsRectEmpty());
        if (i == 0 || rects[i - 1].top != rt.top)
        {
            before = band;
            band.clear();
            if (i > 0)
            {
                ASSERT_GE(rt.top, rects[i - 1].bottom);
                nBeforeBottom = rects[i - 1].bottom;
            }
        }
        else
        {
            ASSERT_EQ(rt.bottom, rects[i - 1].bottom);
            ASSERT_GT(rt.left, rects[i - 1].right);
        }
        band.emplace_back(rt.left, rt.right);
        if (i + 1 == rects.size() || rects[i + 1].top != rt.top)
        {
            ASSERT_FALSE(nBeforeBottom == rt.top && before == band) << "two bands of one span";
        }
    }
}

bool IsCovered(const std::vector<CRect>& rects, int x, int y)
{
    return std::any_of(rects.begin(), rects.end(), [=](const CRect& rt) { return rt.PtInRect(CPoint(x, y)); });
}

TEST(PolygonRegion, RectangleExcludesItsRightAndBottomEdges)
{
    EXPECT_THAT(Fill({{2, 3}, {10, 3}, {10, 7}, {2, 7}}), ElementsAre(CRect(2, 3, 10, 7)));
    EXPECT_THAT(Fill({{2, 7}, {10, 7}, {10, 3}, {2, 3}}), ElementsAre(CRect(2, 3, 10, 7))) << "in both orientations";
}

TEST(PolygonRegion, PixelsBeginAtTheCrossingRoundedUp)
{
    // Left edge from (0,0) to (3,2): row 0 crosses at 0, row 1 at 1.5.
    EXPECT_THAT(Fill({{0, 0}, {8, 0}, {8, 2}, {3, 2}}), ElementsAre(CRect(0, 0, 8, 1), CRect(2, 1, 8, 2)));
    // Right edge from (0,0) to (3,2), the interior left of it.
    EXPECT_THAT(Fill({{0, 0}, {3, 2}, {-4, 2}, {-4, 0}}), ElementsAre(CRect(-4, 0, 0, 1), CRect(-4, 1, 2, 2)));
}

TEST(PolygonRegion, OverlapOfASelfCrossingPolygonIsOutside)
{
    // A square run round twice cancels out.
    EXPECT_THAT(Fill({{0, 0}, {9, 0}, {9, 9}, {0, 9}, {0, 0}, {9, 0}, {9, 9}, {0, 9}}), IsEmpty());
    // A square inside a square, joined by a bridge walked both ways, is a hole.
    EXPECT_THAT(Fill({{0, 0}, {9, 0}, {9, 9}, {0, 9}, {0, 0}, {3, 3}, {6, 3}, {6, 6}, {3, 6}, {3, 3}}),
                ElementsAre(CRect(0, 0, 9, 3), CRect(0, 3, 3, 6), CRect(6, 3, 9, 6), CRect(0, 6, 9, 9)));
}

TEST(PolygonRegion, DegeneratePolygonsAreEmpty)
{
    EXPECT_THAT(Fill({{0, 0}, {9, 9}}), IsEmpty());
    EXPECT_THAT(Fill({{0, 5}, {9, 5}, {20, 5}}), IsEmpty());
    EXPECT_THAT(Fill({{5, 0}, {5, 9}, {5, 4}}), IsEmpty());
    EXPECT_THAT(Fill({{5, 5}, {5, 5}, {5, 5}, {5, 5}}), IsEmpty());
}

TEST(PolygonRegion, CreationNeedsPointsAndTheEvenOddRule)
{
    const CPoint points[] = {{0, 0}, {9, 0}, {9, 9}};
    CRgn rgn;
    EXPECT_EQ(rgn.CreatePolygonRgn(nullptr, 3, ALTERNATE), 0);
    EXPECT_EQ(rgn.CreatePolygonRgn(points, 1, ALTERNATE), 0);
    EXPECT_EQ(rgn.CreatePolygonRgn(points, -4, ALTERNATE), 0);
    EXPECT_EQ(rgn.CreatePolygonRgn(points, 3, 2), 0);
    EXPECT_EQ(rgn.GetSafeHandle(), nullptr);
    EXPECT_EQ(rgn.CreatePolygonRgn(points, 3, ALTERNATE), 1);
    EXPECT_EQ(rgn.CreatePolygonRgn(points, 3, ALTERNATE), 0) << "it holds a region already";
}

TEST(PolygonRegion, RandomPolygonsHoldExactlyTheirPixels)
{
    std::mt19937 random(17);
    for (int nCase = 0; nCase < 2000; ++nCase)
    {
        const int nExtent = nCase % 3 == 0 ? 6 : nCase % 3 == 1 ? 25 : 60;
        std::uniform_int_distribution<int> coordinate(0, nExtent);
        std::vector<CPoint> polygon(2 + random() % 12);
        for (CPoint& pt : polygon)
            pt = CPoint(coordinate(random), coordinate(random));
        const std::vector<CRect> rects = Fill(polygon);
        ExpectBanded(rects);
        std::vector<char> raster(static_cast<std::size_t>((nExtent + 1) * (nExtent + 1)));
        for (const CRect& rt : rects)
            for (int y = rt.top; y < rt.bottom; ++y)
                for (int x = rt.left; x < rt.right; ++x)
                    ++raster.at(static_cast<std::size_t>(y * (nExtent + 1) + x));
        for (int y = 0; y <= nExtent; ++y)
            for (int x = 0; x <= nExtent; ++x)
                ASSERT_EQ(raster[static_cast<std::size_t>(y * (nExtent + 1) + x)], IsInPolygon(polygon, x, y) ? 1 : 0)
                    << "case " << nCase << ", pixel " << x << ", " << y;
    }
}

TEST(PolygonRegion, HugePolygonsAreCutExactlyToTheOtherRegion)
{
    std::mt19937 random(19);
    for (int nCase = 0; nCase < 300; ++nCase)
    {
        std::vector<CPoint> polygon(3 + random() % 10);
        for (CPoint& pt : polygon)
            pt = CPoint(random() % 6 == 0 ? INT_MIN : static_cast<int>(random()),
                        random() % 6 == 0 ? INT_MAX : static_cast<int>(random()));
        CRgn rgn;
        ASSERT_EQ(rgn.CreatePolygonRgn(polygon.data(), static_cast<int>(polygon.size()), ALTERNATE), 1);
        const int nLeft = static_cast<int>(random()) / 2;
        const int nTop = static_cast<int>(random()) / 2;
        CRgn frame;
        ASSERT_EQ(frame.CreateRectRgn(nLeft, nTop, nLeft + 40, nTop + 40), 1);
        CRgn both;
        ASSERT_EQ(both.CreateRectRgn(0, 0, 0, 0), 1);
        const int nResult =
            nCase % 2 == 0 ? both.CombineRgn(&rgn, &frame, RGN_AND) : both.CombineRgn(&frame, &rgn, RGN_AND);
        ASSERT_NE(nResult, RGN_ERROR);
        const std::vector<CRect> rects = ReadRegion(both);
        ExpectBanded(rects);
        for (int y = nTop; y < nTop + 40; ++y)
            for (int x = nLeft; x < nLeft + 40; ++x)
                ASSERT_EQ(IsCovered(rects, x, y), IsInPolygon(polygon, x, y)) << nCase;
    }
}

TEST(PolygonRegion, TwoPolygonsIntersect)
{
    std::mt19937 random(23);
    for (int nCase = 0; nCase < 500; ++nCase)
    {
        std::uniform_int_distribution<int> coordinate(-20, 40);
        std::vector<CPoint> polygons[2];
        CRgn rgn[2];
        for (int i = 0; i < 2; ++i)
        {
            polygons[i].resize(3 + random() % 6);
            for (CPoint& pt : polygons[i])
                pt = CPoint(coordinate(random), coordinate(random));
            ASSERT_EQ(rgn[i].CreatePolygonRgn(polygons[i].data(), static_cast<int>(polygons[i].size()), ALTERNATE), 1);
        }
        // The target may be one of the operands.
        ASSERT_NE(rgn[0].CombineRgn(&rgn[0], &rgn[1], RGN_AND), RGN_ERROR);
        const std::vector<CRect> rects = ReadRegion(rgn[0]);
        for (int y = -20; y <= 40; ++y)
            for (int x = -20; x <= 40; ++x)
                ASSERT_EQ(IsCovered(rects, x, y), IsInPolygon(polygons[0], x, y) && IsInPolygon(polygons[1], x, y));
    }
}

TEST(PolygonRegion, HugePolygonWithVerticalEdgesIsConvertedCompletely)
{
    EXPECT_THAT(Fill({{INT_MIN, INT_MIN}, {INT_MAX, INT_MIN}, {INT_MAX, INT_MAX}, {INT_MIN, INT_MAX}}),
                ElementsAre(CRect(INT_MIN, INT_MIN, INT_MAX, INT_MAX)));
}

TEST(PolygonRegion, PolygonOfTooManyRowsCannotBeConvertedCompletely)
{
    const CPoint points[] = {{0, INT_MIN}, {INT_MAX, INT_MAX}, {0, INT_MAX}};
    CRgn rgn;
    ASSERT_EQ(rgn.CreatePolygonRgn(points, 3, ALTERNATE), 1);
    EXPECT_EQ(rgn.GetRegionData(nullptr, 0), 0);
    CRgn frame;
    ASSERT_EQ(frame.CreateRectRgn(5, 0, 50, 10), 1);
    EXPECT_EQ(frame.CombineRgn(&rgn, &frame, RGN_AND), SIMPLEREGION) << "the part in reach is still there";
}

TEST(PolygonRegion, PolygonsOfManyVerticesAreConvertedInTime)
{
    std::mt19937 random(29);
    std::vector<CPoint> polygon(20000);
    for (CPoint& pt : polygon)
        pt = CPoint(static_cast<int>(random() % 4096), static_cast<int>(random() % 200));
    const std::vector<CRect> rects = Fill(polygon);
    EXPECT_GT(rects.size(), 200U);
    ExpectBanded(rects);
}

} // namespace
