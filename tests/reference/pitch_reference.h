// SPDX-License-Identifier: MIT
// The pitch search again: one candidate, one pixel at a time.
#pragma once

#include <cstdint>

namespace narvo::test
{

/// What a search found; nothing when no candidate ran.
struct CPitchFound
{
    bool bFound = false;
    std::int64_t nColumn = 0; ///< column displacement, or the only one searched
    std::int64_t nRow = 0;
    int nStatus = -1; ///< of the bounded search
};

struct CPitchImage
{
    const std::uint8_t* pImage;
    std::int64_t nStride;
};

CPitchFound SearchRowReference(const CPitchImage& image, std::int64_t nLow, std::int64_t nHigh, int x0, int y0,
                               int nWidth, int nHeight, int nNoise);
CPitchFound SearchColumnReference(const CPitchImage& image, std::int64_t nLow, std::int64_t nHigh, int x0, int y0,
                                  int nWidth, int nHeight, int nNoise);
/// nImageHeight below 0: no bounds.
CPitchFound SearchBoxReference(const CPitchImage& image, int nColumnLow, int nColumnHigh, int nRowLow, int nRowHigh,
                               int x0, int x1, int y0, int y1, int nImageHeight);

} // namespace narvo::test
