// SPDX-License-Identifier: MIT
// The section's rows of the field table, apart from the others.
#include "host/recipe/image_section.h"

#include <algorithm>

#include <nlohmann/json.hpp>

#include "host/recipe/field_reader.h"
#include "host/recipe/recipe_fields.h"
#include "host/recipe/recipe_rules.h"

namespace narvo
{

using nlohmann::json;

namespace
{

/// The rows stand one behind the other.
std::span<const Field<Recipe>> ImageRows()
{
    const auto isOfImage = [](const Field<Recipe>& field) { return field.path.starts_with("image."); };
    const auto all = RecipeFields();
    const auto first = std::find_if(all.begin(), all.end(), isOfImage);
    const auto end = std::find_if_not(first, all.end(), isOfImage);
    return {first, end};
}

} // namespace

std::vector<Problem> CheckImageReading(const ImageReading& reading)
{
    Problems found;
    Recipe recipe;
    static_cast<ImageReading&>(recipe) = reading;
    CheckRanges(ImageRows(), Kind_Zone, recipe, "", found);
    if (found.empty())
        found = CheckCombination(reading);
    return found;
}

ImageReading ParseImageSection(const json& section, const std::filesystem::path& folder)
{
    Problems found;
    Recipe recipe;
    const json document = {{"image", section}};
    FieldReader<Recipe>(ImageRows(), {}, Kind_Zone, recipe, "", found)
        .Read(document, [](const std::string&, const json&) {});
    ThrowIfAny(std::move(found));
    LoadFields(recipe, folder);
    ThrowIfAny(CheckImageReading(recipe));
    return recipe;
}

int ImageWord(const std::string& path, const std::string& word, const std::string& name)
{
    Recipe recipe;
    const Field<Recipe>& field = *FindField(RecipeFields(), path, Kind_Zone);
    if (!Store(field, word, recipe))
        throw HostError({{name, word, AllowedText(field)}});
    return recipe.*std::get<Choice<Recipe>>(field.member).member;
}

} // namespace narvo
