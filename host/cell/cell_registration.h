// SPDX-License-Identifier: MIT
// How one cell of a pattern lies and is lit against another. Cells go around their edges: CV_32F, rows by columns.
#pragma once

#include <opencv2/core.hpp>

namespace narvo
{

/// A light: grey = gain * reference + offset.
struct CellLight
{
    double gain = 1.0;
    double offset = 0.0;
    double resemblance = 0.0; ///< correlation, -1 to 1; 0 where either is even
};

CellLight FitLight(const cv::Mat& cell, const cv::Mat& reference);

/// Whole bins by which `cell` lies right of and below `reference`, at most `reach` bins from `expected` along each
/// axis. Where the pattern tells little, as along stripes, the place nearest to `expected` among those that resemble
/// nearly as much as the best.
cv::Point2d WholeDisplacement(const cv::Mat& cell, const cv::Mat& reference, cv::Point2d expected, double reach);

/// The rest, of a bin at most, by least squares; 0 along a direction that the pattern does not tell.
cv::Point2d FineDisplacement(const cv::Mat& cell, const cv::Mat& reference);

/// Differences of neighbours along x and y, grey levels a bin, around the edges.
struct CellSlopes
{
    cv::Mat x;
    cv::Mat y;
};

CellSlopes SlopesOf(const cv::Mat& cell);

} // namespace narvo
