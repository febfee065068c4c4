// SPDX-License-Identifier: MIT
// The finder of binarise mode: which pixels of a row lie in a grey band, in wide vectors.
#pragma once

#include <cstdint>

namespace narvo::engine
{

/// Tests nCount pixels, a multiple of 16, for nFirst <= grey < nFirst + nGrays (nGrays 1 to 254), and calls
/// pHits(pContext, x, nBits) from left to right for groups of 16 pixels that hold a hit, bit i for pixel x + i, until
/// it gives 0. @return 1, or 0 when pHits stopped the row
int FindBandPixels(const std::uint8_t* pPixels, std::int64_t nCount, int nFirst, int nGrays,
                   int (*pHits)(void* pContext, std::int64_t x, std::uint32_t nBits), void* pContext);

} // namespace narvo::engine
