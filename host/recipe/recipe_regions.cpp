// Recipes of several regions: common fields, those of each region laid over them, and whose a problem is.
#include <algorithm>
#include <string>
#include <utility>

#include <nlohmann/json.hpp>

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

/// Regions by the problems that each has. A problem of the common fields is one that all regions have.
Problems JoinProblems(const std::vector<Problems>& byRegion, const json& regions)
{
    Problems joined;
    const auto has = [](const Problems& problems, const Problem& problem)
    { return std::find(problems.begin(), problems.end(), problem) != problems.end(); };
    const auto isCommon = [&](const Problem& problem)
    {
        const std::string key = problem.field.substr(0, problem.field.find_first_of(".["));
        return std::all_of(byRegion.begin(), byRegion.end(),
                           [&](const Problems& other) { return has(other, problem); }) &&
               std::none_of(regions.begin(), regions.end(), [&](const json& region) { return region.contains(key); });
    };
    for (std::size_t i = 0; i < byRegion.size(); ++i)
        for (Problem problem : byRegion[i])
        {
            if (problem.field.empty())
                problem.field = std::string(szRegions) + "[" + std::to_string(i) + "]";
            else if (!isCommon(problem))
                problem.field = RegionPrefix(i) + problem.field;
            if (!has(joined, problem))
                joined.push_back(std::move(problem));
        }
    return joined;
}

} // namespace

std::string RegionPrefix(std::size_t region)
{
    return std::string(szRegions) + "[" + std::to_string(region) + "].";
}

std::vector<Recipe> ParseRecipes(const json& document, const std::filesystem::path& folder)
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
    json common = document;
    common.erase(szRegions);
    std::vector<Recipe> recipes;
    std::vector<Problems> byRegion(regions.size());
    for (std::size_t i = 0; i < regions.size(); ++i)
    {
        if (!regions[i].is_object())
        {
            byRegion[i] = {{"", Shorten(regions[i]), "an object with the fields of one region"}};
            continue;
        }
        json fields = common;
        LayOver(fields, regions[i]);
        try
        {
            recipes.push_back(ParseRegion(fields, folder, {}));
        }
        catch (const HostError& error)
        {
            byRegion[i] = error.Problems();
            continue;
        }
        Recipe& recipe = recipes.back();
        if (recipe.name.empty() && regions.size() > 1)
            recipe.name = "region " + std::to_string(i + 1);
        if (std::any_of(recipes.begin(), recipes.end() - 1,
                        [&](const Recipe& other) { return other.name == recipe.name; }))
            byRegion[i] = {{"name", "\"" + recipe.name + "\"", "a name for each region of its own"}};
    }
    ThrowIfAny(JoinProblems(byRegion, regions));
    return recipes;
}

Recipe ParseRecipe(const json& document, const std::filesystem::path& folder, RecipeImages given)
{
    if (!given.IsEmpty())
        return ParseRegion(document, folder, std::move(given));
    std::vector<Recipe> recipes = ParseRecipes(document, folder);
    if (recipes.size() != 1)
        throw HostError({{szRegions, std::to_string(recipes.size()) + " regions", "one region here"}});
    return std::move(recipes.front());
}

} // namespace narvo
