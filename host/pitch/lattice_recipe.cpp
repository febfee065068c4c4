// SPDX-License-Identifier: MIT
// Vectors as recipe fields.
#include "host/pitch/lattice_recipe.h"

#include <cmath>
#include <utility>

namespace narvo
{

namespace
{

constexpr int nLeastBlob = 5; // pixels: fewer are noise at a border of the pattern

double Hundredths(double value)
{
    return std::round(value * 100.0) / 100.0 + 0.0; // no -0
}

} // namespace

void SetLattice(const Lattice& lattice, Recipe& recipe)
{
    recipe.latticeAX = Hundredths(lattice.vectors[0].x);
    recipe.latticeAY = Hundredths(lattice.vectors[0].y);
    const LatticeVector second = lattice.vectors.size() > 1 ? lattice.vectors[1] : LatticeVector();
    recipe.latticeBX = Hundredths(second.x);
    recipe.latticeBY = Hundredths(second.y);
}

CheckedRecipe MakeLatticeRecipe(const GreyView& image, const CRect& region, const LatticeSearch& found)
{
    Recipe recipe;
    recipe.mode = Mode_Lattice;
    if (region != CRect(0, 0, image.Width(), image.Height()))
        recipe.region = region;
    recipe.minArea = nLeastBlob;
    SetLattice(found.lattice, recipe);
    return CheckedRecipe(std::move(recipe));
}

} // namespace narvo
