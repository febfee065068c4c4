// SPDX-License-Identifier: MIT
// Polygons on their way to trapezia and masks.
#include "host/recipe/region_shape.h"

#include <numeric>

#include "host/host_test_help.h"

namespace narvo::test
{

namespace
{

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

using Points = std::vector<CPoint>;

TEST(RegionShape, RepeatedAndCollinearCornersAreRemoved)
{
    const Points square = {{0, 0}, {10, 0}, {10, 10}, {0, 10}};
    EXPECT_THAT(WithoutNeedlessCorners({{0, 0}, {5, 0}, {10, 0}, {10, 0}, {10, 10}, {0, 10}, {0, 3}, {0, 0}}),
                testing::UnorderedElementsAreArray(square));
    EXPECT_EQ(WithoutNeedlessCorners(square), square);
}

TEST(RegionShape, NothingIsLeftOfALine)
{
    EXPECT_LT(WithoutNeedlessCorners({{0, 0}, {5, 5}, {9, 9}, {2, 2}}).size(), 3U);
    EXPECT_LT(WithoutNeedlessCorners({{4, 4}, {4, 4}, {4, 4}}).size(), 3U);
    EXPECT_THAT(WithoutNeedlessCorners({}), IsEmpty());
}

TEST(RegionShape, SpikesAreRemoved)
{
    EXPECT_EQ(WithoutNeedlessCorners({{0, 0}, {10, 0}, {20, 0}, {10, 0}, {10, 10}, {0, 10}}),
              (Points{{0, 0}, {10, 0}, {10, 10}, {0, 10}}));
}

TEST(RegionShape, ConvexEitherWayRound)
{
    EXPECT_TRUE(IsConvex({{0, 0}, {10, 0}, {10, 10}, {0, 10}}));
    EXPECT_TRUE(IsConvex({{0, 10}, {10, 10}, {10, 0}, {0, 0}}));
    EXPECT_FALSE(IsConvex({{0, 0}, {10, 0}, {3, 3}, {0, 10}}));
    EXPECT_FALSE(IsConvex({{0, 0}, {10, 10}, {10, 0}, {0, 10}}));
    EXPECT_FALSE(IsConvex({{0, 0}, {10, 0}}));
}

TEST(RegionShape, StarThatTurnsOneWayIsNotConvex)
{
    EXPECT_FALSE(IsConvex({{50, 0}, {80, 90}, {0, 35}, {100, 35}, {20, 90}}));
}

TEST(RegionShape, HexagonIsCutAcrossTheDirection)
{
    const Points hexagon = {{100, 0}, {300, 0}, {400, 150}, {300, 300}, {100, 300}, {0, 150}};
    const auto across = CutTrapezia(hexagon, std::nullopt, Direction_Horizontal);
    ASSERT_THAT(across, SizeIs(2));
    EXPECT_EQ(CornersOf(across[0]), (Points{{100, 0}, {300, 0}, {400, 150}, {0, 150}}));
    EXPECT_EQ(CornersOf(across[1]), (Points{{0, 150}, {400, 150}, {300, 300}, {100, 300}}));

    const auto down = CutTrapezia(hexagon, std::nullopt, Direction_Vertical);
    ASSERT_THAT(down, SizeIs(3));
    // From left to right; corners upper left, lower left, lower right, upper right.
    EXPECT_EQ(CornersOf(down[0]), (Points{{0, 150}, {0, 150}, {100, 300}, {100, 0}}));
    EXPECT_EQ(CornersOf(down[1]), (Points{{100, 0}, {100, 300}, {300, 300}, {300, 0}}));
    EXPECT_EQ(CornersOf(down[2]), (Points{{300, 0}, {300, 300}, {400, 150}, {400, 150}}));
}

TEST(RegionShape, ColumnsBesideThePolygonLeaveNothing)
{
    const Points square = {{10, 10}, {90, 10}, {90, 90}, {10, 90}};
    EXPECT_THAT(CutTrapezia(square, std::pair(100, 200), Direction_Horizontal), IsEmpty());
    EXPECT_THAT(CutTrapezia(square, std::pair(20, 40), Direction_Vertical), SizeIs(1));
}

TEST(RegionShape, MaskHoldsTheInteriorWithoutRightAndBottomEdges)
{
    const auto mask = MakeMask({{2, 1}, {6, 1}, {6, 4}, {2, 4}}, 8, 5);
    EXPECT_THAT(mask, ElementsAre(0, 0, 0, 0, 0, 0, 0, 0, //
                                  0, 0, 1, 1, 1, 1, 0, 0, //
                                  0, 0, 1, 1, 1, 1, 0, 0, //
                                  0, 0, 1, 1, 1, 1, 0, 0, //
                                  0, 0, 0, 0, 0, 0, 0, 0));
}

TEST(RegionShape, MaskOfARingHasItsHole)
{
    const auto mask = MakeMask(
        {{0, 0}, {30, 0}, {30, 30}, {0, 30}, {0, 0}, {10, 10}, {10, 20}, {20, 20}, {20, 10}, {10, 10}}, 30, 30);
    EXPECT_EQ(std::accumulate(mask.begin(), mask.end(), 0), 30 * 30 - 10 * 10);
    EXPECT_EQ(mask[15 * 30 + 15], 0);
}

TEST(RegionShape, PolygonBesideTheImageGivesAnEmptyMask)
{
    const auto mask = MakeMask({{40, 40}, {60, 40}, {60, 60}}, 16, 16);
    EXPECT_EQ(std::accumulate(mask.begin(), mask.end(), 0), 0);
}

} // namespace

} // namespace narvo::test
