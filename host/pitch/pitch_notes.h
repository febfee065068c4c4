// SPDX-License-Identifier: MIT
// What a person should know of a found pitch, and of the recipe made from it, before relying on them.
#pragma once

#include <string>
#include <vector>

#include "host/image/grey_image.h"
#include "host/pitch/pitch_search.h"
#include "host/recipe/checked_recipe.h"

namespace narvo
{

/// Sentences, none where all is well: a shorter period that repeats the image nearly as well as the found one, and
/// sides of the region that show no pattern.
std::vector<std::string> NotesOnPitch(const GreyView& image, const CRect& region, const PitchResult& pitch);

/// The same for a recipe: whether it reports much of the image that it was made from.
std::vector<std::string> NotesOnRecipe(const GreyView& image, const CheckedRecipe& recipe);

} // namespace narvo
