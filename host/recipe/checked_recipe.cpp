// SPDX-License-Identifier: MIT
// The step from a recipe to a checked one.
#include "host/recipe/checked_recipe.h"

#include <set>
#include <string>
#include <utility>

#include "host/recipe/recipe_check.h"
#include "host/recipe/recipe_file.h"

namespace narvo
{

CheckedRecipe::CheckedRecipe(Recipe recipe, std::vector<Problem> found)
{
    std::set<std::string> named;
    for (const Problem& problem : found)
        named.insert(problem.field);
    for (Problem& problem : CheckRecipe(recipe))
        if (!named.contains(problem.field))
            found.push_back(std::move(problem));
    ThrowIfAny(std::move(found));
    m_recipe = std::make_shared<const Recipe>(std::move(recipe));
}

std::vector<CheckedRecipe> CheckRecipes(std::vector<Recipe> recipes)
{
    std::vector<CheckedRecipe> checked;
    std::vector<Problem> found;
    for (std::size_t i = 0; i < recipes.size(); ++i)
        try
        {
            checked.emplace_back(std::move(recipes[i]));
        }
        catch (const HostError& error)
        {
            for (Problem problem : error.Problems())
            {
                if (recipes.size() > 1)
                    problem.field = RegionPrefix(i) + problem.field;
                found.push_back(std::move(problem));
            }
        }
    ThrowIfAny(std::move(found));
    return checked;
}

} // namespace narvo
