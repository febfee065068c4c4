// SPDX-License-Identifier: MIT
// Images of made-up cases: patterns with a period, noise from the pool, spots.
#pragma once

#include <cstdint>

#include "soak/case_source.h"

namespace narvo::test
{

struct CImageOrder
{
    int nWidth = 0;
    int nHeight = 0;
    int nPeriod16 = 0; ///< of the pattern, 1/16 pixel, at least 16
    bool bAlongY = false;
    bool bFlat = false; ///< one grey value throughout: every pitch fits
    int nMostSpots = 0;
    /// Where no spots may be: nQuietCount columns in steps of nQuietStep from nQuietFirst on, and 64 pixels
    /// round each. No such columns with nQuietCount 0.
    int nQuietFirst = 0;
    int nQuietStep = 0;
    int nQuietCount = 0;
};

/// Fills nWidth * nHeight pixels.
void FillCaseImage(CCaseSource& source, const CImageOrder& order, std::uint8_t* pPixels);

/// Noise of all grey values.
void FillWithNoise(CCaseSource& source, std::uint8_t* pPixels, int nWidth, int nHeight);

} // namespace narvo::test
