// SPDX-License-Identifier: MIT
// A first recipe for a pattern that compares with too few neighbours along x or y: too large for three periods in the
// image, or turned.
#pragma once

#include "host/image/grey_image.h"
#include "host/lattice/lattice_search.h"
#include "host/recipe/checked_recipe.h"
#include "host/recipe/recipe.h"
#include "narvoassem/platform.h"

namespace narvo
{

/// Writes the vectors into a recipe, in hundredths of a pixel.
void SetLattice(const Lattice& lattice, Recipe& recipe);

/// Lattice mode over a region of an image, the whole of it or a part, with the vectors found there and a threshold from
/// each image's noise. The search must have found some.
CheckedRecipe MakeLatticeRecipe(const GreyView& image, const CRect& region, const LatticeSearch& found);

} // namespace narvo
