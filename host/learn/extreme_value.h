// SPDX-License-Identifier: MIT
// Limits from largest values of good material, by the distribution that largest values follow.
#pragma once

#include <vector>

#include "host/learn/place_maxima.h"
#include "host/recipe/texture_settings.h"

namespace narvo
{

/// The value that a largest value exceeds `rate` times on average, or every other time where `rate` is above that, by a
/// Gumbel distribution fitted by moments to `values`, plus `confidence` standard errors of that. Two values at least.
double ExtremeLimit(const std::vector<double>& values, double rate, double confidence);

/// Fills in the limits of the features from good images with two places or more in all, so that an image stays without
/// a defect in all but `rate` of the cases: half of it for places inside, half beside margins. Where no image has
/// margins the limits there stay 0.
void SetLimits(const std::vector<const PlaceMaxima*>& good, double rate, std::vector<TextureFeature>& features);

} // namespace narvo
