// SPDX-License-Identifier: MIT
// Reduced pictures of a reference and an image, which a registration works on from the coarsest to the finest.
#pragma once

#include <vector>

#include <opencv2/core.hpp>

namespace narvo
{

/// Both pictures at one level: a pixel covers `scale` by `scale` of the whole picture's.
struct PictureLevel
{
    cv::Mat reference; ///< 8-bit grey
    cv::Mat image;
    int scale = 1;

    /// Place in the whole picture of a place at this level, of centres of pixels.
    double ToWhole(double place) const { return place * scale + 0.5 * (scale - 1); }
    double FromWhole(double place) const { return (place - 0.5 * (scale - 1)) / scale; }
};

/// Half the size, by means of whole blocks, so that a pixel covers exactly four.
cv::Mat Halve(const cv::Mat& source);

/// The finest level first. Levels follow until a distance of `reach` pixels of the whole picture is short, or a further
/// one would be too small.
std::vector<PictureLevel> BuildPyramid(const cv::Mat& reference, const cv::Mat& image, double reach);

} // namespace narvo
