// SPDX-License-Identifier: MIT
// The cell in which the pattern of each region repeats, from the recipe.
#pragma once

#include <string>
#include <vector>

#include "host/lot/lot_records.h"

namespace narvo
{

/// The cells of a recipe's regions, from its text as a store keeps it; the images that it names are not needed. Where a
/// region has none, or the text is no recipe, LotRegion::noCell says why. Boxes and areas are left alone.
void ReadCells(const std::string& recipeText, std::vector<LotRegion>& regions);

} // namespace narvo
