// SPDX-License-Identifier: MIT
// An edge of a step of A grey levels that moves by s pixels adds s * A grey levels for each pixel of its length; an
// edge that moves by one pixel, as erosion and dilation do it, adds A. The growth is the quotient.
#include "host/golden/edge_growth.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

#include <opencv2/imgproc.hpp>

#include "host/image/cv_image.h"

namespace narvo
{

namespace
{

constexpr int nGrowthPart = 32;     // pixels, side of the parts
constexpr int nLeastEdge = 8 * 100; // grey levels times pixels of edge of one facing that make a part count
constexpr int nFacing = 5;          // pixels, side of the square that edges are smoothed with to see where they face
constexpr int nLeastSlope = 8;      // grey levels in two pixels of the smoothed picture
constexpr std::size_t nFacings = 4; // bright to the right, to the left, below, above
constexpr std::size_t nLeastParts = 8;
constexpr double dLeastGrowth = 0.1; // pixels: less is left to the edge tolerance
constexpr double dGrowthProof = 3.0; // standard errors
constexpr double dMedianError =
    1.858; // of a median from the median deviation, times the root of the number: 1.4826 * 1.2533

cv::Mat Cross()
{
    return cv::getStructuringElement(cv::MORPH_CROSS, {3, 3});
}

double MiddleOf(std::vector<double>& values)
{
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

struct PartsMedian
{
    double value;
    double error;
};

PartsMedian MedianOfParts(std::vector<double> values)
{
    PartsMedian median{MiddleOf(values), 0.0};
    for (double& value : values)
        value = std::abs(value - median.value);
    median.error = dMedianError * MiddleOf(values) / std::sqrt(static_cast<double>(values.size()));
    return median;
}

} // namespace

double FitEdgeGrowth(const GreyImage& reference, const GreyImage& image, const GreyImage& nearEdge,
                     const GreyImage& inside)
{
    const cv::Mat picture = ViewOf(reference);
    cv::Mat step;
    cv::morphologyEx(picture, step, cv::MORPH_GRADIENT, Cross());
    cv::Mat smooth;
    cv::blur(picture, smooth, {nFacing, nFacing}, {-1, -1}, cv::BORDER_REPLICATE);
    std::array<std::vector<double>, nFacings> growths;
    for (int top = 0; top < image.Height(); top += nGrowthPart)
        for (int left = 0; left < image.Width(); left += nGrowthPart)
        {
            std::array<int, nFacings> differences{};
            std::array<int, nFacings> steps{};
            for (int y = std::max(1, top); y < std::min(image.Height() - 1, top + nGrowthPart); ++y)
            {
                const std::uint8_t* above = smooth.ptr<std::uint8_t>(y - 1);
                const std::uint8_t* line = smooth.ptr<std::uint8_t>(y);
                const std::uint8_t* below = smooth.ptr<std::uint8_t>(y + 1);
                for (int x = std::max(1, left); x < std::min(image.Width() - 1, left + nGrowthPart); ++x)
                {
                    if (nearEdge.Row(y)[x] == 0 || inside.Row(y)[x] == 0)
                        continue;
                    const int gx = line[x + 1] - line[x - 1];
                    const int gy = below[x] - above[x];
                    const bool along = std::abs(gx) > std::abs(gy);
                    if (std::max(std::abs(gx), std::abs(gy)) < nLeastSlope)
                        continue;
                    const std::size_t facing = along ? (gx > 0 ? 0U : 1U) : (gy > 0 ? 2U : 3U);
                    differences[facing] += image.Row(y)[x] - reference.Row(y)[x];
                    steps[facing] += step.ptr<std::uint8_t>(y)[x];
                }
            }
            // Erosion and dilation both move the edge by a pixel: the gradient holds it twice.
            for (std::size_t facing = 0; facing < nFacings; ++facing)
                if (steps[facing] >= 2 * nLeastEdge)
                    growths[facing].push_back(2.0 * differences[facing] / steps[facing]);
        }
    // A map that is a little off moves opposite edges the same way, which their mean does not hold.
    double sum = 0.0;
    double errors = 0.0;
    int count = 0;
    for (const std::size_t facing : {0U, 2U})
        if (growths[facing].size() >= nLeastParts && growths[facing + 1].size() >= nLeastParts)
            for (const std::size_t side : {facing, facing + 1})
            {
                const PartsMedian median = MedianOfParts(growths[side]);
                sum += median.value;
                errors += median.error * median.error;
                ++count;
            }
    if (count == 0 || std::abs(sum / count) < std::max(dLeastGrowth, dGrowthProof * std::sqrt(errors) / count))
        return 0.0;
    return std::clamp(sum / count, -dMostGrowth, dMostGrowth);
}

void GrowBright(double growth, GreyImage& picture)
{
    if (growth == 0.0)
        return;
    cv::Mat view = ViewOf(picture);
    cv::Mat moved;
    if (growth > 0.0)
        cv::dilate(view, moved, Cross(), {-1, -1}, 1, cv::BORDER_REPLICATE);
    else
        cv::erode(view, moved, Cross(), {-1, -1}, 1, cv::BORDER_REPLICATE);
    const double share = std::min(1.0, std::abs(growth));
    cv::addWeighted(view, 1.0 - share, moved, share, 0.0, view);
}

} // namespace narvo
