// SPDX-License-Identifier: MIT
// What an inspection makes of a shape: masks, trapezia, bounds.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>
#include <utility>

#include "host/recipe/region_shape.h"
#include "narvoassem/padpoligon.h"
#include "python/bind.h"
#include "python/narvo_errors.h"
#include "python/values.h"

namespace narvo::python
{

namespace
{

constexpr int nCornersHigh = 10;   // of the library's polygons
constexpr int nCutCornersHigh = 8; // where columns are given: the cut adds two
constexpr int nSideHigh = 65536;
constexpr int nPlaceHigh = 1000000;

std::vector<CPoint> ToPolygon(const py::handle& value)
{
    std::vector<CPoint> points = ToPoints(value, "points");
    if (points.size() < 3)
        throw HostError({{"points", std::to_string(points.size()) + " corners", "three or more"}});
    for (const CPoint& point : points)
        if (std::abs(std::int64_t{point.x}) > nPlaceHigh || std::abs(std::int64_t{point.y}) > nPlaceHigh)
            throw HostError({{"points", "corner " + std::to_string(point.x) + ", " + std::to_string(point.y),
                              "coordinates up to " + std::to_string(nPlaceHigh)}});
    return points;
}

py::array_t<bool> PolygonMask(const py::handle& value, const py::handle& shape)
{
    return Translated(
        Fault::Argument,
        [&]
        {
            const std::vector<CPoint> points = ToPolygon(value);
            const auto [height, width] = ToShape(shape);
            if (width > nSideHigh || height > nSideHigh)
                throw HostError({{"shape", Shown(shape), "sides up to " + std::to_string(nSideHigh)}});
            for (const CPoint& point : points)
                if (point.x < 0 || point.y < 0 || point.x > width || point.y > height)
                    throw HostError({{"points", "corner " + std::to_string(point.x) + ", " + std::to_string(point.y),
                                      "corners inside the image of " + std::to_string(width) + " by " +
                                          std::to_string(height) + " pixels"}});
            const std::vector<std::uint8_t> mask = MakeMask(points, width, height);
            py::array_t<bool> array({py::ssize_t{height}, py::ssize_t{width}});
            std::transform(mask.begin(), mask.end(), array.mutable_data(), [](std::uint8_t byte) { return byte != 0; });
            return array;
        });
}

py::array_t<int> CutPolygon(const py::handle& value, const std::string& direction, const py::handle& columns)
{
    return Translated(
        Fault::Argument,
        [&]
        {
            const std::vector<CPoint> points = WithoutNeedlessCorners(ToPolygon(value));
            const int most = columns.is_none() ? nCornersHigh : nCutCornersHigh;
            if (direction != "vertical" && direction != "horizontal")
                throw HostError({{"direction", direction, "vertical or horizontal"}});
            if (static_cast<int>(points.size()) > most || !IsConvex(points))
                throw HostError({{"points", std::to_string(points.size()) + " corners",
                                  "a convex polygon of 3 to " + std::to_string(most) + " corners"}});
            for (const CPoint& point : points)
                if (point.x < 0 || point.y < 0 || point.x > nCutSpan || point.y > nCutSpan)
                    throw HostError({{"points", "corner " + std::to_string(point.x) + ", " + std::to_string(point.y),
                                      "coordinates from 0 to " + std::to_string(nCutSpan)}});
            std::optional<std::pair<int, int>> cut;
            if (!columns.is_none())
            {
                const std::vector<CPoint> pair = ToPoints(py::make_tuple(columns), "columns");
                cut = {pair[0].x, pair[0].y};
                if (cut->first < 0 || cut->first >= cut->second || cut->second > nCutSpan)
                    throw HostError({{"columns", Shown(columns), "first below last, from 0 on"}});
            }
            const std::vector<CTrapezium> trapezia =
                CutTrapezia(points, cut, direction == "vertical" ? Direction_Vertical : Direction_Horizontal);
            py::array_t<int> array({static_cast<py::ssize_t>(trapezia.size()), py::ssize_t{4}, py::ssize_t{2}});
            int* place = array.mutable_data();
            for (const CTrapezium& trapezium : trapezia)
                for (const CPoint& corner : CornersOf(trapezium))
                {
                    *place++ = corner.x;
                    *place++ = corner.y;
                }
            return array;
        });
}

} // namespace

void BindRegions(py::module_& module)
{
    module.def("polygon_mask", &PolygonMask, py::arg("points"), py::arg("shape"),
               "The pixels of an image of shape (rows, columns) that lie inside a polygon, as a bool array.\n\n"
               "The corners are [x, y] in pixels and lie inside the image; the even-odd rule holds; right and bottom "
               "edges stay out. It is the mask that an inspection of this polygon goes by.");
    module.def("cut_trapezia", &CutPolygon, py::arg("points"), py::arg("direction") = "vertical",
               py::arg("columns") = py::none(),
               "The trapezia that a convex polygon is cut into for an inspection in a direction, as an array of shape "
               "(n, 4, 2): four corners [x, y] each.\n\n"
               "columns = (first, last) cuts the polygon to these columns before.");
    module.def(
        "is_convex",
        [](const py::handle& points)
        { return Translated(Fault::Argument, [&] { return IsConvex(WithoutNeedlessCorners(ToPolygon(points))); }); },
        py::arg("points"), "Whether a closed polygon of corners [x, y] is convex and goes round once.");
    module.def(
        "bounds_of",
        [](const py::handle& points)
        { return Translated(Fault::Argument, [&] { return ToPython(BoundsOf(ToPolygon(points))); }); },
        py::arg("points"),
        "The smallest Rect round a polygon's corners [x, y]; right and bottom exclusive, since edges there stay out.");
}

} // namespace narvo::python
