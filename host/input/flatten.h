// SPDX-License-Identifier: MIT
// Light and local contrast taken out of an image: every pixel as its difference from the mean of a large window, in
// units of the mean absolute difference there. Pixels outside the pattern's area take no part.
#pragma once

#include <opencv2/core.hpp>

namespace narvo
{

/// `image` (CV_32F) over the pixels where `area` (CV_8U) is not 0, by windows of `window`; 0 elsewhere. Both means are
/// taken twice, the second time with values cut at 2.5 deviations, so that a defect hides neither itself nor its
/// neighbours. Deviations below one grey level count as one. The deviation is taken over a square of `spread` pixels.
cv::Mat Flatten(const cv::Mat& image, const cv::Mat& area, cv::Size window, int spread);

/// Mean over windows; the border is mirrored.
cv::Mat WindowMean(const cv::Mat& values, cv::Size window);

} // namespace narvo
