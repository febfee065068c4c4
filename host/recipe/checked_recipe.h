// SPDX-License-Identifier: MIT
// A recipe that has passed its checks, as a type: what takes one need not check again.
#pragma once

#include <memory>
#include <vector>

#include "host/problem.h"
#include "host/recipe/recipe.h"

namespace narvo
{

/// A valid recipe that nobody can change any more. Copies share it, so they cost no more than a pointer.
class CheckedRecipe
{
public:
    /// Checks the recipe. `found` holds what was wrong already when it was read; fields that it names are not reported
    /// twice.
    /// @throws HostError with `found` and all that CheckRecipe finds
    explicit CheckedRecipe(Recipe recipe, std::vector<Problem> found = {});

    const Recipe& operator*() const { return *m_recipe; }
    const Recipe* operator->() const { return m_recipe.get(); }
    operator const Recipe&() const { return *m_recipe; }

    /// Whether both are copies of one checked recipe. Different objects may still hold equal values.
    bool IsSameObject(const CheckedRecipe& other) const { return m_recipe == other.m_recipe; }

private:
    std::shared_ptr<const Recipe> m_recipe;
};

/// Checks the recipes of several regions; with more than one, problems are reported as regions[0].field.
/// @throws HostError with the problems of all
std::vector<CheckedRecipe> CheckRecipes(std::vector<Recipe> recipes);

} // namespace narvo
