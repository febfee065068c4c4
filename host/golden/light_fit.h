// SPDX-License-Identifier: MIT
// Light: how an image's grey levels follow from those of the registered reference, by a gain and an offset for the
// whole image and slow changes of both over it.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "host/image/grey_image.h"

namespace narvo
{

/// Gain and offset at a place: an image shows gain * reference + offset.
struct LightAt
{
    double gain = 1.0;
    double offset = 0.0; ///< grey levels
};

/// Light over an image.
struct Light
{
    LightAt whole;
    /// On a grid of nodes, bilinear in between; empty where the light does not change over the image.
    int spacing = 0; ///< pixels between nodes, the first at pixel 0, 0
    int columns = 0;
    int rows = 0;
    std::vector<LightAt> nodes;

    bool IsUniform() const { return nodes.empty(); }
    /// `pixels`, one row of a picture that lies as the image does, under this light. In place.
    void Apply(int y, std::uint8_t* pixels, int width) const;
    /// A whole picture that lies as the image does, under this light. In place.
    void Apply(GreyImage& picture) const;

private:
    std::array<std::uint8_t, 256> Table() const;
};

/// Fits the light robustly to the pixels where `inside` is not 0: differences that most pixels do not share, such as
/// defects and edges that lie elsewhere, hardly count. Slow changes are taken in where they explain the image better by
/// more than the scatter of its parts.
Light FitLight(const GreyImage& reference, const GreyImage& image, const GreyImage& inside);

} // namespace narvo
