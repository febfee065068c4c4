// SPDX-License-Identifier: MIT
// What an inspection makes of a region that is a polygon: its mask, its trapezia, its bounds.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "narvo/host_inspector.h"

namespace narvo::v1
{

/// A corner of a closed polygon, between pixels: 0, 0 is the upper left corner of the image.
struct Corner
{
    int x = 0; ///< pixels, to the right
    int y = 0; ///< pixels, downward
};

/// Its corners in the order in which they are drawn.
using CornersOfTrapezium = std::array<Corner, 4>;

/// Columns that a polygon is cut to.
struct ColumnSpan
{
    int first = 0; ///< 0 or more
    int last = 0;  ///< above the first, up to 46340
};

/// Every call takes polygons of three corners or more with coordinates of -1000000 .. 1000000; the last corner is
/// joined to the first. Problems are those of the argument "points".

/// The smallest rectangle round the polygon; right and bottom exclusive, since edges there stay out.
/// @throws Error for a polygon that is none
NARVOHOST_API Box BoundsOfPolygon(const std::vector<Corner>& points);
/// Whether it is convex and goes round once. Corners on the line between their neighbours do not count.
/// @throws Error for a polygon that is none
NARVOHOST_API bool IsConvexPolygon(const std::vector<Corner>& points);
/// The pixels inside of the polygon in an image, row by row without gaps: 1 inside by the even-odd rule, right and
/// bottom edges excluded, 0 elsewhere. Sides are 1 .. 65536 pixels, and all corners lie inside of the image.
/// @throws Error with the field "points" or "shape"
NARVOHOST_API std::vector<std::uint8_t> PolygonMask(const std::vector<Corner>& points, int width, int height);
/// The trapezia that a convex polygon of up to 10 corners with coordinates of 0 .. 46340 is cut into for an inspection
/// along y (`vertical`) or along x. `columns`, where it is not null, cuts the polygon first, which may then have up to
/// 8 corners. Empty where nothing is left. @throws Error with the field "points" or "columns"
NARVOHOST_API std::vector<CornersOfTrapezium> CutPolygon(const std::vector<Corner>& points, bool vertical,
                                                         const ColumnSpan* columns = nullptr);

} // namespace narvo::v1
