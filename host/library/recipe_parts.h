// SPDX-License-Identifier: MIT
// What a recipe of the host library holds.
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "host/inspect/plan_keeper.h"
#include "host/recipe/checked_recipe.h"
#include "narvo/host_recipe.h"

namespace narvo::v1
{

/// Regions, and the plan of each for the size that was inspected last.
struct Recipe::Parts
{
    explicit Parts(std::vector<CheckedRecipe> checked) : regions(std::move(checked)), plans(regions.size()) {}

    std::vector<CheckedRecipe> regions;
    mutable std::vector<PlanKeeper> plans; ///< as many, each locked by itself
};

} // namespace narvo::v1

namespace narvo::library
{

/// @throws HostError for a region that the recipe does not have
const CheckedRecipe& RegionOf(const v1::Recipe& recipe, std::size_t region);

/// Red, green, blue as blue, green, red, or the other way.
void TurnColours(FieldImage& field);

inline v1::Recipe MakeRecipe(std::vector<CheckedRecipe> regions)
{
    return v1::Recipe(std::make_shared<const v1::Recipe::Parts>(std::move(regions)));
}

} // namespace narvo::library
