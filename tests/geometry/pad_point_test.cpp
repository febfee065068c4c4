// SPDX-License-Identifier: MIT
// A vertex and the crossings of a line with a row or a column.
#include "narvoassem/padpoligon.h"

#include <climits>
#include <cstdint>
#include <random>

#include "gtest/gtest.h"

namespace
{

TEST(PadPoint, VectorToReplacesThePointByTheDifference)
{
    CPadPoint a(3, 10);
    a.VectorTo(CPadPoint(5, 4));
    EXPECT_EQ(a.x, 2);
    EXPECT_EQ(a.y, -6);
}

TEST(PadPoint, CrossingIsRoundedTowardTheStartOfTheLine)
{
    int nX = 0;
    EXPECT_EQ(CPadPoint(0, 0).FindCrossX(CPadPoint(10, 3), 1, nX), 1);
    EXPECT_EQ(nX, 3);
    EXPECT_EQ(CPadPoint(10, 3).FindCrossX(CPadPoint(0, 0), 1, nX), 1);
    EXPECT_EQ(nX, 4);
    int nY = 0;
    EXPECT_EQ(CPadPoint(0, 0).FindCrossY(CPadPoint(3, -10), 1, nY), 1);
    EXPECT_EQ(nY, -3);
}

TEST(PadPoint, LevelLineGivesTheOtherEndAndWhetherItLiesOnTheRow)
{
    const CPadPoint a(2, 7);
    int nX = 0;
    EXPECT_EQ(a.FindCrossX(CPadPoint(9, 7), 7, nX), 1);
    EXPECT_EQ(nX, 9);
    EXPECT_EQ(a.FindCrossX(CPadPoint(11, 7), 6, nX), 0);
    EXPECT_EQ(nX, 11);
    int nY = 0;
    EXPECT_EQ(a.FindCrossY(CPadPoint(2, 1), 2, nY), 1);
    EXPECT_EQ(nY, 1);
    EXPECT_EQ(a.FindCrossY(CPadPoint(2, 4), 3, nY), 0);
    EXPECT_EQ(nY, 4);
}

TEST(PadPoint, ChangeCrossMovesThePointAndCopiesTheOtherOnALevelLine)
{
    CPadPoint a(0, 0);
    EXPECT_EQ(a.ChangeCrossHori(CPadPoint(20, 10), 5), 1);
    EXPECT_EQ(a.x, 10);
    EXPECT_EQ(a.y, 5);
    EXPECT_EQ(a.ChangeCrossVert(CPadPoint(20, 10), 16), 1);
    EXPECT_EQ(a.x, 16);
    EXPECT_EQ(a.y, 8);
    EXPECT_EQ(a.ChangeCrossHori(CPadPoint(30, 8), 8), 1);
    EXPECT_EQ(a.x, 30);
    EXPECT_EQ(a.ChangeCrossHori(CPadPoint(40, 8), 9), 0);
    EXPECT_EQ(a.x, 40);
    EXPECT_EQ(a.y, 8);
    EXPECT_EQ(a.ChangeCrossVert(CPadPoint(40, 2), 41), 0);
    EXPECT_EQ(a.y, 2);
}

TEST(PadPoint, ProductsWrapAtThirtyTwoBits)
{
    int nX = 0;
    EXPECT_EQ(CPadPoint(0, 0).FindCrossX(CPadPoint(100000, 100000), 50000, nX), 1);
    EXPECT_EQ(nX, static_cast<int>(static_cast<std::uint32_t>(5000000000ULL)) / 100000);
    EXPECT_EQ(CPadPoint(0, 0).FindCrossX(CPadPoint(INT_MIN, -1), 1, nX), 1);
    EXPECT_EQ(nX, INT_MIN);
}

TEST(PadPoint, CrossingsAgreeWithWideArithmeticInsideThirtyTwoBits)
{
    std::mt19937 random(1);
    std::uniform_int_distribution<int> coordinate(-20000, 20000);
    for (int i = 0; i < 20000; ++i)
    {
        const CPadPoint a(coordinate(random), coordinate(random));
        const CPadPoint b(coordinate(random), coordinate(random));
        const int nAt = coordinate(random);
        if (a.y == b.y)
            continue;
        int nX = 0;
        ASSERT_EQ(a.FindCrossX(b, nAt, nX), 1);
        // Rows beyond the line can carry the product past 32 bits; those between its ends cannot.
        if (nAt < std::min(a.y, b.y) || nAt > std::max(a.y, b.y))
            continue;
        ASSERT_EQ(nX, a.x + std::int64_t{nAt - a.y} * (b.x - a.x) / (b.y - a.y));
        CPadPoint moved = a;
        moved.ChangeCrossHori(b, nAt);
        ASSERT_EQ(moved.x, nX);
        ASSERT_EQ(moved.y, nAt);
    }
}

} // namespace
