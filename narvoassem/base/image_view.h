// SPDX-License-Identifier: MIT
// A grey image as a kernel sees it.
#pragma once

#include <cstdint>
#include <limits>

namespace narvo::engine
{

/// nRows is the image's height where it is known (calls through the engine): reads outside follow the rule of
/// image_read.h then, and none leaves the image's bytes. 0 where the caller is responsible for bounds (direct calls):
/// reads are not bounded then.
struct CImageView
{
    const std::uint8_t* pPixels = nullptr;
    std::int64_t nStride = 0; ///< bytes per row
    std::int64_t nRows = 0;   ///< rows, or 0 where unknown
    /// Rows outside these read as 0: kernels that fill a strip buffer know only the region's rows.
    std::int64_t nFilledTop = std::numeric_limits<std::int64_t>::min();
    std::int64_t nFilledBottom = std::numeric_limits<std::int64_t>::max();

    bool IsFilled(std::int64_t y) const { return nFilledTop <= y && y < nFilledBottom; }
};

} // namespace narvo::engine
