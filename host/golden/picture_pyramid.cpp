// SPDX-License-Identifier: MIT
// Halving of pictures by means of blocks.
#include "host/golden/picture_pyramid.h"

#include <algorithm>

#include <opencv2/imgproc.hpp>

namespace narvo
{

namespace
{

constexpr int nCoarsestSide = 64;    // pixels: a reduced picture's shorter side is no shorter
constexpr int nFinestSide = 1024;    // pixels: a map is fitted on pictures of no longer side
constexpr double dCoarseReach = 4.0; // pixels that a pattern may lie off on the coarsest level

} // namespace

cv::Mat Halve(const cv::Mat& source)
{
    cv::Mat target;
    cv::resize(source(cv::Rect(0, 0, source.cols & ~1, source.rows & ~1)), target, {}, 0.5, 0.5, cv::INTER_AREA);
    return target;
}

std::vector<PictureLevel> BuildPyramid(const cv::Mat& reference, const cv::Mat& image, double reach)
{
    std::vector<PictureLevel> levels = {{reference, image, 1}};
    while (true)
    {
        const PictureLevel& last = levels.back();
        const int shorter = std::min({last.image.cols, last.image.rows, last.reference.cols, last.reference.rows});
        const int longer = std::max({last.image.cols, last.image.rows, last.reference.cols, last.reference.rows});
        if (shorter < 2 * nCoarsestSide || (reach / last.scale <= dCoarseReach && longer <= nFinestSide))
            break;
        levels.push_back({Halve(last.reference), Halve(last.image), 2 * last.scale});
    }
    // The whole pictures where they are no larger than needed.
    while (levels.size() > 1 && std::max({levels.front().image.cols, levels.front().image.rows,
                                          levels.front().reference.cols, levels.front().reference.rows}) > nFinestSide)
        levels.erase(levels.begin());
    return levels;
}

} // namespace narvo
