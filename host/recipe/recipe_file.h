// SPDX-License-Identifier: MIT
// The recipe's JSON form and its files: what reads gives checked recipes, what is written reads back alike.
#pragma once

#include <cstddef>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "host/image/grey_image.h"
#include "host/limits.h"
#include "host/recipe/checked_recipe.h"
#include "host/recipe/recipe.h"

namespace narvo
{

/// What a host holds in memory beside the JSON form: painted cells in place of files, and whole-region maps.
struct RecipeImages
{
    std::optional<GreyImage> zoneImage;
    std::optional<GreyImage> classImage;
    std::shared_ptr<const RegionMaps> maps;
    std::optional<GreyImage> deadImage;
    std::optional<FieldImage> flatField;
    std::optional<FieldImage> darkField;
    const Recipe* earlier = nullptr; ///< a region whose fields are taken over where the same files are named

    bool IsEmpty() const
    {
        return !zoneImage && !classImage && !deadImage && maps == nullptr && !flatField && !darkField;
    }
};

/// Reads a recipe of one region from JSON. Image files that it names are looked up in `folder`, except those that are
/// `given`.
/// @throws HostError with all that is wrong: unknown, missing, ill-typed and out-of-range fields, broken rules
CheckedRecipe ParseRecipe(const nlohmann::json& document, const std::filesystem::path& folder, RecipeImages given = {});

/// Reads a recipe that may hold several regions: a list `regions` of objects, each with the fields in which its region
/// differs from the fields beside the list. Objects are laid over objects member by member, but for region and
/// margin_frame; null takes a field back. Without the list there is one region.
/// @throws HostError as ParseRecipe; problems of one region name it as regions[0].field
std::vector<CheckedRecipe> ParseRecipes(const nlohmann::json& document, const std::filesystem::path& folder);

/// JSON from its text; `name` says in problems what was read. @throws HostError when it is none, too long or nested
/// too deeply, or where an object holds a key twice
nlohmann::json ParseJsonText(const std::string& text, const std::string& name, std::size_t most = nRecipeByteLimit);

/// JSON from a file. @throws HostError as ParseJsonText, or when unreadable
nlohmann::json LoadRecipeDocument(const std::filesystem::path& file);

/// Reads a recipe file; image files are looked up beside it. @throws HostError as ParseRecipe, or when unreadable
CheckedRecipe LoadRecipe(const std::filesystem::path& file);

/// The same for a recipe of several regions. @throws HostError as ParseRecipes, or when unreadable
std::vector<CheckedRecipe> LoadRecipes(const std::filesystem::path& file);

/// How problems name a region among several: "regions[0].".
std::string RegionPrefix(std::size_t region);

/// The recipe with every field written out.
nlohmann::ordered_json RecipeToJson(const Recipe& recipe);

/// The same for several regions; one alone is written without a list.
nlohmann::ordered_json RecipesToJson(const std::vector<CheckedRecipe>& recipes);

/// Writes a recipe file; the images that it names are not written. @throws HostError when that fails
void SaveRecipe(const std::filesystem::path& file, const Recipe& recipe);

/// Writes a recipe file and beside it the images that the recipe holds, under the file's own name with ".zones.png",
/// ".classes.png", ".dead.png", ".flat_field.png" and ".dark_field.png" for its ending. @throws HostError when that
/// fails
void SaveRecipeWithImages(const std::filesystem::path& file, Recipe recipe);

/// The images that SaveRecipeWithImages would write beside such a file.
std::vector<std::filesystem::path> ImagesBeside(const std::filesystem::path& file, const Recipe& recipe);

/// One line for each field of the JSON form: name, unit, range, default, meaning.
std::string DescribeRecipeFields();

} // namespace narvo
