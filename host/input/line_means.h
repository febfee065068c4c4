// SPDX-License-Identifier: MIT
// Means along short lines in all directions: a thread that runs a little brighter stands out over its length where no
// single pixel does.
#pragma once

#include <functional>

#include <opencv2/core.hpp>

namespace narvo
{

/// Means over `length` pixels (CV_32F) around every pixel, in directions all round whose ends lie 2 pixels apart, 4 for
/// lines of 32 and more; outside the image lie zeros. `visit` gets one direction after the other and may change it.
void VisitLineMeans(const cv::Mat& values, int length, const std::function<void(cv::Mat&)>& visit);

} // namespace narvo
