// SPDX-License-Identifier: MIT
// Places by a registration's map, and the map in numbers for people.
#include "host/golden/registration_map.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>

namespace narvo
{

namespace
{

constexpr double dDegree = std::numbers::pi / 180.0;

} // namespace

RealPoint OffsetMesh::At(double px, double py) const
{
    if (IsEmpty())
        return {};
    const auto cell = [this](double place, int nodes)
    { return std::clamp(static_cast<int>(std::floor(place / spacing)), 0, nodes - 2); };
    const int column = cell(px, columns);
    const int row = cell(py, rows);
    const double fx = px / spacing - column;
    const double fy = py / spacing - row;
    const auto value = [&](const std::vector<float>& values)
    {
        const float* node = values.data() + static_cast<std::ptrdiff_t>(row) * columns + column;
        return (1.0 - fy) * ((1.0 - fx) * node[0] + fx * node[1]) +
               fy * ((1.0 - fx) * node[columns] + fx * node[columns + 1]);
    };
    return {value(x), value(y)};
}

RealPoint Apply(const AffineMap& affine, double x, double y)
{
    return {affine[0] * x + affine[1] * y + affine[2], affine[3] * x + affine[4] * y + affine[5]};
}

RealPoint Registration::Map(double x, double y) const
{
    RealPoint place = Apply(affine, x, y);
    const RealPoint offset = mesh.At(x, y);
    place = {place.x + offset.x, place.y + offset.y};
    if (seam && seam->IsBehind(x, y))
        place = {place.x + seam->step.x, place.y + seam->step.y};
    return place;
}

const char* ModelName(Registration::Model model)
{
    constexpr const char* names[] = {"shift", "rigid", "similarity", "affine"};
    return names[model];
}

void DescribeMap(int width, int height, Registration& registration)
{
    const AffineMap& a = registration.affine;
    const double x = 0.5 * (width - 1);
    const double y = 0.5 * (height - 1);
    const RealPoint centre = Apply(a, x, y);
    registration.shiftX = x - centre.x;
    registration.shiftY = y - centre.y;
    // From the reference to the image.
    const double determinant = a[0] * a[4] - a[1] * a[3];
    const double xx = a[4] / determinant;
    const double xy = -a[1] / determinant;
    const double yx = -a[3] / determinant;
    const double yy = a[0] / determinant;
    registration.scaleX = std::hypot(xx, yx);
    registration.scaleY = std::hypot(xy, yy);
    registration.rotation = std::atan2(yx - xy, xx + yy) / dDegree;
    registration.shear =
        std::asin(std::clamp((xx * xy + yx * yy) / (registration.scaleX * registration.scaleY), -1.0, 1.0)) / dDegree;
    registration.largestLocal = 0.0;
    for (std::size_t i = 0; i < registration.mesh.x.size(); ++i)
        registration.largestLocal =
            std::max<double>(registration.largestLocal, std::hypot(registration.mesh.x[i], registration.mesh.y[i]));
}

} // namespace narvo
