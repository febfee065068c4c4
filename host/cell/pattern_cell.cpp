// SPDX-License-Identifier: MIT
// See pattern_cell.h.
#include "host/cell/pattern_cell.h"

#include <cmath>

namespace narvo
{

std::optional<PatternCell> CellOf(const Recipe& recipe, std::string& reason)
{
    constexpr double dLeastArea = 4.0;
    reason.clear();
    PatternCell cell;
    if (recipe.mode == Mode_Lattice)
    {
        const LatticeVector a{recipe.latticeAX, recipe.latticeAY};
        const LatticeVector b{recipe.latticeBX, recipe.latticeBY};
        cell.lattice.vectors = {a, b};
        if (std::abs(a.x * b.y - a.y * b.x) < dLeastArea)
            reason = "the recipe does not give both vectors of the lattice";
    }
    else if (!recipe.ComparesAtAPitch())
        reason = "the recipe's mode has no pitch";
    else if (!recipe.scanPitches.empty() || !recipe.convPitches.empty() || !recipe.rowPitches.empty() ||
             !recipe.columnPitches.empty())
        reason = "the recipe's pitch differs from place to place";
    else if (recipe.pitchX * recipe.pitchY < dLeastArea)
        reason = "the recipe has no pitch along both axes";
    else
        cell = {{{{recipe.pitchX, 0.0}, {0.0, recipe.pitchY}}}, recipe.zoneOriginX, recipe.zoneOriginY};
    return reason.empty() ? std::optional(cell) : std::nullopt;
}

} // namespace narvo
