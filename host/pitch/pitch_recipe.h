// SPDX-License-Identifier: MIT
// A first recipe for a pattern whose pitch was found: zones and thresholds from what good places of the image leave as
// differences.
#pragma once

#include "host/image/grey_image.h"
#include "host/pitch/pitch_search.h"
#include "host/recipe/checked_recipe.h"
#include "narvoassem/platform.h"

namespace narvo
{

/// Zone comparison along y where a period was found there, along x otherwise; an axis without a period takes the
/// other's pitch. Pitches are whole sixteenths. Every place of the pattern's cell gets the zone that suits the
/// differences from one period to the next there; rare ones, which may be defects, do not count. The name of the zone
/// image's file is left empty. At least one axis must have been found.
/// @throws HostError when no valid recipe comes of it
CheckedRecipe MakePitchRecipe(const GreyView& image, const CRect& region, const PitchResult& pitch);

} // namespace narvo
