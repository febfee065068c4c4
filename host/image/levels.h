// SPDX-License-Identifier: MIT
// Values of any depth as 8-bit grey by two levels, which are fixed: none depend on the image. For sources of the host
// layer.
#pragma once

#include <opencv2/core.hpp>

namespace narvo
{

/// Writes (value - low) * 255 / (high - low), rounded to the nearest, halves up, and cut to 0 .. 255.
/// `values` are 8 or 16 bits, one channel; `grey` has their size and 8 bits, and keeps its place in memory. `high` lies
/// above `low`.
void ApplyLevels(const cv::Mat& values, int low, int high, cv::Mat& grey);

/// Whether each value becomes a grey level of its own that stands for it exactly: whether nothing is lost.
bool IsExact(const cv::Mat& values, int low, int high);

} // namespace narvo
