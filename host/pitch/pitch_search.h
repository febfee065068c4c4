// SPDX-License-Identifier: MIT
// The search for the period of a pattern along x and y, with no starting value. What a recipe makes of the answer is
// in pitch_recipe.h.
#pragma once

#include <vector>

#include "host/image/grey_image.h"
#include "narvoassem/platform.h"

namespace narvo
{

/// A displacement at which the image resembles itself.
struct PitchPeak
{
    double pitch = 0.0;    ///< pixels
    double strength = 0.0; ///< correlation of the image with itself there, up to 1
};

/// What was found along one axis.
struct AxisPitch
{
    bool found = false;
    double pitch = 0.0;      ///< pixels, as measured
    int sixteenths = 0;      ///< the pitch to the nearest 1/16 pixel, the engine's own unit
    int periods = 0;         ///< periods that the measured length spans
    double confidence = 0.0; ///< least correlation at one, two and three pitches, 0 .. 1
    PitchPeak runnerUp;      ///< strongest period that is no multiple of the pitch; strength 0: there is none
    /// Cost of every displacement in steps of 1/16 pixel from 0 on: mean square of the differences over that of
    /// unrelated values; 0 is the same, 1 unrelated, 2 the opposite.
    std::vector<float> cost;
};

struct PitchResult
{
    AxisPitch x;
    AxisPitch y;
};

/// Shortest period that the search can distinguish from the blur of a single edge, pixels.
constexpr double dPitchSearchLow = 3.0;
/// The longest is the region's side over this.
constexpr double dPitchSearchShare = 3.0;
/// Shortest side of a region, pixels.
constexpr int nPitchSearchSide = 64;
/// A period counts as found from this confidence on.
constexpr double dPitchConfidenceLow = 0.3;

/// Searches a region, which must lie inside the image. @throws HostError when it does not, or is too small
PitchResult SearchPitch(const GreyView& image, const CRect& region);

} // namespace narvo
