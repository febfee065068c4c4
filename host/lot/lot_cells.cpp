// SPDX-License-Identifier: MIT
// From the text of a recipe to the cells of its regions.
#include "host/lot/lot_cells.h"

#include <cmath>
#include <initializer_list>
#include <utility>

#include <nlohmann/json.hpp>

#include "host/problem.h"
#include "host/recipe/recipe_file.h"

namespace narvo
{

namespace
{

/// A recipe without the images that it names, and what goes with them: its cells do not depend on either.
void RemoveImages(nlohmann::json& fields)
{
    if (!fields.is_object())
        return;
    fields.erase("dead_image");
    const auto remove = [&](const char* section, std::initializer_list<const char*> names)
    {
        if (const auto part = fields.find(section); part != fields.end() && part->is_object())
            for (const char* name : names)
                part->erase(name);
    };
    remove("zones", {"image", "class_image", "list", "skip"});
    remove("image", {"flat_field", "dark_field"});
    if (const auto regions = fields.find("regions"); regions != fields.end() && regions->is_array())
        for (nlohmann::json& region : *regions)
            RemoveImages(region);
}

/// The cell of one region, or why it has none.
void SetCell(const Recipe& recipe, LotRegion& region)
{
    constexpr double dLeastArea = 4.0;
    LotCell cell;
    if (recipe.mode == Mode_Lattice)
    {
        cell.lattice.vectors = {{recipe.latticeAX, recipe.latticeAY}, {recipe.latticeBX, recipe.latticeBY}};
        const auto& [a, b] = std::pair(cell.lattice.vectors[0], cell.lattice.vectors[1]);
        if (std::abs(a.x * b.y - a.y * b.x) < dLeastArea)
            region.noCell = "the recipe does not give both vectors of the lattice";
    }
    else if (!recipe.ComparesAtAPitch())
        region.noCell = "the recipe's mode has no pitch";
    else if (!recipe.scanPitches.empty() || !recipe.convPitches.empty() || !recipe.rowPitches.empty() ||
             !recipe.columnPitches.empty())
        region.noCell = "the recipe's pitch differs from place to place";
    else if (recipe.pitchX * recipe.pitchY < dLeastArea)
        region.noCell = "the recipe has no pitch along both axes";
    else
        cell = {{{{recipe.pitchX, 0.0}, {0.0, recipe.pitchY}}}, recipe.zoneOriginX, recipe.zoneOriginY};
    if (region.noCell.empty())
        region.cell = cell;
}

} // namespace

void ReadCells(const std::string& recipeText, std::vector<LotRegion>& regions)
{
    std::string reason;
    try
    {
        nlohmann::json document = ParseJsonText(recipeText, "the store's recipe");
        RemoveImages(document);
        const std::vector<CheckedRecipe> recipes = ParseRecipes(document, {});
        if (recipes.size() == regions.size())
        {
            for (std::size_t i = 0; i < regions.size(); ++i)
                SetCell(*recipes[i], regions[i]);
            return;
        }
        reason = "the store's recipe has other regions";
    }
    catch (const HostError& error)
    {
        reason = "the store's recipe is none that has a pitch: " + error.Problems().front().Text();
    }
    for (LotRegion& region : regions)
        region.noCell = reason;
}

} // namespace narvo
