// SPDX-License-Identifier: MIT
// The period of a pattern, found in an image with no starting value, and a first recipe that follows from it.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "narvo/host_inspector.h"

namespace narvo::v1
{

/// What was found along one axis.
struct PitchAxis
{
    bool found = false;         ///< a period was found; otherwise the rest is 0
    double pitch = 0.0;         ///< to the nearest 1/16 pixel, which recipes take; pixels
    double measured = 0.0;      ///< as measured, pixels
    int periods = 0;            ///< periods that the measured length spans
    double confidence = 0.0;    ///< least correlation of the image with itself at one, two and three pitches, 0 .. 1
    double otherPitch = 0.0;    ///< strongest other period that is no multiple, pixels; 0: there is none
    double otherStrength = 0.0; ///< correlation of the image with itself there, up to 1
};

/// What a search proposes.
struct PitchProposal
{
    PitchAxis x; ///< along x
    PitchAxis y; ///< along y
    /// None where the region shows no pattern that repeats: zone mode with zones and thresholds from the
    /// image where an axis has a period; lattice mode where the pattern is turned, or too large for three periods.
    std::optional<Recipe> recipe;
    std::vector<std::string> notes; ///< sentences: what to know before relying on it; none where all is well
};

/// Searches the whole image, whose sides are 64 pixels or more; periods from 3 pixels to a third of a side. Of images
/// of more than 8 bits, the whole range that `bits` says becomes 8-bit grey, as the proposed recipe does it.
/// @throws Error when the image is not valid or too small
NARVOHOST_API PitchProposal ProposeRecipe(const ImagePixels& image);
/// The same in a part of the image, whose sides are 64 pixels or more. The recipe inspects whole images.
/// @throws Error also when the region is not inside the image
NARVOHOST_API PitchProposal ProposeRecipe(const ImagePixels& image, const Box& region);

} // namespace narvo::v1
