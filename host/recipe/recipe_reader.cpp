// SPDX-License-Identifier: MIT
// One region of a recipe from JSON.
#include <algorithm>
#include <cstdint>
#include <iterator>
#include <limits>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "host/limits.h"
#include "host/problem.h"
#include "host/recipe/field_reader.h"
#include "host/recipe/recipe_check.h"
#include "host/recipe/recipe_json.h"

namespace narvo
{

using nlohmann::json;

namespace
{

constexpr const char* szZoneList = "zones.list";
constexpr const char* szZoneSkip = "zones.skip";
constexpr const char* szTextureFeatures = "texture.features";

bool IsPair(const json& value)
{
    return value.is_array() && value.size() == 2 && FitsInt(value[0]) && FitsInt(value[1]);
}

/// Of the region object's members, `shape` is read elsewhere.
std::optional<CRect> ReadRect(const std::string& path, const json& value, bool withShape, Problems& found)
{
    static constexpr const char* sides[] = {"left", "top", "right", "bottom"};
    if (!value.is_object())
    {
        found.push_back({path, Shorten(value), "an object with left, top, right, bottom in pixels"});
        return std::nullopt;
    }
    int numbers[4] = {};
    bool complete = true;
    for (int i = 0; i < 4; ++i)
    {
        const auto side = value.find(sides[i]);
        if (side != value.end() && FitsInt(*side))
            numbers[i] = side->get<int>();
        else
        {
            complete = false;
            found.push_back(
                {path + "." + sides[i], side == value.end() ? "missing" : Shorten(*side), "whole number of pixels"});
        }
    }
    for (const auto& [key, member] : value.items())
    {
        if (withShape && key == "shape")
            continue;
        if (std::find(std::begin(sides), std::end(sides), key) == std::end(sides))
            found.push_back({path + "." + key, "unknown field",
                             withShape ? "one of shape, left, top, right, bottom" : "one of left, top, right, bottom"});
    }
    if (!complete)
        return std::nullopt;
    return CRect(numbers[0], numbers[1], numbers[2], numbers[3]);
}

void ReadRegion(const json& value, Recipe& recipe, Problems& found)
{
    const std::string path = szRegion;
    if (value.is_object() && value.contains("shape"))
    {
        const auto words = RegionShapeWords();
        const auto word =
            std::find(words.begin(), words.end(), value["shape"].is_string() ? value["shape"].get<std::string>() : "");
        if (word == words.end())
        {
            found.push_back({path + ".shape", Shorten(value["shape"]), "rectangle, trapezium or polygon"});
            return;
        }
        recipe.regionShape = static_cast<int>(word - words.begin());
    }
    if (recipe.regionShape == RegionShape_Rectangle)
    {
        recipe.region = ReadRect(path, value, true, found);
        return;
    }
    const bool withColumns = recipe.regionShape == RegionShape_Trapezium;
    for (const auto& [key, member] : value.items())
    {
        if (key == "points")
            ReadList(path + ".points", member, "corners", nCornerLimit, found,
                     [&](const std::string& entry, const json& corner)
                     {
                         if (IsPair(corner))
                             recipe.regionPoints.emplace_back(corner[0].get<int>(), corner[1].get<int>());
                         else
                             found.push_back({entry, Shorten(corner), "[x, y] in whole pixels"});
                     });
        else if (key == "columns" && withColumns)
        {
            if (IsPair(member))
                recipe.regionColumns = {member[0].get<int>(), member[1].get<int>()};
            else
                found.push_back({path + ".columns", Shorten(member), "[first, last] in whole pixels"});
        }
        else if (key != "shape")
            found.push_back({path + "." + key, "unknown field",
                             withColumns ? "one of shape, points, columns" : "one of shape, points"});
    }
}

void ReadVerifyChecks(const std::string& path, const json& value, ZoneSettings& zone, Problems& found)
{
    ReadList(path, value, "checks", nVerifyCheckLimit, found,
             [&](const std::string& entry, const json& member)
             {
                 const auto words = VerifyAlongWords();
                 if (!member.is_object())
                 {
                     found.push_back({entry, Shorten(member), "an object with along and cycles"});
                     return;
                 }
                 VerifyCheck check;
                 bool known = false;
                 for (const auto& [key, part] : member.items())
                     if (key == "along")
                     {
                         const auto word =
                             std::find(words.begin(), words.end(), part.is_string() ? part.get<std::string>() : "");
                         known = word != words.end();
                         check.along = static_cast<int>(word - words.begin());
                     }
                     else if (key != "cycles")
                         found.push_back({entry + "." + key, "unknown field", "one of along, cycles"});
                     else if (!FitsInt(part))
                         found.push_back({entry + ".cycles", Shorten(part), "whole number, 1 to 99 short periods"});
                     else
                         check.cycles = part.get<int>();
                 if (!known)
                     found.push_back({entry + ".along", member.contains("along") ? Shorten(member["along"]) : "missing",
                                      "x, y or tilt"});
                 else
                     zone.verifyChecks.push_back(check);
             });
}

/// One feature of the camera, {"ExposureTime": 120.5}. Objects of several members are refused, since members have no
/// order.
void ReadCameraFeature(const std::string& path, const json& entry, Recipe& recipe, Problems& found)
{
    static constexpr const char* szForm = "an object with one member, as {\"ExposureTime\": 120.5}";
    if (!entry.is_object() || entry.size() != 1)
    {
        found.push_back({path, Shorten(entry), szForm});
        return;
    }
    CameraFeature feature{entry.begin().key(), {}};
    const json& value = entry.begin().value();
    constexpr auto nMost = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    if (value.is_boolean())
        feature.value = value.get<bool>();
    else if (value.is_string())
        feature.value = value.get<std::string>();
    else if (value.is_number_float() || (value.is_number_unsigned() && value.get<std::uint64_t>() > nMost))
        feature.value = value.get<double>();
    else if (value.is_number_integer())
        feature.value = value.get<std::int64_t>();
    else
    {
        found.push_back({path + "." + feature.name, Shorten(value), "a number, a text, true or false"});
        return;
    }
    recipe.cameraFeatures.push_back(std::move(feature));
}

void ReadStructured(std::string_view path, const json& value, Recipe& recipe, Problems& found)
{
    if (path == szMarginFrame)
        recipe.marginFrame = ReadRect(szMarginFrame, value, false, found);
    else if (path == szDeadZones)
        ReadList(szDeadZones, value, "rectangles", nDeadZoneHigh, found,
                 [&](const std::string& entry, const json& member)
                 {
                     if (const auto rect = ReadRect(entry, member, false, found))
                         recipe.deadZones.push_back(*rect);
                 });
    else if (path == szCameraFeatures)
        ReadList(szCameraFeatures, value, "features", nCameraFeatureLimit, found,
                 [&](const std::string& entry, const json& member)
                 { ReadCameraFeature(entry, member, recipe, found); });
    else if (path == szZoneSkip)
        ReadList(szZoneSkip, value, "cells", nSkippedCellLimit, found,
                 [&](const std::string& entry, const json& member)
                 {
                     if (IsPair(member))
                         recipe.skippedCells.emplace_back(member[0].get<int>(), member[1].get<int>());
                     else
                         found.push_back({entry, Shorten(member), "[column, row] of a cell"});
                 });
    else if (path == szZoneList)
    {
        recipe.zones.clear();
        ReadList(szZoneList, value, "zones", nRecipeZoneLimit, found,
                 [&](const std::string& entry, const json& member)
                 {
                     if (!member.is_object())
                     {
                         found.push_back({entry, Shorten(member), "an object with index, offset, gain and more"});
                         return;
                     }
                     ZoneSettings zone;
                     FieldReader<ZoneSettings>(ZoneFields(), ZoneStructuredFields(), recipe.GetKind(), zone,
                                               entry + ".", found)
                         .Read(member, [&](const std::string& list, const json& checks)
                               { ReadVerifyChecks(entry + "." + list, checks, zone, found); });
                     recipe.zones.push_back(zone);
                 });
    }
    else if (path == szTextureFeatures)
        ReadList(szTextureFeatures, value, "measures", nTextureFeatureLimit, found,
                 [&](const std::string& entry, const json& member)
                 {
                     if (!member.is_object())
                     {
                         found.push_back({entry, Shorten(member), "an object with fold, size and limits"});
                         return;
                     }
                     FieldReader<TextureFeature>(TextureFields(), {}, recipe.GetKind(),
                                                 recipe.textureFeatures.emplace_back(), entry + ".", found)
                         .Read(member, [](const std::string&, const json&) {});
                 });
    else
    {
        const TableField& field = *FindTable(path);
        std::vector<double>& table = recipe.*field.member;
        ReadList(
            std::string(path), value, field.shifts ? "shifts in pixels" : "pitches in pixels", nTableEntryLimit, found,
            [&](const std::string& entry, const json& member)
            {
                if (member.is_number())
                    table.push_back(member.get<double>());
                else
                    found.push_back({entry, Shorten(member), field.shifts ? "a shift in pixels" : "a pitch in pixels"});
            });
    }
}

void LoadPainted(const char* field, const std::string& name, const std::filesystem::path& folder,
                 std::optional<GreyImage>& given, GreyImage& image, Problems& found)
{
    if (given)
        image = std::move(*given);
    if (given || name.empty())
        return;
    try
    {
        image = LoadExactImage(folder / name);
    }
    catch (const HostError& error)
    {
        for (const Problem& problem : error.Problems())
            found.push_back({field, problem.field + ", " + problem.value, problem.allowed});
    }
}

/// Fields of the camera. Those that are `given` take the place of files.
void LoadGivenFields(Recipe& recipe, const std::filesystem::path& folder, const RecipeImages& given, Problems& found)
{
    if (given.earlier != nullptr && given.earlier->flatFieldFile == recipe.flatFieldFile &&
        given.earlier->darkFieldFile == recipe.darkFieldFile && given.earlier->bayer == recipe.bayer)
    {
        recipe.fields = given.earlier->fields;
        return;
    }
    try
    {
        ImageReading named = recipe;
        if (given.flatField)
            named.flatFieldFile.clear();
        if (given.darkField)
            named.darkFieldFile.clear();
        LoadFields(named, folder);
        recipe.fields = named.fields;
        if (given.flatField || given.darkField)
            SetFields(recipe, given.flatField ? &*given.flatField : nullptr,
                      given.darkField ? &*given.darkField : nullptr);
    }
    catch (const HostError& error)
    {
        found.insert(found.end(), error.Problems().begin(), error.Problems().end());
        recipe.flatFieldFile.clear();
        recipe.darkFieldFile.clear();
    }
}

} // namespace

CheckedRecipe ParseRegion(const json& document, const std::filesystem::path& folder, RecipeImages given,
                          const std::string& nameOfUnnamed)
{
    Problems found;
    Recipe recipe;
    if (!document.is_object())
        throw HostError({{"recipe", Shorten(document), "a JSON object"}});
    // Mode and region say which of a field's rows holds.
    if (document.contains("mode"))
        Store(*FindField(RecipeFields(), "mode", Kind_Zone), document["mode"], recipe);
    if (document.contains(szRegion))
        ReadRegion(document[szRegion], recipe, found);
    FieldReader<Recipe>(RecipeFields(), StructuredFields(), recipe.GetKind(), recipe, "", found)
        .Read(document,
              [&](const std::string& path, const json& value)
              {
                  if (path != szRegion)
                      ReadStructured(path, value, recipe, found);
              });
    LoadPainted("zones.image", recipe.zoneImageFile, folder, given.zoneImage, recipe.zoneImage, found);
    LoadPainted("zones.class_image", recipe.classImageFile, folder, given.classImage, recipe.classImage, found);
    LoadPainted("dead_image", recipe.deadImageFile, folder, given.deadImage, recipe.deadImage, found);
    LoadGivenFields(recipe, folder, given, found);
    recipe.maps = std::move(given.maps);

    if (recipe.name.empty())
        recipe.name = nameOfUnnamed;
    // A field that could not be read still holds its default, which must not be reported a second time.
    return CheckedRecipe(std::move(recipe), std::move(found));
}

} // namespace narvo
