// SPDX-License-Identifier: MIT
// Small scalar helpers of the plain reference kernels: 16-bit lanes, bounded image reads, dead zones. The kernels
// themselves are in the files beside this one.
#pragma once

#include <algorithm>
#include <cstdint>

#include "narvoassem/convparam.h"
#include "narvoassem/fast/call/kernel_call.h"

namespace narvo::test::reference
{

constexpr std::int64_t nStripWidth = 16;
constexpr std::int64_t nGroupWidth = 8;
constexpr int nTypeUnusable = 3; ///< hits of this type or more take no further part
constexpr short nTypeConsumed = 4;

/// The value kept to 16 bits, unsigned.
inline std::uint16_t Low16(std::int64_t nValue)
{
    return static_cast<std::uint16_t>(static_cast<std::uint64_t>(nValue) & 0xFFFFU);
}

/// The value kept to 16 bits, signed.
inline std::int16_t Signed16(std::int64_t nValue)
{
    return static_cast<std::int16_t>(Low16(nValue));
}

/// The value kept to 32 bits, signed.
inline std::int32_t Wrap32(std::int64_t nValue)
{
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(static_cast<std::uint64_t>(nValue)));
}

/// Rounded down to a multiple of 16, of 8.
inline std::int64_t FloorTo16(std::int64_t nValue)
{
    return nValue & ~std::int64_t{15};
}

inline std::int64_t FloorTo8(std::int64_t nValue)
{
    return nValue & ~std::int64_t{7};
}

/// A pixel by flat address. Where the image's height is known, a row outside counts as the nearest row first, then an
/// address outside as the nearest byte.
inline int ReadPixel(const engine::CImageView& image, std::int64_t x, std::int64_t y)
{
    if (image.nRows <= 0)
        return image.pPixels[y * image.nStride + x];
    y = std::clamp<std::int64_t>(y, 0, image.nRows - 1);
    const std::int64_t nFlat = std::clamp<std::int64_t>(y * image.nStride + x, 0, image.nRows * image.nStride - 1);
    return image.pPixels[nFlat];
}

/// The dead zones in use: those before the first empty one; a list without an empty one counts for none.
inline int CountDeadZones(const CConvParam& param)
{
    for (int i = 0; i < CConvParam::nDeadZoneLimit; i++)
        if (param.rtDeadZone[i].IsRectEmpty())
            return i;
    return 0;
}

inline bool IsInDeadZone(const CConvParam& param, int x, int y)
{
    for (int i = 0; i < CountDeadZones(param); i++)
    {
        const CRect& rt = param.rtDeadZone[i];
        if (rt.left <= x && x < rt.right && rt.top <= y && y < rt.bottom)
            return true;
    }
    return false;
}

} // namespace narvo::test::reference
