// SPDX-License-Identifier: MIT
// An image that the caller holds in memory, as the host library reads it.
#pragma once

#include <cstddef>
#include <cstdint>

#include "narvo/host_export.h"

namespace narvo::v1
{

/// Where the pixels of a grey image lie. It owns nothing; the pixels must stay valid and unchanged during a call, and
/// no call keeps them. Every call that takes one checks it. 8-bit images without gaps between rows, whose width is a
/// multiple of 4, are read where they lie; all others are copied once for each call.
struct ImagePixels
{
    ImagePixels() = default;
    /// 8-bit pixels, `stride` bytes from row to row; 0: rows without gaps.
    ImagePixels(const std::uint8_t* first, int columns, int rows, std::ptrdiff_t rowBytes = 0)
        : pixels(first), width(columns), height(rows), stride(rowBytes)
    {
    }
    /// 16-bit pixels in the byte order of the machine, of which `usedBits` count, `stride` bytes from row to row.
    ImagePixels(const std::uint16_t* first, int columns, int rows, std::ptrdiff_t rowBytes = 0, int usedBits = 16)
        : pixels(first), width(columns), height(rows), stride(rowBytes), bits(usedBits)
    {
    }

    const void* pixels = nullptr; ///< upper left; of 16-bit images at an even address
    int width = 0;                ///< pixels, 1 .. 1048576
    int height = 0;               ///< pixels, 1 .. 1048576; width by height up to 1073741824
    std::ptrdiff_t stride = 0;    ///< bytes from row to row, at least a row's; even for 16-bit pixels; 0: no gaps
    int bits = 8;                 ///< 8: one byte a pixel; 9 .. 16: two bytes a pixel, values below 2 to that power
};

} // namespace narvo::v1
