// SPDX-License-Identifier: MIT
// The cuts of a polygon: worked cases to the digit, properties over random convex polygons, and arbitrary input.
#include "narvoassem/padpoligon.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

#include "geometry/make_poligon.h"
#include "support/convex_polygon.h"
#include "gmock/gmock.h"
#include "gtest/gtest.h"

namespace
{

using narvo::test::CSpan;
using narvo::test::FindSpan;
using narvo::test::MakeHull;
using narvo::test::MakePoligon;
using testing::ElementsAre;

/// Corners of a trapezium: x, y of top left, top right, bottom right, bottom left.
std::vector<int> GetCorners(CTrapeziumStorage& storage, int nIndex)
{
    std::vector<int> corners;
    for (const CPadPoint& pt : storage.GetTrapezium(nIndex)->ptCorner)
    {
        corners.push_back(pt.x);
        corners.push_back(pt.y);
    }
    return corners;
}

TEST(TrapeziumCut, BuiltInPolygonGivesItsCornersAndFiveTrapezia)
{
    CPadPoligon poligon;
    poligon.Test();
    poligon.Find_Corner();
    EXPECT_THAT(poligon.nCorner, ElementsAre(0, 1, 1, 4, 6));
    CTrapeziumStorage storage;
    ASSERT_EQ(poligon.Cut_TrapeziumHori(&storage), 1);
    ASSERT_EQ(storage.GetTrapeziumCount(), 5);
    EXPECT_THAT(GetCorners(storage, 0), ElementsAre(400, 30, 400, 30, 600, 100, 225, 100));
    EXPECT_THAT(GetCorners(storage, 1), ElementsAre(225, 100, 600, 100, 700, 150, 100, 150));
    EXPECT_THAT(GetCorners(storage, 2), ElementsAre(100, 150, 700, 150, 800, 200, 100, 200));
    EXPECT_THAT(GetCorners(storage, 3), ElementsAre(100, 200, 800, 200, 575, 350, 200, 350));
    EXPECT_THAT(GetCorners(storage, 4), ElementsAre(200, 350, 575, 350, 500, 400, 300, 400));
}

TEST(TrapeziumCut, SquareIsItsOwnTrapezium)
{
    CPadPoligon poligon = MakePoligon({{0, 0}, {10, 0}, {10, 10}, {0, 10}});
    poligon.Find_Corner();
    EXPECT_THAT(poligon.nCorner, ElementsAre(0, 0, 1, 2, 3));
    CTrapeziumStorage storage;
    ASSERT_EQ(poligon.Cut_TrapeziumHori(&storage), 1);
    ASSERT_EQ(storage.GetTrapeziumCount(), 1);
    EXPECT_THAT(GetCorners(storage, 0), ElementsAre(0, 0, 10, 0, 10, 10, 0, 10));
}

TEST(TrapeziumCut, TriangleWithOneTopVertexHasCoincidingTopCorners)
{
    CPadPoligon poligon = MakePoligon({{5, 0}, {10, 10}, {0, 10}});
    poligon.Find_Corner();
    CTrapeziumStorage storage;
    ASSERT_EQ(poligon.Cut_TrapeziumHori(&storage), 1);
    ASSERT_EQ(storage.GetTrapeziumCount(), 1);
    EXPECT_THAT(GetCorners(storage, 0), ElementsAre(5, 0, 5, 0, 10, 10, 0, 10));
}

TEST(TrapeziumCut, RhombusGivesTwoTrapeziaThatMeetOnItsMiddleRow)
{
    CPadPoligon poligon = MakePoligon({{5, 0}, {10, 10}, {5, 20}, {0, 10}});
    poligon.Find_Corner();
    CTrapeziumStorage storage;
    ASSERT_EQ(poligon.Cut_TrapeziumHori(&storage), 1);
    ASSERT_EQ(storage.GetTrapeziumCount(), 2);
    EXPECT_THAT(GetCorners(storage, 0), ElementsAre(5, 0, 5, 0, 10, 10, 0, 10));
    EXPECT_THAT(GetCorners(storage, 1), ElementsAre(0, 10, 10, 10, 5, 20, 5, 20));
}

TEST(TrapeziumCut, FewerThanThreeVerticesAreRefusedWithAnEmptyStorage)
{
    CPadPoligon poligon = MakePoligon({{5, 0}, {10, 10}});
    CTrapeziumStorage storage;
    storage.nCount = 4;
    EXPECT_EQ(poligon.Cut_TrapeziumHori(&storage), 0);
    EXPECT_EQ(storage.GetTrapeziumCount(), 0);
}

TEST(TrapeziumCut, TriangleWithTwoEqualVerticesIsRefused)
{
    const CPadPoint a(5, 0);
    const CPadPoint b(9, 9);
    for (const auto& poligonOf :
         {MakePoligon({a, a, b}), MakePoligon({a, b, a}), MakePoligon({b, a, a}), MakePoligon({a, a, a})})
    {
        CPadPoligon poligon = poligonOf;
        poligon.Find_Corner();
        CTrapeziumStorage storage;
        storage.nCount = 4;
        EXPECT_EQ(poligon.Cut_TrapeziumHori(&storage), 0);
        EXPECT_EQ(storage.GetTrapeziumCount(), 0);
    }
}

TEST(TrapeziumCut, QuadrilateralWithTwoEqualVerticesIsCut)
{
    CPadPoligon poligon = MakePoligon({{5, 0}, {10, 10}, {10, 10}, {0, 10}});
    poligon.Find_Corner();
    CTrapeziumStorage storage;
    EXPECT_EQ(poligon.Cut_TrapeziumHori(&storage), 1);
    ASSERT_EQ(storage.GetTrapeziumCount(), 1);
    EXPECT_THAT(GetCorners(storage, 0), ElementsAre(5, 0, 5, 0, 10, 10, 0, 10));
}

TEST(TrapeziumCut, PolygonOnOneRowEndsWithARefusal)
{
    CPadPoligon poligon = MakePoligon({{0, 7}, {10, 7}, {20, 7}});
    poligon.Find_Corner();
    CTrapeziumStorage storage;
    EXPECT_EQ(poligon.Cut_TrapeziumHori(&storage), 0);
    EXPECT_EQ(storage.GetTrapeziumCount(), 0);
}

TEST(TrapeziumCut, CrossingsContinueFromTheCrossingBefore)
{
    // The right edge (0,0)-(10,7) is cut at rows 2 and 4: from (0,0) it meets row 2 at 20/7 = 2, and from (2,2) row 4
    // at 2 + 2*8/5 = 5. The left side's vertices lie on rows 2, 4 and 7.
    CPadPoligon poligon = MakePoligon({{0, 0}, {10, 7}, {-2, 7}, {-6, 4}, {-4, 2}});
    poligon.Find_Corner();
    CTrapeziumStorage storage;
    ASSERT_EQ(poligon.Cut_TrapeziumHori(&storage), 1);
    ASSERT_EQ(storage.GetTrapeziumCount(), 3);
    EXPECT_THAT(GetCorners(storage, 0), ElementsAre(0, 0, 0, 0, 2, 2, -4, 2));
    EXPECT_THAT(GetCorners(storage, 1), ElementsAre(-4, 2, 2, 2, 5, 4, -6, 4));
    EXPECT_THAT(GetCorners(storage, 2), ElementsAre(-6, 4, 5, 4, 10, 7, -2, 7));
}

TEST(TrapeziumCut, VerticalCutOnlyEmptiesTheStorage)
{
    CPadPoligon poligon = MakePoligon({{5, 0}, {10, 10}, {0, 10}});
    poligon.Find_Corner();
    CTrapeziumStorage storage;
    storage.nCount = 3;
    EXPECT_EQ(poligon.Cut_TrapeziumVert(&storage), 1);
    EXPECT_EQ(storage.GetTrapeziumCount(), 0);
    poligon.nPointCount = 2;
    storage.nCount = 3;
    EXPECT_EQ(poligon.Cut_TrapeziumVert(&storage), 0);
    EXPECT_EQ(storage.GetTrapeziumCount(), 0);
}

// --- margin ---

std::vector<int> GetFlatVertices(const CPadPoligon& poligon)
{
    std::vector<int> vertices;
    for (int i = 0; i < poligon.nPointCount; ++i)
    {
        vertices.push_back(poligon.ptPoint[i].x);
        vertices.push_back(poligon.ptPoint[i].y);
    }
    return vertices;
}

TEST(MarginCut, BandThatContainsThePolygonCopiesOnlyItsVertices)
{
    CPadPoligon poligon;
    poligon.Test();
    poligon.Find_Corner();
    CPadPoligon out;
    out.nCorner[1] = 9;
    poligon.Cut_Margin(100, 800, out);
    EXPECT_EQ(GetFlatVertices(out), GetFlatVertices(poligon));
    EXPECT_EQ(out.nCorner[1], 9);
    EXPECT_EQ(out.rtOut, CRect());
}

TEST(MarginCut, BandBesideThePolygonGivesAnEmptyResult)
{
    CPadPoligon poligon;
    poligon.Test();
    CPadPoligon out;
    out.AddPoint(1, 1);
    poligon.Cut_Margin(801, 900, out);
    EXPECT_EQ(out.GetPointCount(), 0);
    out.AddPoint(1, 1);
    poligon.Cut_Margin(0, 99, out);
    EXPECT_EQ(out.GetPointCount(), 0);
}

TEST(MarginCut, EdgeAcrossTheBandGivesBothCrossingsInItsDirection)
{
    const CPadPoligon poligon = MakePoligon({{0, 0}, {100, 50}, {50, 100}});
    CPadPoligon out;
    poligon.Cut_Margin(20, 40, out);
    // (0,0)-(100,50) at 20 and 40; (50,100)-(0,0), back across the band, at 40 then 20.
    EXPECT_THAT(GetFlatVertices(out), ElementsAre(20, 10, 40, 20, 40, 80, 20, 40));
}

TEST(MarginCut, EdgeThatEndsOnTheLineGetsNoCrossingFromOutside)
{
    const CPadPoligon poligon = MakePoligon({{0, 0}, {20, 10}, {0, 20}});
    CPadPoligon out;
    poligon.Cut_Margin(20, 40, out);
    // The vertex itself, and the crossing of the edge that leaves the band there; none from the edge that arrives.
    EXPECT_THAT(GetFlatVertices(out), ElementsAre(20, 10, 20, 10));
}

TEST(MarginCut, CutIntoThePolygonItselfWorksOnACopy)
{
    CPadPoligon poligon;
    poligon.Test();
    CPadPoligon out;
    poligon.Cut_Margin(150, 650, out);
    poligon.Cut_Margin(150, 650, poligon);
    EXPECT_EQ(GetFlatVertices(poligon), GetFlatVertices(out));
}

// --- random convex polygons ---

TEST(TrapeziumCut, TrapeziaOfConvexPolygonsTileThemFromTopToBottom)
{
    std::mt19937 random(7);
    int nCut = 0;
    for (int nCase = 0; nCase < 20000; ++nCase)
    {
        const int nExtent = nCase % 3 == 0 ? 8 : nCase % 3 == 1 ? 300 : 12000;
        std::uniform_int_distribution<int> coordinate(-nExtent, nExtent);
        std::vector<CPadPoint> points(3 + random() % 10);
        for (CPadPoint& pt : points)
            pt.SetPoint(coordinate(random), coordinate(random));
        std::vector<CPadPoint> hull = MakeHull(points);
        if (hull.empty() || hull.size() > CPadPoligon::nPointLimit)
            continue;
        std::rotate(hull.begin(), hull.begin() + static_cast<long>(random() % hull.size()), hull.end());
        if (random() % 2 != 0)
            std::reverse(hull.begin(), hull.end());
        CPadPoligon poligon;
        for (const CPadPoint& pt : hull)
            poligon.AddPoint(pt);
        poligon.Find_Corner();
        CTrapeziumStorage storage;
        ASSERT_EQ(poligon.Cut_TrapeziumHori(&storage), 1);
        const int nCount = storage.GetTrapeziumCount();
        ASSERT_GE(nCount, 1);
        ASSERT_LE(nCount, static_cast<int>(hull.size()) - 1);
        ++nCut;
        EXPECT_EQ(storage.GetTrapezium(0)->GetTop(), poligon.rtOut.top);
        EXPECT_EQ(storage.GetTrapezium(nCount - 1)->GetBottom(), poligon.rtOut.bottom);
        for (int i = 0; i < nCount; ++i)
        {
            const CPadPoint* pCorner = storage.GetTrapezium(i)->ptCorner;
            ASSERT_EQ(pCorner[0].y, pCorner[1].y);
            ASSERT_EQ(pCorner[2].y, pCorner[3].y);
            ASSERT_LT(pCorner[0].y, pCorner[3].y);
            if (i > 0)
            {
                const CPadPoint* pAbove = storage.GetTrapezium(i - 1)->ptCorner;
                ASSERT_EQ(pAbove[3].x, pCorner[0].x);
                ASSERT_EQ(pAbove[3].y, pCorner[0].y);
                ASSERT_EQ(pAbove[2].x, pCorner[1].x);
            }
            // One truncation per cut, and errors only shrink toward the next vertex.
            const CSpan span = FindSpan(hull, pCorner[3].y);
            ASSERT_LT(std::abs(pCorner[3].x - span.dLeft), i + 1.0);
            ASSERT_LT(std::abs(pCorner[2].x - span.dRight), i + 1.0);
        }
    }
    EXPECT_GT(nCut, 5000);
}

TEST(MarginCut, ClipOfAConvexPolygonStaysInTheBandAndKeepsItsArea)
{
    std::mt19937 random(11);
    int nClipped = 0;
    for (int nCase = 0; nCase < 20000; ++nCase)
    {
        std::uniform_int_distribution<int> coordinate(-500, 500);
        std::vector<CPadPoint> points(3 + random() % 8);
        for (CPadPoint& pt : points)
            pt.SetPoint(coordinate(random), coordinate(random));
        const std::vector<CPadPoint> hull = MakeHull(points);
        if (hull.empty() || hull.size() > 8)
            continue;
        CPadPoligon poligon;
        for (const CPadPoint& pt : hull)
            poligon.AddPoint(pt);
        int nLeft = coordinate(random);
        int nRight = coordinate(random);
        if (nLeft > nRight)
            std::swap(nLeft, nRight);
        CPadPoligon out;
        poligon.Cut_Margin(nLeft, nRight, out);
        poligon.CalOutRect();
        const bool bMeets = poligon.rtOut.left < nRight && poligon.rtOut.right > nLeft && nLeft < nRight;
        if (!bMeets)
            continue;
        ++nClipped;
        ASSERT_GE(out.GetPointCount(), 3);
        out.CalOutRect();
        EXPECT_EQ(out.rtOut.left, std::max(nLeft, poligon.rtOut.left));
        EXPECT_EQ(out.rtOut.right, std::min(nRight, poligon.rtOut.right));
        EXPECT_GE(out.rtOut.top, poligon.rtOut.top);
        EXPECT_LE(out.rtOut.bottom, poligon.rtOut.bottom);
    }
    EXPECT_GT(nClipped, 3000);
}

// --- arbitrary input ---

TEST(Geometry, ArbitraryPolygonsNeitherCrashNorRunForever)
{
    std::mt19937 random(13);
    for (int nCase = 0; nCase < 200000; ++nCase)
    {
        CPadPoligon poligon;
        const int nCount = static_cast<int>(random() % 13);
        for (int i = 0; i < nCount; ++i)
            switch (nCase % 4)
            {
            case 0: // few distinct places: repeats, collinear runs, self-crossings
                poligon.AddPoint(static_cast<int>(random() % 4), static_cast<int>(random() % 4));
                break;
            case 1: // one row
                poligon.AddPoint(static_cast<int>(random() % 20), 5);
                break;
            case 2:
                poligon.AddPoint(static_cast<int>(random() % 4000) - 2000, static_cast<int>(random() % 4000) - 2000);
                break;
            default: // the whole range of int, its ends often
                poligon.AddPoint(random() % 5 == 0 ? INT_MIN : static_cast<int>(random()),
                                 random() % 5 == 0 ? INT_MAX : static_cast<int>(random()));
                break;
            }
        CTrapeziumStorage storage;
        if (nCase % 8 < 4)
            poligon.Find_Corner();
        const int nResult = poligon.Cut_TrapeziumHori(&storage);
        ASSERT_LE(storage.GetTrapeziumCount(), 10);
        if (nResult == 0)
        {
            ASSERT_EQ(storage.GetTrapeziumCount(), 0);
        }
        else
        {
            ASSERT_GE(poligon.GetPointCount(), 3);
        }
        CPadPoligon out;
        poligon.Cut_Margin(static_cast<int>(random()), static_cast<int>(random()), out);
        poligon.Cut_Margin(static_cast<int>(random() % 30) - 10, static_cast<int>(random() % 30) - 10, poligon);
        ASSERT_LE(poligon.GetPointCount(), 10);
        poligon.Find_Corner();
        poligon.Cut_TrapeziumHori(&storage);
        poligon.OffsetPlusIndex(static_cast<int>(random()));
        poligon.ReverseIndex(static_cast<int>(random()));
        poligon.OffsetPlus(static_cast<int>(random()), static_cast<int>(random()));
        poligon.CalOutRect();
    }
}

} // namespace
