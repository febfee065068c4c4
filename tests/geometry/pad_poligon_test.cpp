// SPDX-License-Identifier: MIT
// The polygon model: vertices, orientation, corners, bounds.
#include "narvoassem/padpoligon.h"

#include <cstring>
#include <new>
#include <vector>

#include "geometry/make_poligon.h"
#include "gmock/gmock.h"
#include "gtest/gtest.h"

namespace
{

using narvo::test::MakePoligon;
using testing::ElementsAre;

std::vector<std::vector<int>> GetVertices(const CPadPoligon& poligon)
{
    std::vector<std::vector<int>> vertices;
    for (int i = 0; i < poligon.nPointCount; ++i)
        vertices.push_back({poligon.ptPoint[i].x, poligon.ptPoint[i].y});
    return vertices;
}

TEST(Poligon, NewPolygonIsEmptyWithClearedBounds)
{
    const CPadPoligon poligon;
    EXPECT_EQ(poligon.GetPointCount(), 0);
    EXPECT_EQ(poligon.rtOut, CRect(0, 0, 0, 0));
}

TEST(Poligon, EleventhVertexIsIgnored)
{
    CPadPoligon poligon;
    for (int i = 0; i < 12; ++i)
        poligon.AddPoint(i, i);
    EXPECT_EQ(poligon.GetPointCount(), 10);
    EXPECT_EQ(poligon.GetPadPoint(9)->x, 9);
    EXPECT_EQ(poligon.rtOut, CRect(0, 0, 0, 0));
}

TEST(Poligon, IndexHelpersWrapAndKeepTheSignOfANegativeIndex)
{
    CPadPoligon poligon = MakePoligon({{0, 0}, {1, 0}, {2, 0}, {3, 0}});
    EXPECT_EQ(poligon.GetRoundIndex(5), 1);
    EXPECT_EQ(poligon.GetRoundIndex(-1), -1);
    EXPECT_EQ(poligon.GetRoundIndex(-6), -2);
    EXPECT_EQ(poligon.GetNextIndex(3), 0);
    EXPECT_EQ(poligon.GetPreIndex(0), 3);
    EXPECT_EQ(poligon.GetPadPoint_Round(6)->x, 2);
    EXPECT_EQ(poligon.GetSelfPoligon(), &poligon);
}

TEST(Poligon, RotationAndReversalReorderTheVertices)
{
    CPadPoligon poligon = MakePoligon({{0, 0}, {1, 0}, {2, 0}, {3, 0}});
    poligon.OffsetPlusIndex(1);
    EXPECT_THAT(GetVertices(poligon),
                ElementsAre(ElementsAre(1, 0), ElementsAre(2, 0), ElementsAre(3, 0), ElementsAre(0, 0)));
    poligon.ReverseIndex(0);
    EXPECT_THAT(GetVertices(poligon),
                ElementsAre(ElementsAre(1, 0), ElementsAre(0, 0), ElementsAre(3, 0), ElementsAre(2, 0)));
    poligon.ReverseIndex(1);
    EXPECT_THAT(GetVertices(poligon),
                ElementsAre(ElementsAre(0, 0), ElementsAre(1, 0), ElementsAre(2, 0), ElementsAre(3, 0)));
    poligon.OffsetPlusIndex(-1);
    EXPECT_EQ(poligon.ptPoint[0].x, 3);
}

TEST(Poligon, OffsetMovesVerticesButNeitherBoundsNorCorners)
{
    CPadPoligon poligon = MakePoligon({{0, 0}, {10, 0}, {10, 10}, {0, 10}});
    poligon.Find_Corner();
    const CPadPoligon before = poligon;
    poligon.OffsetPlus(5, 7);
    EXPECT_EQ(poligon.ptPoint[2].x, 15);
    EXPECT_EQ(poligon.ptPoint[2].y, 17);
    EXPECT_EQ(poligon.rtOut, before.rtOut);
    EXPECT_EQ(poligon.nCorner[3], before.nCorner[3]);
}

TEST(Poligon, BoundsAreTheLargestCoordinatesThemselves)
{
    CPadPoligon poligon = MakePoligon({{3, 9}, {-4, 2}, {8, -6}});
    poligon.CalOutRect();
    EXPECT_EQ(poligon.rtOut, CRect(-4, -6, 8, 9));
    poligon.ResetPoligon();
    poligon.CalOutRect();
    EXPECT_EQ(poligon.rtOut, CRect(10000000, 10000000, -10000000, -10000000));
}

TEST(Poligon, OrientationIgnoresTheTurnsThroughTheClosingEdge)
{
    EXPECT_EQ(MakePoligon({{0, 0}, {10, 0}}).IsClockwise(), 0);
    EXPECT_EQ(MakePoligon({{0, 0}, {10, 0}, {10, 10}}).IsClockwise(), 1);
    EXPECT_EQ(MakePoligon({{0, 0}, {10, 10}, {10, 0}}).IsClockwise(), 0);
    EXPECT_EQ(MakePoligon({{0, 0}, {5, 0}, {10, 0}}).IsClockwise(), 1) << "collinear vertices count as clockwise";
    // The only counter-clockwise turn is at the last vertex.
    EXPECT_EQ(MakePoligon({{0, 0}, {10, 0}, {10, 10}, {9, 1}}).IsClockwise(), 1);
    // Concave, tested at vertex 2: fails in both orientations.
    EXPECT_EQ(MakePoligon({{0, 0}, {10, 0}, {5, 2}, {10, 10}, {0, 10}}).IsClockwise(), 0);
    EXPECT_EQ(MakePoligon({{0, 10}, {10, 10}, {5, 2}, {10, 0}, {0, 0}}).IsClockwise(), 0);
}

TEST(Poligon, CounterClockwiseSquareIsReversedWithVertexZeroKept)
{
    CPadPoligon poligon = MakePoligon({{0, 0}, {0, 10}, {10, 10}, {10, 0}});
    poligon.Find_Corner();
    EXPECT_THAT(GetVertices(poligon),
                ElementsAre(ElementsAre(0, 0), ElementsAre(10, 0), ElementsAre(10, 10), ElementsAre(0, 10)));
    EXPECT_THAT(poligon.nCorner, ElementsAre(0, 0, 1, 2, 3));
    EXPECT_EQ(poligon.rtOut, CRect(0, 0, 10, 10));
}

TEST(Poligon, FewerThanThreeVerticesLeaveCornersAndBoundsUntouched)
{
    CPadPoligon poligon = MakePoligon({{5, 6}, {7, 8}});
    for (int& nIndex : poligon.nCorner)
        nIndex = 42;
    poligon.rtOut.SetRect(1, 2, 3, 4);
    poligon.Find_Corner();
    EXPECT_THAT(poligon.nCorner, ElementsAre(42, 42, 42, 42, 42));
    EXPECT_EQ(poligon.rtOut, CRect(1, 2, 3, 4));
}

TEST(Poligon, OfIdenticalExtremeVerticesTheFirstIsTheCorner)
{
    CPadPoligon poligon = MakePoligon({{5, 0}, {5, 0}, {9, 9}, {9, 9}});
    poligon.Find_Corner();
    EXPECT_EQ(poligon.nCorner[1], 0);
    EXPECT_EQ(poligon.nCorner[2], 1);
    EXPECT_EQ(poligon.nCorner[3], 2);
    EXPECT_EQ(poligon.nCorner[4], 3);
}

TEST(Poligon, TestAppendsItsNineVertices)
{
    CPadPoligon poligon;
    poligon.AddPoint(-1, -1);
    poligon.Test();
    EXPECT_EQ(poligon.GetPointCount(), 10);
    EXPECT_EQ(poligon.GetPadPoint(1)->x, 100);
    EXPECT_EQ(poligon.GetPadPoint(9)->y, 200);
}

TEST(Poligon, AssignmentCopiesEveryMember)
{
    CPadPoligon poligon;
    poligon.Test();
    poligon.Find_Corner();
    poligon.nReserved[1] = 77;
    CPadPoligon copy;
    copy = poligon;
    EXPECT_EQ(std::memcmp(&copy, &poligon, sizeof copy), 0);
}

TEST(PoligonStorage, ConstructionLeavesTheCountAndEmptiesThePolygons)
{
    alignas(CPoligonStorage) unsigned char block[sizeof(CPoligonStorage)];
    std::memset(block, 0x5A, sizeof block);
    auto* pStorage = new (block) CPoligonStorage;
    EXPECT_EQ(pStorage->GetPadPoligon(9), &pStorage->poligon[9]);
    EXPECT_EQ(pStorage->GetPadPoligon(9)->GetPointCount(), 0);
    pStorage->nPoligonCount = 3;
    EXPECT_EQ(pStorage->nPoligonCount, 3);
}

} // namespace
