// SPDX-License-Identifier: MIT
// The cell in which a recipe's pattern repeats.
#pragma once

#include <optional>
#include <string>

#include "host/lattice/lattice.h"
#include "host/recipe/recipe.h"

namespace narvo
{

struct PatternCell
{
    Lattice lattice;      ///< two vectors; along x and y unless the recipe gives a lattice
    double originX = 0.0; ///< where a cell begins, pixels of the image
    double originY = 0.0;
};

/// @return none where the recipe gives no cell, and in `reason` why
std::optional<PatternCell> CellOf(const Recipe& recipe, std::string& reason);

} // namespace narvo
