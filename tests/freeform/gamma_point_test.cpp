// SPDX-License-Identifier: MIT
// Look-up of zone cell origins.
#include "narvoassem/narvoassem.h"

#include <climits>
#include <limits>
#include <utility>
#include <vector>

#include "gtest/gtest.h"

namespace
{

/// Three columns of cells 20 by 10 from (100, 50), with a drift of one pixel in record (1, 1).
std::vector<int> MakeTable()
{
    return {100, 50, 120, 50, 140, 50, //
            100, 60, 121, 61, 0,   60, //
            100, 70, 120, 0,  140, 70};
}

CGammaPoint Find(std::vector<int> table, int x, int y, double dWidth = -1.0, double dHeight = -1.0)
{
    CGammaPoint point;
    point.FindOrigin(table.data(), 3, x, y, dWidth, dHeight);
    return point;
}

TEST(GammaPoint, RecordOfTheCellIsTheOrigin)
{
    EXPECT_EQ(Find(MakeTable(), 100, 50).x, 100);
    EXPECT_EQ(Find(MakeTable(), 119, 59).y, 50);
    EXPECT_EQ(Find(MakeTable(), 120, 60).x, 121);
    EXPECT_EQ(Find(MakeTable(), 139, 69).y, 61);
}

TEST(GammaPoint, RecordWithAZeroGivesTheComputedOrigin)
{
    EXPECT_EQ(Find(MakeTable(), 145, 65).x, 140);
    EXPECT_EQ(Find(MakeTable(), 145, 65).y, 60);
    EXPECT_EQ(Find(MakeTable(), 125, 75).x, 120);
    EXPECT_EQ(Find(MakeTable(), 125, 75).y, 70);
}

TEST(GammaPoint, PointsBeforeTheFirstOriginFallIntoTheCellBefore)
{
    EXPECT_EQ(Find(MakeTable(), 99, 55).x, 80);
    EXPECT_EQ(Find(MakeTable(), 99, 55).y, 50);
    // One is taken off the quotient, so a whole cell before falls one further.
    EXPECT_EQ(Find(MakeTable(), 80, 55).x, 60);
    EXPECT_EQ(Find(MakeTable(), 105, 49).y, 40);
    EXPECT_EQ(Find(MakeTable(), 105, 40).y, 30);
}

TEST(GammaPoint, CellsWithoutASizeGiveTheImagesCorner)
{
    for (const auto& [dWidth, dHeight] : {std::pair(0.0, 10.0), std::pair(20.0, 0.0), std::pair(-2.0, 10.0)})
    {
        std::vector<int> table = MakeTable();
        CGammaPoint point;
        point.x = 7;
        point.y = 8;
        point.FindOrigin(table.data(), 3, 130, 65, dWidth, dHeight);
        EXPECT_EQ(point.x, 0) << dWidth;
        EXPECT_EQ(point.y, 0) << dHeight;
    }
}

TEST(GammaPoint, NullTableDoesNotChangeThePoint)
{
    CGammaPoint point;
    EXPECT_EQ(point.x, 0);
    EXPECT_EQ(point.y, 0);
    point.x = 7;
    point.y = 8;
    point.FindOrigin(nullptr, 3, 1, 2, -1.0, -1.0);
    EXPECT_EQ(point.x, 7);
    EXPECT_EQ(point.y, 8);
}

TEST(GammaPoint, ZeroOrNegativeCellsGiveNoOrigin)
{
    std::vector<int> table = MakeTable();
    table[2] = 100;
    EXPECT_EQ(Find(table, 105, 55).x, 0);
    EXPECT_EQ(Find(table, 105, 55).y, 0);
    table = MakeTable();
    table[7] = 40;
    EXPECT_EQ(Find(table, 105, 55).x, 0);
    EXPECT_EQ(Find(MakeTable(), 105, 55, 0.0, 5.0).x, 0);
    EXPECT_EQ(Find(MakeTable(), 105, 55, 5.0, std::numeric_limits<double>::quiet_NaN()).x, 0);
}

TEST(GammaPoint, GivenSizesReplaceThoseOfTheTableUnlessOneIsMinusOne)
{
    EXPECT_EQ(Find(MakeTable(), 111, 55, 10.0, 10.0).x, 120) << "second column";
    EXPECT_EQ(Find(MakeTable(), 111, 55, 10.0, -1.0).x, 100);
}

TEST(GammaPoint, ExtremePointsAndTablesConvertWithoutTrap)
{
    EXPECT_EQ(Find({INT_MAX, 5, INT_MIN, 5, 0, 0, 0, 15, 0}, INT_MIN, 0).x, 0) << "a width below 0";
    const CGammaPoint point = Find({-2000000000, 5, 2000000000, 5, 0, 5, 0, 15, 0}, INT_MIN, 5);
    EXPECT_EQ(point.x, INT_MIN);
}

} // namespace
