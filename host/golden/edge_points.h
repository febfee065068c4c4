// SPDX-License-Identifier: MIT
// The places of an image by which it is registered: those with the steepest edges, a share from every block of the
// image, and some of a regular grid; and what a reference shows there under a map.
#pragma once

#include <cstdint>
#include <vector>

#include <opencv2/core.hpp>

#include "host/golden/picture_pyramid.h"
#include "host/golden/registration_map.h"

namespace narvo
{

/// Places of one level of an image, block by block. Coordinates are those of the whole image.
struct EdgePoints
{
    std::vector<float> x;
    std::vector<float> y;
    std::vector<float> value;          ///< grey level, smoothed
    std::vector<std::uint8_t> odd;     ///< of a chequerboard of cells: halves that hardly depend on each other
    std::vector<std::uint32_t> blocks; ///< where each block's points begin, and the end of the last one's

    std::size_t Size() const { return x.size(); }
    std::size_t Blocks() const { return blocks.size() - 1; }
};

/// What the reference shows at the points' places under a map.
struct PointLook
{
    std::vector<float> value;     ///< grey level, smoothed
    std::vector<float> gradientX; ///< per pixel of the whole reference
    std::vector<float> gradientY;
    std::vector<std::uint8_t> inside; ///< 0: the place lies outside the reference or close to its border
};

/// The image's points and the reference to look at, of one level.
class EdgeLevel
{
public:
    /// About `wanted` points where the image has as many.
    EdgeLevel(const PictureLevel& level, std::size_t wanted);

    const EdgePoints& Points() const { return m_points; }
    int Scale() const { return m_level.scale; }
    /// Looks at the reference at the place that `map` gives for each point's index.
    template <typename Map>
    void Look(const Map& map, PointLook& look) const
    {
        look.value.resize(m_points.Size());
        look.gradientX.resize(m_points.Size());
        look.gradientY.resize(m_points.Size());
        look.inside.resize(m_points.Size());
        for (std::size_t i = 0; i < m_points.Size(); ++i)
            LookAt(map(i), i, look);
    }

private:
    void LookAt(const RealPoint& place, std::size_t i, PointLook& look) const;

    static constexpr int nRim = 3; // pixels that the smoothing reaches over the border

    PictureLevel m_level;
    float m_perWhole;    ///< pixels of this level in one of the whole picture
    cv::Mat m_reference; ///< smoothed
    EdgePoints m_points;
};

inline void EdgeLevel::LookAt(const RealPoint& place, std::size_t i, PointLook& look) const
{
    const double first = 0.5 * (m_level.scale - 1);
    const auto px = static_cast<float>((place.x - first) * m_perWhole);
    const auto py = static_cast<float>((place.y - first) * m_perWhole);
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
    const float* a = m_reference.ptr<float>(y) + x;
    const float* b = m_reference.ptr<float>(y + 1) + x;
    // The slopes are those between the four pixels: smoothed, a picture hardly bends within a pixel.
    const float upper = a[1] - a[0];
    const float lower = b[1] - b[0];
    const float left = a[0] + fx * upper;
    const float down = b[0] + fx * lower - left;
    look.value[i] = left + fy * down;
    look.gradientX[i] = m_perWhole * (upper + fy * (lower - upper));
    look.gradientY[i] = m_perWhole * down;
}

} // namespace narvo
