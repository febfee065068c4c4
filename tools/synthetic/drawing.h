// SPDX-License-Identifier: MIT
// What made-up pictures are drawn with: numbers that follow from a seed, edges as a lens makes them.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "host/statistics/mixed_numbers.h"

namespace narvo::tools
{

/// Numbers whose sequence is the same with every compiler and library.
class Random : public MixedNumbers
{
public:
    using MixedNumbers::MixedNumbers;

    /// In [low, high).
    double Real(double low, double high)
    {
        return low + (high - low) * (static_cast<double>(Next() >> 11) / 9007199254740992.0);
    }
    int Whole(int low, int high) { return low + static_cast<int>(Below(static_cast<std::size_t>(high - low + 1))); }
};

/// Share of a pixel that lies inside an edge at a signed distance (negative inside), softened by the lens.
inline double Cover(double distance)
{
    constexpr double dSoftness = 1.6; // pixels from nothing to all
    return std::clamp(0.5 - distance / dSoftness, 0.0, 1.0);
}

inline double DistanceToSegment(double x, double y, double x0, double y0, double x1, double y1)
{
    const double length = (x1 - x0) * (x1 - x0) + (y1 - y0) * (y1 - y0);
    const double along =
        length == 0.0 ? 0.0 : std::clamp(((x - x0) * (x1 - x0) + (y - y0) * (y1 - y0)) / length, 0.0, 1.0);
    return std::hypot(x - x0 - along * (x1 - x0), y - y0 - along * (y1 - y0));
}

} // namespace narvo::tools
