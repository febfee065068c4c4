// SPDX-License-Identifier: MIT
// Convex polygons that tests make and measure, in exact arithmetic.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace narvo::test
{

/// The convex hull, clockwise on screen, without needless vertices. Empty when it has no area.
template <typename TPoint>
std::vector<TPoint> MakeHull(std::vector<TPoint> points)
{
    const auto isBefore = [](const TPoint& a, const TPoint& b) { return a.x != b.x ? a.x < b.x : a.y < b.y; };
    const auto isSame = [](const TPoint& a, const TPoint& b) { return a.x == b.x && a.y == b.y; };
    const auto cross = [](const TPoint& o, const TPoint& a, const TPoint& b)
    {
        return (std::int64_t{a.x} - o.x) * (std::int64_t{b.y} - o.y) -
               (std::int64_t{b.x} - o.x) * (std::int64_t{a.y} - o.y);
    };
    std::sort(points.begin(), points.end(), isBefore);
    points.erase(std::unique(points.begin(), points.end(), isSame), points.end());
    std::vector<TPoint> hull;
    for (int nPass = 0; nPass < 2 && !points.empty(); ++nPass)
    {
        const std::size_t nBase = hull.size();
        for (const TPoint& pt : points)
        {
            while (hull.size() >= nBase + 2 && cross(hull[hull.size() - 2], hull.back(), pt) <= 0)
                hull.pop_back();
            hull.push_back(pt);
        }
        hull.pop_back();
        std::reverse(points.begin(), points.end());
    }
    if (hull.size() < 3)
        hull.clear();
    return hull;
}

/// Where a row enters and leaves a convex polygon.
struct CSpan
{
    double dLeft = 1e18;
    double dRight = -1e18;
};

template <typename TPoint>
CSpan FindSpan(const std::vector<TPoint>& hull, int y)
{
    CSpan span;
    for (std::size_t i = 0; i < hull.size(); ++i)
    {
        const TPoint& a = hull[i];
        const TPoint& b = hull[(i + 1) % hull.size()];
        if (y < std::min(a.y, b.y) || y > std::max(a.y, b.y))
            continue;
        const double dFrom = a.y == b.y ? a.x : a.x + static_cast<double>(y - a.y) * (b.x - a.x) / (b.y - a.y);
        const double dTo = a.y == b.y ? b.x : dFrom;
        span.dLeft = std::min({span.dLeft, dFrom, dTo});
        span.dRight = std::max({span.dRight, dFrom, dTo});
    }
    return span;
}

} // namespace narvo::test
