// SPDX-License-Identifier: MIT
// From pixels to the cell's own coordinates.
#include "tools/live/defect_map.h"

#include <cmath>

namespace narvo::tools
{

CellPlace PlaceInCell(const PatternCell& cell, double x, double y)
{
    const double area = cell.ax * cell.by - cell.ay * cell.bx;
    if (std::abs(area) < 1e-9)
        return {};
    const double alongA = (x * cell.by - y * cell.bx) / area;
    const double alongB = (y * cell.ax - x * cell.ay) / area;
    return {true, alongA - std::floor(alongA), alongB - std::floor(alongB)};
}

} // namespace narvo::tools
