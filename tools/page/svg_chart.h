// SPDX-License-Identifier: MIT
// A chart of curves as SVG, for pages.
#pragma once

#include <string>
#include <vector>

#include "host/evaluate/curves.h"

namespace narvo::tools
{

struct ChartCurve
{
    std::string name;
    std::vector<CurvePoint> points; ///< joined by lines
    std::vector<CurvePoint> marks;  ///< drawn one by one
};

struct Chart
{
    std::string title;
    std::string alongX;
    std::string alongY;
    double highX = 1.0;
    double highY = 1.0;
    std::vector<ChartCurve> curves; ///< up to as many as there are colours; further ones repeat them
};

/// Axes from 0. Points beyond the right border are left out.
std::string DrawChart(const Chart& chart);

} // namespace narvo::tools
