// SPDX-License-Identifier: MIT
// How a lot changes from image to image: control charts of what a store holds of each.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "host/lot/lot_records.h"
#include "host/statistics/control_chart.h"

namespace narvo
{

struct LotChart
{
    std::string name;               ///< "defects", "pairs", "refused", "light", "noise", "pitch_x", "size", ...
    std::string unit;               ///< of its points
    bool counts = false;            ///< of counts; otherwise of values
    std::size_t group = 1;          ///< images in a point: rare counts are put together up to a mean of five
    std::vector<std::size_t> first; ///< of each point, its first image: place in Lot::images
    ControlChart chart;
    ChangePoint change;  ///< of the points
    double chance = 1.0; ///< that chance alone shows as large a change in any of the lot's charts
};

/// Charts of all that varies; none for values that no two images have. `baseline` images from the first on give centre
/// and limits, 0: all.
std::vector<LotChart> ChartLot(const Lot& lot, std::size_t baseline);

} // namespace narvo
