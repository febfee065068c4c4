// SPDX-License-Identifier: MIT
// Maps of defects: squares, border, cells of any shape.
#include "tools/live/defect_map.h"

#include <gtest/gtest.h>

namespace narvo::test
{

namespace
{

using namespace tools;

TEST(DefectMap, CountsEachPlaceInItsSquareAndOthersAtTheBorder)
{
    DefectMap<4, 2> map;
    map.Add(0.0, 0.0);
    map.Add(0.49, 0.49);
    map.Add(0.5, 0.5);
    map.Add(1.0, 1.0);
    map.Add(-3.0, 7.0);
    const std::array<std::uint32_t, 8> wanted = {1, 1, 0, 0, 1, 0, 1, 1};
    EXPECT_EQ(map.Counts(), wanted);
}

TEST(DefectMap, PlacesOnePitchApartLieAtTheSamePlaceOfTheCell)
{
    const PatternCell oblique{30.5, 4.25, -7.0, 41.75};
    const CellPlace one = PlaceInCell(oblique, 100.0, 200.0);
    const CellPlace other = PlaceInCell(oblique, 100.0 + 3 * 30.5 - 2 * -7.0, 200.0 + 3 * 4.25 - 2 * 41.75);
    ASSERT_TRUE(one.known && other.known);
    EXPECT_NEAR(one.alongA, other.alongA, 1e-9);
    EXPECT_NEAR(one.alongB, other.alongB, 1e-9);
    const CellPlace middle = PlaceInCell({40.0, 0.0, 0.0, 50.0}, 60.0, 25.0);
    EXPECT_DOUBLE_EQ(middle.alongA, 0.5);
    EXPECT_DOUBLE_EQ(middle.alongB, 0.5);
}

TEST(DefectMap, APatternWithoutVectorsHasNoCell)
{
    EXPECT_FALSE(PlaceInCell({}, 1.0, 1.0).known);
    EXPECT_FALSE(PlaceInCell({10.0, 0.0, 0.0, 0.0}, 1.0, 1.0).known);
}

} // namespace

} // namespace narvo::test
