// SPDX-License-Identifier: MIT
// Recipes as files, and the images beside them.
#include <string>
#include <type_traits>

#include <nlohmann/json.hpp>

#include "host/file/input_file.h"
#include "host/file/output_file.h"
#include "host/limits.h"
#include "host/problem.h"
#include "host/recipe/recipe_file.h"
#include "host/recipe/recipe_json.h"

namespace narvo
{

using nlohmann::json;

json LoadRecipeDocument(const std::filesystem::path& file)
{
    const std::string name = "recipe " + file.string();
    return ParseJsonText(ReadShortFile(file, name, nRecipeByteLimit), name);
}

CheckedRecipe LoadRecipe(const std::filesystem::path& file)
{
    return ParseRecipe(LoadRecipeDocument(file), file.parent_path());
}

std::vector<CheckedRecipe> LoadRecipes(const std::filesystem::path& file)
{
    return ParseRecipes(LoadRecipeDocument(file), file.parent_path());
}

void SaveRecipe(const std::filesystem::path& file, const Recipe& recipe)
{
    std::string text;
    try
    {
        text = RecipeToJson(recipe).dump(2);
    }
    catch (const json::type_error&)
    {
        throw WriteError(file, "it names an image, and JSON cannot hold the name", "names in UTF-8");
    }
    WriteTextFile(file, text + "\n");
}

namespace
{

/// Calls `visit` with each image that a recipe holds, its file beside the recipe's, and the field that names it.
template <typename AnyRecipe, typename Visit>
void VisitImages(const std::filesystem::path& file, AnyRecipe& recipe, Visit visit)
{
    const auto take = [&](const auto& image, const char* ending, auto& name)
    {
        if (!image.IsEmpty())
            visit(image, std::filesystem::path(file).replace_extension(ending), name);
    };
    take(recipe.zoneImage, ".zones.png", recipe.zoneImageFile);
    take(recipe.classImage, ".classes.png", recipe.classImageFile);
    take(recipe.deadImage, ".dead.png", recipe.deadImageFile);
    take(recipe.fields.Flat(), ".flat_field.png", recipe.flatFieldFile);
    take(recipe.fields.Dark(), ".dark_field.png", recipe.darkFieldFile);
}

} // namespace

void SaveRecipeWithImages(const std::filesystem::path& file, Recipe recipe)
{
    VisitImages(file, recipe,
                [](const auto& image, const std::filesystem::path& beside, std::string& name)
                {
                    name = beside.filename().string();
                    if constexpr (std::is_same_v<std::decay_t<decltype(image)>, FieldImage>)
                        SaveFieldImage(beside, image);
                    else
                        SaveGreyImage(beside, image);
                });
    SaveRecipe(file, recipe);
}

std::vector<std::filesystem::path> ImagesBeside(const std::filesystem::path& file, const Recipe& recipe)
{
    std::vector<std::filesystem::path> images;
    VisitImages(file, recipe,
                [&](const auto&, const std::filesystem::path& beside, const std::string&)
                { images.push_back(beside); });
    return images;
}

} // namespace narvo
