// SPDX-License-Identifier: MIT
// The cell that one image shows.
#pragma once

#include <opencv2/core.hpp>

#include "host/cell/golden_cell.h"

namespace narvo
{

/// A part in the middle of the image's region, folded: a reference to begin with.
/// @throws HostError where the region is too small, or the part shows no pattern
cv::Mat FirstCell(const GreyView& image, const Recipe& recipe, const CellGrid& grid);

/// @throws HostError where the region is too small, or less than half of its parts resemble the reference
ShownCell ShowCell(const GreyView& image, const Recipe& recipe, const CellGrid& grid, const cv::Mat& reference);

} // namespace narvo
