// SPDX-License-Identifier: MIT
// A recipe as JSON, with every field shown.
#include <span>
#include <string>
#include <string_view>
#include <variant>

#include <nlohmann/json.hpp>

#include "host/recipe/recipe_fields.h"
#include "host/recipe/recipe_json.h"
#include "host/rect_json.h"

namespace narvo
{

using nlohmann::ordered_json;

namespace
{

/// The member of a dotted path, made on the way.
ordered_json& Place(ordered_json& document, std::string_view path)
{
    ordered_json* place = &document;
    for (std::size_t dot = path.find('.'); dot != std::string_view::npos; dot = path.find('.'))
    {
        place = &(*place)[std::string(path.substr(0, dot))];
        path.remove_prefix(dot + 1);
    }
    return (*place)[std::string(path)];
}

template <typename Owner>
void WriteFields(std::span<const Field<Owner>> fields, const Owner& owner, ordered_json& document)
{
    for (const Field<Owner>& field : fields)
    {
        ordered_json& target = Place(document, field.path);
        std::visit(
            [&](const auto& member)
            {
                if constexpr (std::is_same_v<std::decay_t<decltype(member)>, Choice<Owner>>)
                    target = ValueText(field, owner);
                else
                    target = owner.*member;
            },
            field.member);
    }
}

} // namespace

ordered_json RecipeToJson(const Recipe& recipe)
{
    ordered_json document;
    WriteFields(RecipeFields(), recipe, document);
    const std::string_view shape = RegionShapeWords()[static_cast<std::size_t>(recipe.regionShape)];
    if (recipe.regionShape != RegionShape_Rectangle)
    {
        ordered_json& region = document[szRegion];
        region["shape"] = shape;
        region["points"] = ordered_json::array();
        for (const CPoint& point : recipe.regionPoints)
            region["points"].push_back({point.x, point.y});
        if (recipe.regionColumns)
            region["columns"] = {recipe.regionColumns->first, recipe.regionColumns->second};
    }
    else if (recipe.region)
    {
        document[szRegion] = {{"shape", shape}};
        document[szRegion].update(RectToJson(*recipe.region));
    }
    if (recipe.marginFrame)
        document[szMarginFrame] = RectToJson(*recipe.marginFrame);
    ordered_json& cameraFeatures = Place(document, szCameraFeatures) = ordered_json::array();
    for (const CameraFeature& feature : recipe.cameraFeatures)
        std::visit([&](const auto& value) { cameraFeatures.push_back({{feature.name, value}}); }, feature.value);
    document[szDeadZones] = ordered_json::array();
    for (const CRect& rect : recipe.deadZones)
        document[szDeadZones].push_back(RectToJson(rect));
    for (const TableField& table : TableFields())
        Place(document, table.path) = recipe.*table.member;
    ordered_json& list = document["zones"]["list"] = ordered_json::array();
    for (const ZoneSettings& zone : recipe.zones)
    {
        ordered_json& entry = list.emplace_back();
        WriteFields(ZoneFields(), zone, entry);
        ordered_json& checks = entry["verify"]["checks"] = ordered_json::array();
        for (const VerifyCheck& check : zone.verifyChecks)
            checks.push_back(
                {{"along", VerifyAlongWords()[static_cast<std::size_t>(check.along)]}, {"cycles", check.cycles}});
    }
    ordered_json& skip = document["zones"]["skip"] = ordered_json::array();
    for (const auto& [column, row] : recipe.skippedCells)
        skip.push_back({column, row});
    if (recipe.GetKind() == Kind_Texture)
    {
        ordered_json& features = document["texture"]["features"] = ordered_json::array();
        for (const TextureFeature& feature : recipe.textureFeatures)
            WriteFields(TextureFields(), feature, features.emplace_back());
    }
    return document;
}

ordered_json RecipesToJson(const std::vector<CheckedRecipe>& recipes)
{
    if (recipes.size() == 1)
        return RecipeToJson(recipes.front());
    ordered_json document = {{"version", nRecipeVersion}, {szRegions, ordered_json::array()}};
    for (const Recipe& recipe : recipes)
    {
        ordered_json region = RecipeToJson(recipe);
        region.erase("version");
        document[szRegions].push_back(std::move(region));
    }
    return document;
}

} // namespace narvo
