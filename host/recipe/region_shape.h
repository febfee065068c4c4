// SPDX-License-Identifier: MIT
// Regions that are no rectangles: clean-up of their corners, trapezia of a convex one, mask of any other. Which shapes
// a recipe may hold is recipe_check.h's.
#pragma once

#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

#include "host/recipe/recipe.h"
#include "narvoassem/padpoligon.h"
#include "narvoassem/platform.h"

namespace narvo
{

/// The closed polygon without corners that repeat their neighbour or lie on the line between their neighbours.
std::vector<CPoint> WithoutNeedlessCorners(std::vector<CPoint> points);

/// Whether a polygon without needless corners is convex and goes round once, either way.
bool IsConvex(const std::vector<CPoint>& points);

/// Trapezia of a convex polygon, in the form that the direction's kernel takes; `columns` clips the polygon first.
/// Empty where nothing is left. Coordinates must not lie further apart than nCutSpan, corners number at most ten, and
/// eight where columns are given.
std::vector<CTrapezium> CutTrapezia(const std::vector<CPoint>& points,
                                    const std::optional<std::pair<int, int>>& columns, Direction direction);

/// Coordinates up to this far apart keep the products of the cut inside 32 bits.
constexpr int nCutSpan = 46340;

/// The smallest rectangle round some points, right and bottom exclusive: the region's edges there stay out.
CRect BoundsOf(const std::vector<CPoint>& points);

/// Corners of a trapezium in the order in which they are drawn.
std::vector<CPoint> CornersOf(const CTrapezium& trapezium);

/// One byte a pixel in rows of `stride` bytes: 1 inside the polygon by the even-odd rule, right and bottom edges
/// excluded, 0 elsewhere.
std::vector<std::uint8_t> MakeMask(const std::vector<CPoint>& points, int stride, int height);

} // namespace narvo
