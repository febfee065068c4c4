// SPDX-License-Identifier: MIT
// Recipes of several regions: common fields, those of each region laid over them, and whose a problem is.
#include <set>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "host/limits.h"
#include "host/problem.h"
#include "host/recipe/field_reader.h"
#include "host/recipe/recipe_json.h"

namespace narvo
{

using nlohmann::json;

namespace
{

constexpr const char* szSchema = "$schema";

/// Lays one region's fields over the common ones.
void LayOver(json& fields, const json& region)
{
    for (const auto& [key, value] : region.items())
        if (value.is_null())
            fields.erase(key);
        else if (value.is_object() && fields.contains(key) && fields[key].is_object() && key != szRegion &&
                 key != szMarginFrame)
            LayOver(fields[key], value);
        else
            fields[key] = value;
}

/// A problem as one text, to find it again by.
std::string KeyOf(const Problem& problem)
{
    return problem.field + '\n' + problem.value + '\n' + problem.allowed;
}

/// Regions by the problems that each has. A problem of the common fields is one that all regions have.
Problems JoinProblems(const std::vector<Problems>& byRegion, const json& regions)
{
    std::unordered_map<std::string, std::pair<std::size_t, std::size_t>> seen; // regions that have it; the last one
    for (std::size_t i = 0; i < byRegion.size(); ++i)
        for (const Problem& problem : byRegion[i])
            if (auto& [count, last] = seen[KeyOf(problem)]; count == 0 || last != i)
            {
                ++count;
                last = i;
            }
    std::set<std::string> ofRegions; // fields that some region has of its own
    for (const json& region : regions)
        if (region.is_object())
            for (const auto& [key, value] : region.items())
                ofRegions.insert(key);
    const auto isCommon = [&](const Problem& problem)
    {
        const std::string key = problem.field.substr(0, problem.field.find_first_of(".["));
        return seen[KeyOf(problem)].first == byRegion.size() && !ofRegions.contains(key);
    };
    Problems joined;
    std::unordered_set<std::string> known;
    for (std::size_t i = 0; i < byRegion.size(); ++i)
        for (Problem problem : byRegion[i])
        {
            if (problem.field.empty())
                problem.field = std::string(szRegions) + "[" + std::to_string(i) + "]";
            else if (!isCommon(problem))
                problem.field = RegionPrefix(i) + problem.field;
            if (known.insert(KeyOf(problem)).second)
                joined.push_back(std::move(problem));
        }
    return joined;
}

/// Entries of the lists that a recipe may make long.
std::size_t EntriesOf(const Recipe& recipe)
{
    std::size_t entries = recipe.regionPoints.size() + recipe.skippedCells.size() + recipe.cameraFeatures.size();
    for (const TableField& table : TableFields())
        entries += (recipe.*table.member).size();
    return entries;
}

/// Each region holds its own copies.
std::int64_t PaintedPixels(const Recipe& recipe)
{
    std::int64_t pixels = 0;
    for (const GreyImage* image : {&recipe.zoneImage, &recipe.classImage, &recipe.deadImage})
        pixels += std::int64_t{image->Width()} * image->Height();
    return pixels;
}

} // namespace

std::string RegionPrefix(std::size_t region)
{
    return std::string(szRegions) + "[" + std::to_string(region) + "].";
}

std::vector<CheckedRecipe> ParseRecipes(const json& document, const std::filesystem::path& folder)
{
    if (document.is_object() && document.contains(szSchema))
    {
        // Where editors look for the schema.
        json rest = document;
        rest.erase(szSchema);
        return ParseRecipes(rest, folder);
    }
    if (!document.is_object() || !document.contains(szRegions))
        return {ParseRegion(document, folder, {})};
    const json& regions = document[szRegions];
    if (!regions.is_array() || regions.empty())
        throw HostError({{szRegions, Shorten(regions), "a list of one region or more"}});
    if (regions.size() > nRegionLimit)
        throw HostError({{szRegions, std::to_string(regions.size()) + " regions",
                          "at most " + std::to_string(nRegionLimit) + " regions"}});
    json common = document;
    common.erase(szRegions);
    std::vector<CheckedRecipe> recipes;
    std::vector<Problems> byRegion(regions.size());
    std::unordered_set<std::string> names;
    std::size_t entries = 0;
    std::int64_t painted = 0;
    for (std::size_t i = 0; i < regions.size(); ++i)
    {
        if (!regions[i].is_object())
        {
            byRegion[i] = {{"", Shorten(regions[i]), "an object with the fields of one region"}};
            continue;
        }
        json fields = common;
        LayOver(fields, regions[i]);
        RecipeImages shared;
        if (!recipes.empty())
            shared.earlier = &*recipes.front();
        try
        {
            recipes.push_back(ParseRegion(fields, folder, std::move(shared),
                                          regions.size() > 1 ? "region " + std::to_string(i + 1) : ""));
        }
        catch (const HostError& error)
        {
            byRegion[i] = error.Problems();
            continue;
        }
        const Recipe& recipe = recipes.back();
        if (static_cast<const ImageReading&>(recipe) != static_cast<const ImageReading&>(*recipes.front()))
            byRegion[i] = {{"image", "other than that of an earlier region", "the same for all regions"}};
        if (recipe.Camera() != recipes.front()->Camera())
            byRegion[i].push_back({"camera", "other than that of an earlier region", "the same for all regions"});
        entries += EntriesOf(recipe);
        if (entries > nRecipeEntryLimit)
            throw HostError(
                {{szRegions, std::to_string(entries) + " entries of lists in " + std::to_string(i + 1) + " regions",
                  "at most " + std::to_string(nRecipeEntryLimit) + " entries in all regions together"}});
        painted += PaintedPixels(recipe);
        if (painted > MaxImagePixels())
            throw HostError(
                {{szRegions,
                  std::to_string(painted) + " pixels of painted images in " + std::to_string(i + 1) + " regions",
                  "at most " + std::to_string(MaxImagePixels()) +
                      " pixels in all regions together, unless max-pixels allows more"}});
        if (!names.insert(recipe.name).second)
            byRegion[i] = {{"name", "\"" + recipe.name + "\"", "a name for each region of its own"}};
    }
    ThrowIfAny(JoinProblems(byRegion, regions));
    return recipes;
}

CheckedRecipe ParseRecipe(const json& document, const std::filesystem::path& folder, RecipeImages given)
{
    if (!given.IsEmpty())
        return ParseRegion(document, folder, std::move(given));
    std::vector<CheckedRecipe> recipes = ParseRecipes(document, folder);
    if (recipes.size() != 1)
        throw HostError({{szRegions, std::to_string(recipes.size()) + " regions", "one region here"}});
    return std::move(recipes.front());
}

} // namespace narvo
