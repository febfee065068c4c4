// SPDX-License-Identifier: MIT
// Descriptors of cells, and the growth of the area over strips of them.
#include "host/input/pattern_area.h"
#include "host/statistics/robust.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

#include <opencv2/imgproc.hpp>

namespace narvo
{

namespace
{

constexpr int nCell = 16;           // pixels: side of a cell, width of a strip
constexpr double dTolerance = 0.35; // distance of descriptors, in logarithms, up to which a strip goes on
constexpr std::size_t nTrend = 12;  // accepted strips whose median the next one is compared with
constexpr int nBridge = 4;          // strips in a row that may differ, as where a defect crosses the whole height
constexpr int nFlatSide = 33;       // pixels: what is blown out or empty over such a square shows no pattern
constexpr float fBlownOut = 250.0F;
constexpr float fEmpty = 2.0F;

/// Level, step along x, step along y, contrast; as logarithms.
using Descriptor = std::array<float, 4>;

cv::Mat CellMeans(const cv::Mat& values)
{
    const int columns = values.cols / nCell;
    const int rows = values.rows / nCell;
    cv::Mat means;
    cv::resize(values(cv::Rect(0, 0, columns * nCell, rows * nCell)), means, {columns, rows}, 0, 0, cv::INTER_AREA);
    return means;
}

/// Differences from each pixel to the next one, as absolute values; 0 in the last column or row.
cv::Mat Steps(const cv::Mat& image, int alongX, int alongY)
{
    cv::Mat steps = cv::Mat::zeros(image.size(), CV_32F);
    const cv::Size size(image.cols - alongX, image.rows - alongY);
    cv::Mat target = steps(cv::Rect({0, 0}, size));
    cv::absdiff(image(cv::Rect({alongX, alongY}, size)), image(cv::Rect({0, 0}, size)), target);
    return steps;
}

/// One for each strip: the median over its cells. Blown out and empty ones take no part while a quarter of the others
/// is left, so that such a spot does not end the area.
std::vector<Descriptor> DescribeStrips(const cv::Mat& image)
{
    cv::Mat fine;
    cv::Mat coarse;
    cv::blur(image, fine, {3, 3}, {-1, -1}, cv::BORDER_REFLECT);
    cv::blur(image, coarse, {15, 15}, {-1, -1}, cv::BORDER_REFLECT);
    cv::Mat contrast;
    cv::absdiff(fine, coarse, contrast);
    struct Part
    {
        cv::Mat means;
        float floor;
        float weight;
    };
    // The level weighs more: light falls off slowly, cloth and table differ.
    const std::array<Part, 4> parts = {{{CellMeans(image), 4.0F, 1.5F},
                                        {CellMeans(Steps(image, 1, 0)), 0.5F, 1.0F},
                                        {CellMeans(Steps(image, 0, 1)), 0.5F, 1.0F},
                                        {CellMeans(contrast), 0.5F, 1.0F}}};
    std::vector<Descriptor> strips(static_cast<std::size_t>(parts[0].means.cols));
    const int rows = parts[0].means.rows;
    std::vector<float> column;
    for (int x = 0; x < parts[0].means.cols; ++x)
    {
        const auto isFlat = [&](int y)
        {
            const float level = parts[0].means.at<float>(y, x);
            return level >= fBlownOut || level <= fEmpty;
        };
        int shown = 0;
        for (int y = 0; y < rows; ++y)
            shown += isFlat(y) ? 0 : 1;
        for (std::size_t k = 0; k < parts.size(); ++k)
        {
            column.clear();
            for (int y = 0; y < rows; ++y)
                if (4 * shown < rows || !isFlat(y))
                    column.push_back(parts[k].weight * std::log(parts[k].means.at<float>(y, x) + parts[k].floor));
            strips[static_cast<std::size_t>(x)][k] = MedianOf(column);
        }
    }
    return strips;
}

Descriptor MedianOfStrips(const std::vector<Descriptor>& strips, std::size_t first, std::size_t count)
{
    Descriptor median{};
    for (std::size_t k = 0; k < median.size(); ++k)
    {
        std::vector<float> values;
        for (std::size_t i = first; i < first + count; ++i)
            values.push_back(strips[i][k]);
        median[k] = MedianOf(values);
    }
    return median;
}

/// Where the run of strips begins that differs least from the image's median.
std::size_t FindSeed(const std::vector<Descriptor>& strips, std::size_t length)
{
    const Descriptor middle = MedianOfStrips(strips, 0, strips.size());
    std::vector<float> distances;
    for (const Descriptor& strip : strips)
    {
        float distance = 0.0F;
        for (std::size_t k = 0; k < middle.size(); ++k)
            distance = std::max(distance, std::abs(strip[k] - middle[k]));
        distances.push_back(distance);
    }
    std::size_t best = 0;
    float least = 0.0F;
    for (std::size_t i = 0; i + length <= strips.size(); ++i)
    {
        const auto from = distances.begin() + static_cast<std::ptrdiff_t>(i);
        std::vector<float> run(from, from + static_cast<std::ptrdiff_t>(length));
        const float median = MedianOf(run);
        if (i == 0 || median < least)
        {
            best = i;
            least = median;
        }
    }
    return best;
}

/// Follows the strips from a seed in one direction. @return the last strip that goes on
int Grow(const std::vector<Descriptor>& strips, std::vector<Descriptor> accepted, int last, int step)
{
    int missed = 0;
    for (int i = last + step; i >= 0 && i < static_cast<int>(strips.size()) && missed <= nBridge; i += step)
    {
        const std::size_t count = std::min(nTrend, accepted.size());
        const Descriptor trend = MedianOfStrips(accepted, accepted.size() - count, count);
        const Descriptor& strip = strips[static_cast<std::size_t>(i)];
        double square = 0.0;
        for (std::size_t k = 0; k < trend.size(); ++k)
            square += (strip[k] - trend[k]) * (strip[k] - trend[k]);
        if (std::sqrt(square) < dTolerance)
        {
            accepted.push_back(strip);
            last = i;
            missed = 0;
        }
        else
            ++missed;
    }
    return last;
}

/// First and last strip of the pattern.
std::pair<int, int> FindStrips(const std::vector<Descriptor>& strips)
{
    const std::size_t length = std::min(nTrend, strips.size());
    const std::size_t seed = FindSeed(strips, length);
    const auto from = strips.begin() + static_cast<std::ptrdiff_t>(seed);
    std::vector<Descriptor> accepted(from, from + static_cast<std::ptrdiff_t>(length));
    const int right = Grow(strips, accepted, static_cast<int>(seed + length) - 1, 1);
    std::reverse(accepted.begin(), accepted.end());
    const int left = Grow(strips, accepted, static_cast<int>(seed), -1);
    return {left, right};
}

} // namespace

cv::Mat FindPatternArea(const cv::Mat& image, bool findMargins)
{
    cv::Mat area = cv::Mat::ones(image.size(), CV_8U);
    if (findMargins && std::min(image.cols, image.rows) >= nCell)
    {
        const std::vector<Descriptor> strips = DescribeStrips(image);
        const auto [left, right] = FindStrips(strips);
        // The last strip takes the columns that make no whole one.
        const int end = right + 1 == static_cast<int>(strips.size()) ? image.cols : (right + 1) * nCell;
        area.colRange(0, left * nCell).setTo(0);
        area.colRange(end, image.cols).setTo(0);
    }
    cv::Mat flat = (image >= fBlownOut) | (image <= fEmpty);
    if (cv::countNonZero(flat) >= nFlatSide * nFlatSide)
    {
        cv::morphologyEx(flat, flat, cv::MORPH_OPEN, cv::Mat::ones(nFlatSide, nFlatSide, CV_8U), {-1, -1}, 1,
                         cv::BORDER_REPLICATE);
        area.setTo(0, flat);
    }
    return area;
}

} // namespace narvo
