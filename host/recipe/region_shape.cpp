// SPDX-License-Identifier: MIT
// Shapes on the library's polygons and regions.
#include "host/recipe/region_shape.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <utility>

#include "host/problem.h"

namespace narvo
{

namespace
{

/// Twice the area that the turn at b spans, positive for a clockwise turn on screen.
std::int64_t Turn(const CPoint& a, const CPoint& b, const CPoint& c)
{
    return (std::int64_t{b.x} - a.x) * (std::int64_t{c.y} - b.y) -
           (std::int64_t{c.x} - b.x) * (std::int64_t{b.y} - a.y);
}

/// How often the coordinate changes its way along the closed polygon; a convex one turns twice.
int Reversals(const std::vector<CPoint>& points, int CPoint::*coordinate)
{
    std::vector<int> ways;
    for (std::size_t i = 0; i < points.size(); ++i)
        if (const int step = points[(i + 1) % points.size()].*coordinate - points[i].*coordinate; step != 0)
            ways.push_back(step > 0 ? 1 : -1);
    int count = 0;
    for (std::size_t i = 0; i < ways.size(); ++i)
        count += ways[i] != ways[(i + 1) % ways.size()] ? 1 : 0;
    return count;
}

CPadPoligon PoligonOf(const std::vector<CPoint>& points)
{
    CPadPoligon poligon;
    for (const CPoint& point : points)
        poligon.AddPoint(point.x, point.y);
    return poligon;
}

} // namespace

std::vector<CPoint> WithoutNeedlessCorners(std::vector<CPoint> points)
{
    for (std::size_t i = 0; i < points.size() && points.size() >= 2;)
    {
        const CPoint& before = points[(i + points.size() - 1) % points.size()];
        const CPoint& after = points[(i + 1) % points.size()];
        if (points[i] == before || Turn(before, points[i], after) == 0)
        {
            points.erase(points.begin() + static_cast<std::ptrdiff_t>(i));
            // The corner before may have lost its turn.
            i -= std::min<std::size_t>(i, 2);
        }
        else
            ++i;
    }
    return points;
}

bool IsConvex(const std::vector<CPoint>& points)
{
    if (points.size() < 3)
        return false;
    int clockwise = 0;
    for (std::size_t i = 0; i < points.size(); ++i)
        clockwise += Turn(points[i], points[(i + 1) % points.size()], points[(i + 2) % points.size()]) > 0 ? 1 : 0;
    const bool oneWay = clockwise == 0 || clockwise == static_cast<int>(points.size());
    // A star turns one way too, but goes round more than once.
    return oneWay && Reversals(points, &CPoint::x) == 2 && Reversals(points, &CPoint::y) == 2;
}

std::vector<CTrapezium> CutTrapezia(const std::vector<CPoint>& points,
                                    const std::optional<std::pair<int, int>>& columns, Direction direction)
{
    std::vector<CPoint> corners = points;
    if (columns)
    {
        CPadPoligon clipped;
        PoligonOf(corners).Cut_Margin(columns->first, columns->second, clipped);
        corners.clear();
        for (int i = 0; i < clipped.GetPointCount(); ++i)
            corners.emplace_back(clipped.GetPadPoint(i)->x, clipped.GetPadPoint(i)->y);
    }
    // A vertical compare takes slices from left to right: cut with the axes exchanged.
    const bool vertical = direction == Direction_Vertical;
    if (vertical)
        for (CPoint& corner : corners)
            std::swap(corner.x, corner.y);
    corners = WithoutNeedlessCorners(std::move(corners));

    CPadPoligon poligon = PoligonOf(corners);
    CTrapeziumStorage storage;
    poligon.Find_Corner();
    if (poligon.GetPointCount() < 3 || poligon.Cut_TrapeziumHori(&storage) == 0)
        return {};
    std::vector<CTrapezium> trapezia;
    for (int i = 0; i < storage.GetTrapeziumCount(); ++i)
    {
        trapezia.push_back(*storage.GetTrapezium(i));
        if (vertical)
            trapezia.back().ChangeAxis();
    }
    return trapezia;
}

CRect BoundsOf(const std::vector<CPoint>& points)
{
    if (points.empty())
        return {};
    CRect bounds(points[0].x, points[0].y, points[0].x, points[0].y);
    for (const CPoint& point : points)
    {
        bounds.left = std::min(bounds.left, point.x);
        bounds.top = std::min(bounds.top, point.y);
        bounds.right = std::max(bounds.right, point.x);
        bounds.bottom = std::max(bounds.bottom, point.y);
    }
    return bounds;
}

std::vector<CPoint> CornersOf(const CTrapezium& trapezium)
{
    std::vector<CPoint> corners;
    for (const CPadPoint& corner : trapezium.ptCorner)
        corners.emplace_back(corner.x, corner.y);
    return corners;
}

std::vector<std::uint8_t> MakeMask(const std::vector<CPoint>& points, int stride, int height)
{
    CRgn polygon;
    CRgn frame;
    CRgn inside;
    const bool combined = polygon.CreatePolygonRgn(points.data(), static_cast<int>(points.size()), ALTERNATE) != 0 &&
                          frame.CreateRectRgn(0, 0, stride, height) != 0 && inside.CreateRectRgn(0, 0, 0, 0) != 0 &&
                          inside.CombineRgn(&polygon, &frame, RGN_AND) != RGN_ERROR;
    const int bytes = combined ? inside.GetRegionData(nullptr, 0) : 0;
    std::vector<std::byte> data(static_cast<std::size_t>(std::max(bytes, 0)));
    if (bytes <= 0 || inside.GetRegionData(reinterpret_cast<RGNDATA*>(data.data()), bytes) == 0)
        throw HostError({{"memory", "not enough for the region's mask", "a smaller image or polygon"}});

    RGNDATAHEADER head;
    std::memcpy(&head, data.data(), sizeof head);
    std::vector<std::uint8_t> mask(static_cast<std::size_t>(stride) * static_cast<std::size_t>(height));
    for (std::uint32_t i = 0; i < head.nCount; ++i)
    {
        CRect rect;
        std::memcpy(&rect, data.data() + sizeof head + i * sizeof rect, sizeof rect);
        for (int y = rect.top; y < rect.bottom; ++y)
            std::fill_n(mask.begin() + static_cast<std::ptrdiff_t>(y) * stride + rect.left, rect.Width(),
                        std::uint8_t{1});
    }
    return mask;
}

} // namespace narvo
