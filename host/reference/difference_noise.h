// SPDX-License-Identifier: MIT
// The noise of an image against the registered reference, and the threshold that follows from it.
#pragma once

#include "host/image/grey_image.h"
#include "host/reference/edge_tolerance.h"

namespace narvo
{

/// Grey levels that a difference must exceed.
struct NoiseThreshold
{
    double noise = 0.0; ///< standard deviation of common differences in flat places
    int flat = 0;       ///< threshold there
    int nearEdge = 0;   ///< threshold close to edges, where sharpening, blur and compression leave more
};

/// Looks at the differences where `inside` is not 0 and `range` is narrow, close to edges (`nearEdge` not 0) and away
/// from them. What differs most, as defects do, has no part in it.
NoiseThreshold ThresholdFromNoise(const GreyImage& reference, const GreyImage& image, const GreyRange& range,
                                  const GreyImage& nearEdge, const GreyImage& inside);

} // namespace narvo
