// SPDX-License-Identifier: MIT
// The vectors of lattice mode: long enough, and two that do not lie in one line.
#include <string>

#include "host/lattice/lattice.h"
#include "host/recipe/recipe_rules.h"

namespace narvo
{

void CheckLattice(const Recipe& recipe, Problems& found)
{
    constexpr double dLeastAngleShare = 0.05; // of two vectors that span a lattice
    const LatticeVector a{recipe.latticeAX, recipe.latticeAY};
    const LatticeVector b{recipe.latticeBX, recipe.latticeBY};
    const auto text = [](const LatticeVector& vector)
    { return FormatNumber(vector.x) + ", " + FormatNumber(vector.y); };
    const auto check = [&](const char* field, const LatticeVector& vector)
    {
        Demand(vector.Length() == 0.0 || vector.Length() >= dLatticeVectorLow,
               {field, text(vector), "0, 0, or a length of at least " + FormatNumber(dLatticeVectorLow) + " pixels"},
               found);
    };
    check("lattice.a", a);
    check("lattice.b", b);
    Demand(a.Length() != 0.0 || b.Length() == 0.0,
           {"lattice.b", text(b), "0, 0 where lattice.a is 0, 0: both are measured then"}, found);
    Demand(a.Length() == 0.0 || b.Length() == 0.0 || AngleShare(a, b) >= dLeastAngleShare,
           {"lattice.b", text(b), "a direction other than that of lattice.a, " + text(a)}, found);
    Demand(recipe.latticeStrip == 0 || recipe.latticeStrip >= nLatticeStripLow,
           {"lattice.strip", std::to_string(recipe.latticeStrip),
            "0, or " + std::to_string(nLatticeStripLow) + " pixels or more"},
           found);
    Demand(recipe.latticeFlatten == 0 || recipe.latticeFlatten >= nLatticeFlattenLow,
           {"lattice.flatten", std::to_string(recipe.latticeFlatten),
            "0, or " + std::to_string(nLatticeFlattenLow) + " pixels or more"},
           found);
}

} // namespace narvo
