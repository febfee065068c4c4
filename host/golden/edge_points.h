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

    PictureLevel m_level;
    cv::Mat m_reference; ///< value, gradients along x and y, interleaved
    EdgePoints m_points;
};

} // namespace narvo
