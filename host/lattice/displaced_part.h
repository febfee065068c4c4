// SPDX-License-Identifier: MIT
// A part of a picture as it is seen displaced by a part of a pixel.
#pragma once

#include <vector>

#include <opencv2/core.hpp>

namespace narvo
{

/// Pixels of the picture on every side of the displaced part, that cubic interpolation looks at.
constexpr int nDisplacedRim = 2;

/// Fills the target (CV_8U) with the picture from (x, y) on, in pixels, by cubic interpolation at 32nds of a pixel. The
/// target's pixels lie nDisplacedRim or more from the picture's border.
/// @param lines memory that calls share
void FillDisplaced(const cv::Mat& picture, double x, double y, cv::Mat& target, std::vector<float>& lines);

} // namespace narvo
