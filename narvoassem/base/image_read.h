// SPDX-License-Identifier: MIT
// Reads of an image, and the rule for places outside it: the nearest row is used, then the flat address (the last
// pixel of a row is followed by the first one of the next row), limited to the image's first and last byte.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "narvoassem/base/image_view.h"

namespace narvo::engine
{

/// The row of an image of nRows rows that row y counts as.
constexpr std::int64_t NearestRow(std::int64_t y, std::int64_t nRows)
{
    return std::clamp<std::int64_t>(y, 0, nRows - 1);
}

/// Address of (x, y) in an image of nRows rows, nStride bytes apart, whose last byte is nLast.
constexpr std::int64_t NearestAddress(std::int64_t x, std::int64_t y, std::int64_t nStride, std::int64_t nRows,
                                      std::int64_t nLast)
{
    return std::clamp<std::int64_t>(NearestRow(y, nRows) * nStride + x, 0, nLast);
}

/// One pixel.
inline std::uint8_t ReadPixel(const CImageView& image, std::int64_t x, std::int64_t y)
{
    if (!image.IsFilled(y))
        return 0;
    if (image.nRows == 0)
        return image.pPixels[y * image.nStride + x];
    return image.pPixels[NearestAddress(x, y, image.nStride, image.nRows, image.nRows * image.nStride - 1)];
}

/// Whether nCount pixels from (x, y) on are read at their flat address, without a copy.
inline bool IsRowInside(const CImageView& image, std::int64_t x, std::int64_t y, std::int64_t nCount)
{
    if (!image.IsFilled(y) || image.nRows == 0)
        return image.IsFilled(y);
    const std::int64_t nFirst = y * image.nStride + x;
    return 0 <= y && y < image.nRows && nFirst >= 0 && nFirst + nCount <= image.nRows * image.nStride;
}

/// Address of nCount pixels from (x, y) on: in the image itself where they all lie inside it, otherwise a copy in
/// pCopy, which has room for nCount.
inline const std::uint8_t* ReadRow(const CImageView& image, std::int64_t x, std::int64_t y, std::int64_t nCount,
                                   std::uint8_t* pCopy)
{
    if (nCount <= 0)
        return pCopy; // empty regions can come without an image
    if (!image.IsFilled(y))
    {
        std::memset(pCopy, 0, static_cast<std::size_t>(nCount));
        return pCopy;
    }
    if (image.nRows == 0)
        return image.pPixels + y * image.nStride + x;
    const std::int64_t nFirst = NearestRow(y, image.nRows) * image.nStride + x;
    const std::int64_t nEnd = image.nRows * image.nStride;
    if (nFirst >= 0 && nFirst + nCount <= nEnd)
        return image.pPixels + nFirst;
    const std::int64_t nBefore = std::clamp<std::int64_t>(-nFirst, 0, nCount);
    const std::int64_t nInside =
        std::clamp<std::int64_t>(nEnd - std::max<std::int64_t>(nFirst, 0), 0, nCount - nBefore);
    std::memset(pCopy, image.pPixels[0], static_cast<std::size_t>(nBefore));
    if (nInside > 0)
        std::memcpy(pCopy + nBefore, image.pPixels + nFirst + nBefore, static_cast<std::size_t>(nInside));
    std::memset(pCopy + nBefore + nInside, image.pPixels[nEnd - 1],
                static_cast<std::size_t>(nCount - nBefore - nInside));
    return pCopy;
}

} // namespace narvo::engine
