// SPDX-License-Identifier: MIT
// What an inspection makes of a shape: masks, trapezia, bounds.
#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <narvo/host_shapes.h>

#include "python/bind.h"
#include "python/narvo_errors.h"
#include "python/values.h"

namespace narvo::python
{

namespace
{

/// @throws v1::Error for what is no list of corners, or no polygon
std::vector<v1::Corner> ToPolygon(const py::handle& value)
{
    std::vector<v1::Corner> corners = ToPoints(value, "points");
    v1::BoundsOfPolygon(corners);
    return corners;
}

py::array_t<bool> PolygonMask(const py::handle& value, const py::handle& shape)
{
    return Translated(Fault::Argument,
                      [&]
                      {
                          const std::vector<v1::Corner> points = ToPolygon(value);
                          const auto [height, width] = ToShape(shape);
                          const std::vector<std::uint8_t> mask =
                              Showing("shape", Shown(shape),
                                      [&, high = height, wide = width] { return v1::PolygonMask(points, wide, high); });
                          py::array_t<bool> array({py::ssize_t{height}, py::ssize_t{width}});
                          std::transform(mask.begin(), mask.end(), array.mutable_data(),
                                         [](std::uint8_t byte) { return byte != 0; });
                          return array;
                      });
}

py::array_t<int> CutPolygon(const py::handle& value, const std::string& direction, const py::handle& columns)
{
    return Translated(
        Fault::Argument,
        [&]
        {
            const std::vector<v1::Corner> points = ToPolygon(value);
            if (direction != "vertical" && direction != "horizontal")
                throw v1::Error({{"direction", direction, "vertical or horizontal"}});
            std::optional<v1::ColumnSpan> cut;
            if (!columns.is_none())
            {
                const v1::Corner pair = ToPoints(py::make_tuple(columns), "columns").front();
                cut = {pair.x, pair.y};
            }
            const std::vector<v1::CornersOfTrapezium> trapezia =
                Showing("columns", Shown(columns),
                        [&] { return v1::CutPolygon(points, direction == "vertical", cut ? &*cut : nullptr); });
            py::array_t<int> array({static_cast<py::ssize_t>(trapezia.size()), py::ssize_t{4}, py::ssize_t{2}});
            int* place = array.mutable_data();
            for (const v1::CornersOfTrapezium& trapezium : trapezia)
                for (const v1::Corner& corner : trapezium)
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
        { return Translated(Fault::Argument, [&] { return v1::IsConvexPolygon(ToPolygon(points)); }); },
        py::arg("points"), "Whether a closed polygon of corners [x, y] is convex and goes round once.");
    module.def(
        "bounds_of",
        [](const py::handle& points)
        { return Translated(Fault::Argument, [&] { return ToPython(v1::BoundsOfPolygon(ToPolygon(points))); }); },
        py::arg("points"),
        "The smallest Rect round a polygon's corners [x, y]; right and bottom exclusive, since edges there stay out.");
}

} // namespace narvo::python
