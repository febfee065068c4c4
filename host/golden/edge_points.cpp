// SPDX-License-Identifier: MIT
// Choice of the points, and bilinear looks at the smoothed reference and its slopes.
#include "host/golden/edge_points.h"

#include <algorithm>
#include <cmath>

#include <opencv2/imgproc.hpp>

namespace narvo
{

namespace
{

constexpr int nBlocksAcross = 20;       // blocks along the longer side
constexpr std::size_t nLeastQuota = 16; // steep points of a block
constexpr int nLeastBlock = 8;          // pixels
constexpr int nCell = 8;                // pixels, side of the chequerboard's cells
constexpr double dSmooth = 1.0;         // pixels, standard deviation
constexpr double dEvenShare = 0.5;      // points of a regular grid for each steep one
constexpr float dLeastGradient = 1.0F;  // grey levels per pixel: below, there is no edge

cv::Mat Smooth(const cv::Mat& picture)
{
    cv::Mat smooth;
    picture.convertTo(smooth, CV_32F);
    cv::GaussianBlur(smooth, smooth, {5, 5}, dSmooth, dSmooth, cv::BORDER_REPLICATE);
    return smooth;
}

struct Candidate
{
    float strength;
    int x;
    int y;
};

/// Steepest first; a tie goes by place, so that the choice is the same everywhere.
bool IsSteeper(const Candidate& a, const Candidate& b)
{
    if (a.strength != b.strength)
        return a.strength > b.strength;
    return a.y != b.y ? a.y < b.y : a.x < b.x;
}

} // namespace

EdgeLevel::EdgeLevel(const PictureLevel& level, std::size_t wanted)
    : m_level(level), m_perWhole(1.0F / static_cast<float>(level.scale)), m_reference(Smooth(level.reference))
{
    const cv::Mat image = Smooth(level.image);
    const int longer = std::max(image.cols, image.rows);
    const int side = std::max(nLeastBlock, (longer + nBlocksAcross - 1) / nBlocksAcross);
    const int across = (image.cols + side - 1) / side;
    const int down = (image.rows + side - 1) / side;
    const std::size_t quota = std::max<std::size_t>(
        nLeastQuota, wanted / (static_cast<std::size_t>(across) * static_cast<std::size_t>(down)));
    const int grid = std::max(2, static_cast<int>(side / std::sqrt(dEvenShare * static_cast<double>(quota))));
    std::vector<Candidate> candidates;
    std::vector<Candidate> even;
    for (int row = 0; row < down; ++row)
        for (int column = 0; column < across; ++column)
        {
            candidates.clear();
            even.clear();
            const int right = std::min((column + 1) * side, image.cols - nRim);
            const int bottom = std::min((row + 1) * side, image.rows - nRim);
            for (int y = std::max(row * side, nRim); y < bottom; ++y)
            {
                const float* above = image.ptr<float>(y - 1);
                const float* line = image.ptr<float>(y);
                const float* below = image.ptr<float>(y + 1);
                for (int x = std::max(column * side, nRim); x < right; ++x)
                {
                    const float gx = 0.5F * (line[x + 1] - line[x - 1]);
                    const float gy = 0.5F * (below[x] - above[x]);
                    const float strength = gx * gx + gy * gy;
                    // Pixels of a grid, steep or not, separate light from displacement.
                    if (x % grid == 0 && y % grid == 0)
                        even.push_back({strength, x, y});
                    else if (strength >= dLeastGradient * dLeastGradient)
                        candidates.push_back({strength, x, y});
                }
            }
            if (candidates.empty())
                continue;
            if (candidates.size() > quota)
            {
                std::nth_element(candidates.begin(), candidates.begin() + static_cast<std::ptrdiff_t>(quota),
                                 candidates.end(), IsSteeper);
                candidates.resize(quota);
            }
            candidates.insert(candidates.end(), even.begin(), even.end());
            std::sort(candidates.begin(), candidates.end(),
                      [](const Candidate& a, const Candidate& b) { return a.y != b.y ? a.y < b.y : a.x < b.x; });
            m_points.blocks.push_back(static_cast<std::uint32_t>(m_points.Size()));
            for (const Candidate& point : candidates)
            {
                m_points.x.push_back(static_cast<float>(level.ToWhole(point.x)));
                m_points.y.push_back(static_cast<float>(level.ToWhole(point.y)));
                m_points.value.push_back(image.at<float>(point.y, point.x));
                m_points.odd.push_back(static_cast<std::uint8_t>((point.x / nCell + point.y / nCell) & 1));
            }
        }
    m_points.blocks.push_back(static_cast<std::uint32_t>(m_points.Size()));
}

} // namespace narvo
