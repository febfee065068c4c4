// SPDX-License-Identifier: MIT
// The rules of regions that are no rectangles.
#include <cstdint>
#include <string>

#include "host/recipe/recipe_check.h"
#include "host/recipe/recipe_rules.h"
#include "host/recipe/region_shape.h"

namespace narvo
{

void CheckShape(const Recipe& recipe, Problems& found)
{
    if (recipe.regionShape < 0 || recipe.regionShape > RegionShape_Polygon)
    {
        found.push_back({"region.shape", std::to_string(recipe.regionShape), "rectangle, trapezium or polygon"});
        return;
    }
    const auto corners = [&](const std::vector<CPoint>& points, const char* allowed) {
        found.push_back({"region.points", std::to_string(points.size()) + " corners", allowed});
    };
    if (recipe.regionShape == RegionShape_Rectangle)
        return;
    if (recipe.mode != Mode_Float)
        found.push_back({"region.shape", std::string(RegionShapeWords()[static_cast<std::size_t>(recipe.regionShape)]),
                         "rectangle where mode is not float"});
    const std::vector<CPoint> points = WithoutNeedlessCorners(recipe.regionPoints);
    if (points.size() < 3)
    {
        corners(recipe.regionPoints, "at least 3 corners that do not lie on one line");
        return;
    }
    if (recipe.regionShape == RegionShape_Polygon)
        return;
    const CRect bounds = BoundsOf(points);
    constexpr std::size_t nLimit = CPadPoligon::nPointLimit;
    if (points.size() > (recipe.regionColumns ? nLimit - 2 : nLimit))
        corners(points,
                recipe.regionColumns ? "at most 8 corners where region.columns is given" : "at most 10 corners");
    else if (std::int64_t{bounds.right} - bounds.left > nCutSpan || std::int64_t{bounds.bottom} - bounds.top > nCutSpan)
        found.push_back({"region.points", RectText(bounds), "at most 46340 pixels wide and high"});
    else if (!IsConvex(points))
        found.push_back({"region.points", "not convex", "a convex polygon that does not cross itself"});
    if (recipe.regionColumns && recipe.regionColumns->first >= recipe.regionColumns->second)
        found.push_back(
            {"region.columns",
             std::to_string(recipe.regionColumns->first) + " to " + std::to_string(recipe.regionColumns->second),
             "first below last"});
}

void CheckCorners(const Recipe& recipe, int width, int height, Problems& found)
{
    const auto check = [&](std::size_t i, const char* axis, int value, int limit)
    {
        if (value < 0 || value > limit)
            found.push_back({"region.points[" + std::to_string(i) + "]." + axis, std::to_string(value),
                             RangeText(0, limit, "pixels")});
    };
    for (std::size_t i = 0; i < recipe.regionPoints.size(); ++i)
    {
        check(i, "x", recipe.regionPoints[i].x, width);
        check(i, "y", recipe.regionPoints[i].y, height);
    }
    if (found.empty() && recipe.regionColumns && TrapeziaOf(recipe).empty())
        found.push_back(
            {"region.columns",
             std::to_string(recipe.regionColumns->first) + " to " + std::to_string(recipe.regionColumns->second),
             "columns that the polygon crosses"});
}

} // namespace narvo
