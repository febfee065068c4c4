// SPDX-License-Identifier: MIT
// From the text of a recipe to the cells of its regions.
#include "host/lot/lot_cells.h"

#include <initializer_list>

#include <nlohmann/json.hpp>

#include "host/cell/pattern_cell.h"
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
                regions[i].cell = CellOf(*recipes[i], regions[i].noCell);
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
