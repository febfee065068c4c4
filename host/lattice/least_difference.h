// SPDX-License-Identifier: MIT
// How much a piece differs from the place of a picture that resembles it most.
#pragma once

#include <limits>

#include <opencv2/core.hpp>

namespace narvo
{

/// Sums of squared differences of a piece to the places at which it fits in a picture, both CV_8U.
class DifferenceSearch
{
public:
    /// @param taken a pixel for the upper left corner of each place, not 0 where the place does not count (CV_8U)
    DifferenceSearch(const cv::Mat& picture, const cv::Mat& piece, const cv::Mat& taken);

    /// The difference at a place that promises much, at no cost; the largest float where no place counts.
    double Estimate() const { return m_estimate; }
    /// The least difference, or the limit where none is lower. A low limit is fast.
    double Least(double limit = std::numeric_limits<float>::max()) const;

private:
    cv::Mat m_picture;
    cv::Mat m_piece;
    cv::Mat m_taken;
    cv::Mat m_bounds; ///< of each place's difference from below; CV_32F
    double m_estimate;
};

} // namespace narvo
