// Reads of image rows and pixels by the rule for places outside the image: the nearest row counts, then the flat
// address stands (the first pixel of the next row is read as it is), then the image's first and last byte.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "narvoassem/fast/kernel_call.h"

namespace narvo
{

/// One pixel. Without a known height the address is read as it is.
inline std::uint8_t ReadPixel(const CImageView& image, std::int64_t x, std::int64_t y)
{
    if (!image.IsFilled(y))
        return 0;
    if (image.nRows == 0)
        return image.pPixels[y * image.nStride + x];
    const std::int64_t nAddress = std::clamp<std::int64_t>(y, 0, image.nRows - 1) * image.nStride + x;
    return image.pPixels[std::clamp<std::int64_t>(nAddress, 0, image.nRows * image.nStride - 1)];
}

/// Address of nCount pixels from (x, y) on: in the image itself where they all lie inside it, otherwise a copy in
/// pCopy, which has room for nCount.
inline const std::uint8_t* ReadRow(const CImageView& image, std::int64_t x, std::int64_t y, std::int64_t nCount,
                                   std::uint8_t* pCopy)
{
    if (nCount <= 0)
        return pCopy; // empty regions come without an image, too
    if (!image.IsFilled(y))
    {
        std::memset(pCopy, 0, static_cast<std::size_t>(nCount));
        return pCopy;
    }
    if (image.nRows == 0)
        return image.pPixels + y * image.nStride + x;
    const std::int64_t nFirst = std::clamp<std::int64_t>(y, 0, image.nRows - 1) * image.nStride + x;
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

} // namespace narvo
