// SPDX-License-Identifier: MIT
// A golden cell and an image's as a picture.
#pragma once

#include <vector>

#include <opencv2/core.hpp>

#include "narvo/host_cell.h"

namespace narvo::tools
{

/// Golden cell, the image's cell and their difference side by side, magnified to some hundred pixels; greys of the
/// difference are 128 and four times as many levels. The three are CV_32F and of one size.
cv::Mat DrawCells(const cv::Mat& golden, const cv::Mat& shown, const cv::Mat& difference);

/// The same of a report; `golden` has as many places as it.
cv::Mat DrawCells(const std::vector<float>& golden, const v1::CellReport& report);

} // namespace narvo::tools
