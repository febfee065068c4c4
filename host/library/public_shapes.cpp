// SPDX-License-Identifier: MIT
// Shapes of regions in the public form.
#include "narvo/host_shapes.h"

#include <algorithm>
#include <cstdlib>
#include <optional>
#include <string>
#include <utility>

#include "host/library/public_report.h"
#include "host/library/translate.h"
#include "host/recipe/region_shape.h"

namespace narvo::v1
{

namespace
{

constexpr int nCornersHigh = 10;   // of the engine's polygons
constexpr int nCutCornersHigh = 8; // where columns are given: the cut adds two
constexpr int nMaskSideHigh = 65536;
constexpr int nPlaceHigh = 1000000;

std::string CornerText(const Corner& point)
{
    return "corner " + std::to_string(point.x) + ", " + std::to_string(point.y);
}

/// @throws HostError for what is no polygon
std::vector<CPoint> LayerPolygon(const std::vector<Corner>& points)
{
    if (points.size() < 3)
        throw HostError({{"points", std::to_string(points.size()) + " corners", "three or more"}});
    std::vector<CPoint> made;
    made.reserve(points.size());
    for (const Corner& point : points)
    {
        if (std::abs(std::int64_t{point.x}) > nPlaceHigh || std::abs(std::int64_t{point.y}) > nPlaceHigh)
            throw HostError({{"points", CornerText(point), "coordinates up to " + std::to_string(nPlaceHigh)}});
        made.emplace_back(point.x, point.y);
    }
    return made;
}

} // namespace

Box BoundsOfPolygon(const std::vector<Corner>& points)
{
    return library::Translated([&] { return library::PublicBox(BoundsOf(LayerPolygon(points))); });
}

bool IsConvexPolygon(const std::vector<Corner>& points)
{
    return library::Translated([&] { return IsConvex(WithoutNeedlessCorners(LayerPolygon(points))); });
}

std::vector<std::uint8_t> PolygonMask(const std::vector<Corner>& points, int width, int height)
{
    return library::Translated(
        [&]
        {
            const std::vector<CPoint> polygon = LayerPolygon(points);
            if (width < 1 || height < 1 || width > nMaskSideHigh || height > nMaskSideHigh)
                throw HostError({{"shape", '(' + std::to_string(height) + ", " + std::to_string(width) + ')',
                                  "sides up to " + std::to_string(nMaskSideHigh)}});
            for (const Corner& point : points)
                if (point.x < 0 || point.y < 0 || point.x > width || point.y > height)
                    throw HostError({{"points", CornerText(point),
                                      "corners inside the image of " + std::to_string(width) + " by " +
                                          std::to_string(height) + " pixels"}});
            return MakeMask(polygon, width, height);
        });
}

std::vector<CornersOfTrapezium> CutPolygon(const std::vector<Corner>& points, bool vertical, const ColumnSpan* columns)
{
    return library::Translated(
        [&]
        {
            const std::vector<CPoint> polygon = WithoutNeedlessCorners(LayerPolygon(points));
            const int most = columns == nullptr ? nCornersHigh : nCutCornersHigh;
            if (static_cast<int>(polygon.size()) > most || !IsConvex(polygon))
                throw HostError({{"points", std::to_string(polygon.size()) + " corners",
                                  "a convex polygon of 3 to " + std::to_string(most) + " corners"}});
            for (const CPoint& point : polygon)
                if (point.x < 0 || point.y < 0 || point.x > nCutSpan || point.y > nCutSpan)
                    throw HostError({{"points", CornerText({point.x, point.y}),
                                      "coordinates from 0 to " + std::to_string(nCutSpan)}});
            std::optional<std::pair<int, int>> cut;
            if (columns != nullptr)
            {
                cut = {columns->first, columns->last};
                if (cut->first < 0 || cut->first >= cut->second || cut->second > nCutSpan)
                    throw HostError(
                        {{"columns", '(' + std::to_string(cut->first) + ", " + std::to_string(cut->second) + ')',
                          "first below last, from 0 on"}});
            }
            std::vector<CornersOfTrapezium> made;
            for (const CTrapezium& trapezium :
                 CutTrapezia(polygon, cut, vertical ? Direction_Vertical : Direction_Horizontal))
            {
                const std::vector<CPoint> corners = CornersOf(trapezium);
                CornersOfTrapezium& one = made.emplace_back();
                std::transform(corners.begin(), corners.end(), one.begin(),
                               [](const CPoint& corner) {
                                   return Corner{corner.x, corner.y};
                               });
            }
            return made;
        });
}

} // namespace narvo::v1
