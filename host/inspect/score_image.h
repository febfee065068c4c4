// SPDX-License-Identifier: MIT
// How far each place of an image lies above its threshold, as one picture: what tells good images from bad ones by
// degree, where blobs only say yes or no.
#pragma once

#include <cstddef>
#include <vector>

namespace narvo
{

/// Scores place by place: 0 as good material typically is or better, 1 at the threshold, more beyond it. At places that
/// several scales look at, the largest counts. Places that are not inspected have 0.
struct ScoreImage
{
    int width = 0;  ///< places in a row
    int height = 0; ///< rows
    int step = 1;   ///< pixels of the image along one side of a place; the last column and row may be covered partly
    std::vector<float> values; ///< row by row

    /// The score at a pixel of the image.
    float At(int x, int y) const
    {
        return values[static_cast<std::size_t>(y / step) * static_cast<std::size_t>(width) +
                      static_cast<std::size_t>(x / step)];
    }
};

} // namespace narvo
