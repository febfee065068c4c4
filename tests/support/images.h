// SPDX-License-Identifier: MIT
// Test images: flat, random, and periodic with seeded defects.
#pragma once

#include <cstdint>

#include "support/random.h"

namespace narvo::test
{

/// Fills an image of nWidth by nHeight (stride nWidth) with one of several kinds chosen by the random source: flat,
/// nearly black, nearly white, uniform noise, flat with spots, or periodic along x or y with a little noise and spots.
/// nPeriodX and nPeriodY are the periods of the last kinds, in pixels; values below 1 count as 1.
void FillImage(CRandom& random, std::uint8_t* pPixels, int nWidth, int nHeight, int nPeriodX, int nPeriodY);

} // namespace narvo::test
