// SPDX-License-Identifier: MIT
// A periodic picture with one planted defect, and what an inspection has to say about it.
#pragma once

#include <cmath>
#include <cstdlib>
#include <numbers>

#include "host/host_test_help.h"
#include "host/inspect/inspector.h"

namespace narvo::test
{

constexpr int nWidth = 400;
constexpr int nHeight = 300;
constexpr double dPitchX = 32.5;
constexpr double dPitchY = 24.25;

/// A smooth pattern with a square of 5 by 5 pixels that is brighter by `step` around (x, y).
inline GreyImage MakePattern(int width, int height, int x, int y, int step)
{
    GreyImage image(width, height);
    for (int row = 0; row < height; ++row)
        for (int column = 0; column < image.Stride(); ++column)
        {
            const double value = 110.0 + 40.0 * std::sin(2.0 * std::numbers::pi * column / dPitchX) *
                                             std::sin(2.0 * std::numbers::pi * row / dPitchY);
            const bool inside = std::abs(column - x) <= 2 && std::abs(row - y) <= 2;
            image.Row(row)[column] = static_cast<std::uint8_t>(std::lround(value) + (inside ? step : 0));
        }
    return image;
}

inline Recipe PatternRecipe()
{
    Recipe recipe = SmallestParsed();
    recipe.pitchX = dPitchX;
    recipe.pitchY = dPitchY;
    return recipe;
}

/// The blob covers the square's middle and nothing far from it; a compared window counts at its upper left pixel.
inline void ExpectTheSquare(const InspectionResult& result, int x, int y, bool bright, int slack = 1)
{
    EXPECT_EQ(result.code, 1);
    EXPECT_THAT(result.warnings, testing::IsEmpty());
    ASSERT_THAT(result.blobs, testing::SizeIs(1));
    const Blob& blob = result.blobs[0];
    EXPECT_EQ(blob.number, 1);
    EXPECT_EQ(blob.bright, bright);
    EXPECT_TRUE(blob.box.PtInRect(CPoint(x, y)));
    EXPECT_GE(blob.box.left, x - 4);
    EXPECT_LE(blob.box.right, x + 5);
    EXPECT_GE(blob.box.top, y - 4);
    EXPECT_LE(blob.box.bottom, y + 5);
    EXPECT_NEAR(blob.center.x, x, slack);
    EXPECT_NEAR(blob.center.y, y, slack);
}

} // namespace narvo::test
