// SPDX-License-Identifier: MIT
// Choice of the points, and bilinear looks at the smoothed reference.
#include "host/golden/edge_points.h"

#include <algorithm>
#include <cmath>

#include <opencv2/imgproc.hpp>

namespace narvo
{

namespace
{

constexpr int nBlocksAcross = 20;      // blocks along the longer side
constexpr int nLeastBlock = 8;         // pixels
constexpr int nCell = 8;               // pixels, side of the chequerboard's cells
constexpr int nRim = 3;                // pixels that the smoothing reaches over the border
constexpr double dSmooth = 1.0;        // pixels, standard deviation
constexpr double dEvenShare = 0.5;     // points of a regular grid for each steep one
constexpr float dLeastGradient = 1.0F; // grey levels per pixel: below, there is no edge

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

EdgeLevel::EdgeLevel(const PictureLevel& level, std::size_t wanted) : m_level(level)
{
    const cv::Mat reference = Smooth(level.reference);
    cv::Mat gradientX;
    cv::Mat gradientY;
    const double perWhole = 0.125 / level.scale;
    cv::Sobel(reference, gradientX, CV_32F, 1, 0, 3, perWhole, 0.0, cv::BORDER_REPLICATE);
    cv::Sobel(reference, gradientY, CV_32F, 0, 1, 3, perWhole, 0.0, cv::BORDER_REPLICATE);
    cv::merge(std::vector<cv::Mat>{reference, gradientX, gradientY}, m_reference);

    const cv::Mat image = Smooth(level.image);
    const int longer = std::max(image.cols, image.rows);
    const int side = std::max(nLeastBlock, (longer + nBlocksAcross - 1) / nBlocksAcross);
    const int across = (image.cols + side - 1) / side;
    const int down = (image.rows + side - 1) / side;
    const std::size_t quota =
        std::max<std::size_t>(16, wanted / (static_cast<std::size_t>(across) * static_cast<std::size_t>(down)));
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

void EdgeLevel::LookAt(const RealPoint& place, std::size_t i, PointLook& look) const
{
    const auto px = static_cast<float>(m_level.FromWhole(place.x));
    const auto py = static_cast<float>(m_level.FromWhole(place.y));
    const bool inside = px >= nRim && py >= nRim && px < static_cast<float>(m_reference.cols - 1 - nRim) &&
                        py < static_cast<float>(m_reference.rows - 1 - nRim);
    look.inside[i] = inside ? 1 : 0;
    if (!inside)
    {
        look.value[i] = look.gradientX[i] = look.gradientY[i] = 0.0F;
        return;
    }
    const int x = static_cast<int>(px);
    const int y = static_cast<int>(py);
    const float fx = px - static_cast<float>(x);
    const float fy = py - static_cast<float>(y);
    const float* a = m_reference.ptr<float>(y) + static_cast<std::ptrdiff_t>(3) * x;
    const float* b = m_reference.ptr<float>(y + 1) + static_cast<std::ptrdiff_t>(3) * x;
    const auto mix = [&](int k)
    {
        const float upper = a[k] + fx * (a[k + 3] - a[k]);
        const float lower = b[k] + fx * (b[k + 3] - b[k]);
        return upper + fy * (lower - upper);
    };
    look.value[i] = mix(0);
    look.gradientX[i] = mix(1);
    look.gradientY[i] = mix(2);
}

} // namespace narvo
