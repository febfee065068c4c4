// SPDX-License-Identifier: MIT
// The recipes of the host library: read, built in code, and written.
#include <cmath>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "host/library/recipe_parts.h"
#include "host/library/translate.h"
#include "host/limits.h"
#include "host/recipe/recipe_check.h"
#include "host/recipe/recipe_file.h"
#include "host/zones/region_maps.h"

namespace narvo::v1
{

using library::Translated;

namespace
{

/// Text of the JSON form is UTF-8; what is refused could not be shown otherwise.
void RefuseForeignText(const nlohmann::json& document)
{
    try
    {
        static_cast<void>(document.dump());
    }
    catch (const nlohmann::json::exception&)
    {
        throw HostError({{"recipe", "a name or text that is not UTF-8", "UTF-8"}});
    }
}

/// JSON has no word for what is not finite; null would be taken for a field that is not set.
nlohmann::json JsonNumber(double value)
{
    if (std::isfinite(value))
        return value;
    return std::isnan(value) ? "not a number" : value > 0.0 ? "infinite" : "negative infinite";
}

constexpr std::ptrdiff_t nMapStrideLimit = 1073741824;

/// The values from row to row, with the default filled in. @throws HostError with all that is wrong
std::ptrdiff_t CheckedMapStride(const MapValues& values)
{
    std::vector<narvo::Problem> found;
    const auto demand = [&](bool holds, const char* field, std::ptrdiff_t value, const std::string& allowed)
    {
        if (!holds)
            found.push_back({std::string("map.") + field, std::to_string(value), allowed});
    };
    if (values.values == nullptr)
        found.push_back({"map.values", "null", "where the values lie"});
    demand(values.width >= 1 && values.width <= nImageSideLimit, "width", values.width,
           "1 to " + std::to_string(nImageSideLimit));
    demand(values.height >= 1 && values.height <= nImageSideLimit, "height", values.height,
           "1 to " + std::to_string(nImageSideLimit));
    demand(values.stride == 0 || (values.stride >= values.width && values.stride <= nMapStrideLimit), "stride",
           values.stride,
           std::to_string(values.width) + " to " + std::to_string(nMapStrideLimit) + ", or 0 for rows without gaps");
    ThrowIfAny(std::move(found));
    return values.stride == 0 ? values.width : values.stride;
}

} // namespace

Recipe Recipe::FromFile(const std::filesystem::path& file)
{
    return Translated([&] { return library::MakeRecipe(LoadRecipes(file)); });
}

Recipe Recipe::FromText(const std::string& json, const std::filesystem::path& folder)
{
    return Translated([&] { return library::MakeRecipe(ParseRecipes(ParseJsonText(json, "recipe"), folder)); });
}

std::size_t Recipe::Regions() const
{
    return GetParts().regions.size();
}

std::string Recipe::Text() const
{
    return Translated([&] { return RecipesToJson(GetParts().regions).dump(2); });
}

void Recipe::Save(const std::filesystem::path& file) const
{
    Translated(
        [&]
        {
            const std::vector<CheckedRecipe>& regions = GetParts().regions;
            if (regions.size() > 1)
                throw HostError({{"recipe", std::to_string(regions.size()) + " regions", "a recipe of one region"}});
            if (regions.front()->maps != nullptr)
                throw HostError({{"recipe", "region maps", "none: they are no part of the file's form"}});
            SaveRecipeWithImages(file, *regions.front());
        });
}

void Recipe::CheckSize(int width, int height) const
{
    Translated(
        [&]
        {
            std::vector<narvo::Problem> found;
            for (const auto& [field, side] : {std::pair("width", width), std::pair("height", height)})
                if (side < 1 || side > nImageSideLimit)
                    found.push_back({field, std::to_string(side), "1 to " + std::to_string(nImageSideLimit)});
            ThrowIfAny(found);
            for (std::size_t i = 0; i < Regions(); ++i)
                for (narvo::Problem& problem : CheckRecipeForImage(GetParts().regions[i], width, height))
                {
                    if (Regions() > 1)
                        problem.field.insert(0, RegionPrefix(i));
                    found.push_back(std::move(problem));
                }
            ThrowIfAny(std::move(found));
        });
}

const Recipe::Parts& Recipe::GetParts() const
{
    if (m_parts == nullptr)
        throw Error({{"recipe", "none", "a recipe that was not moved from"}});
    return *m_parts;
}

/// The JSON form as far as it is set, and the images beside it.
struct RecipeDraft::Content
{
    nlohmann::json document = {{"version", nRecipeVersion}};
    RecipeImages images;
    std::shared_ptr<RegionMaps> maps; ///< shared with recipes that were made from it
    static constexpr int nLevels = 8; ///< more than any field has; what follows is refused as part of the name

    template <typename Value>
    void Set(const std::string& field, Value&& value)
    {
        nlohmann::json* place = &document;
        std::size_t begin = 0;
        int levels = 1;
        for (std::size_t dot = field.find('.'); dot != std::string::npos && levels < nLevels;
             dot = field.find('.', begin), ++levels)
        {
            place = &(*place)[field.substr(begin, dot - begin)];
            if (!place->is_object())
                *place = nlohmann::json::object();
            begin = dot + 1;
        }
        (*place)[field.substr(begin)] = std::forward<Value>(value);
    }
};

RecipeDraft::RecipeDraft() : m_content(std::make_unique<Content>())
{
}
RecipeDraft::~RecipeDraft() = default;
RecipeDraft::RecipeDraft(RecipeDraft&& other) noexcept = default;
RecipeDraft& RecipeDraft::operator=(RecipeDraft&& other) noexcept = default;

RecipeDraft::Content& RecipeDraft::Own()
{
    if (m_content == nullptr) // moved from: begins anew
        m_content = std::make_unique<Content>();
    return *m_content;
}

RecipeDraft& RecipeDraft::Set(const std::string& field, double value)
{
    Own().Set(field, JsonNumber(value));
    return *this;
}

RecipeDraft& RecipeDraft::Set(const std::string& field, int value)
{
    Own().Set(field, value);
    return *this;
}

RecipeDraft& RecipeDraft::Set(const std::string& field, bool value)
{
    Own().Set(field, value);
    return *this;
}

RecipeDraft& RecipeDraft::Set(const std::string& field, const char* text)
{
    Own().Set(field, std::string(text == nullptr ? "" : text));
    return *this;
}

RecipeDraft& RecipeDraft::Set(const std::string& field, const std::string& text)
{
    Own().Set(field, text);
    return *this;
}

RecipeDraft& RecipeDraft::SetJson(const std::string& field, const std::string& json)
{
    Translated([&] { Own().Set(field, ParseJsonText(json, field)); });
    return *this;
}

RecipeDraft& RecipeDraft::SetZoneImage(const ImagePixels& cell)
{
    Translated([&] { Own().images.zoneImage = library::ExactCopy(cell, "cell"); });
    return *this;
}

RecipeDraft& RecipeDraft::SetClassImage(const ImagePixels& cell)
{
    Translated([&] { Own().images.classImage = library::ExactCopy(cell, "cell"); });
    return *this;
}

RecipeDraft& RecipeDraft::SetDeadImage(const ImagePixels& dead)
{
    Translated([&] { Own().images.deadImage = library::ExactCopy(dead, "dead"); });
    return *this;
}

RecipeDraft& RecipeDraft::SetList(const std::string& field, const double* values, std::size_t count)
{
    if (values == nullptr && count > 0)
        throw Error({{field, "null", "where the " + std::to_string(count) + " numbers lie"}});
    nlohmann::json list = nlohmann::json::array();
    for (std::size_t i = 0; i < count; ++i)
        list.push_back(JsonNumber(values[i]));
    Own().Set(field, std::move(list));
    return *this;
}

RecipeDraft& RecipeDraft::SetRegionMap(RegionMap map, const MapValues& values)
{
    Translated(
        [&]
        {
            if (static_cast<int>(map) < 0 || static_cast<int>(map) >= RegionMaps::nMaps)
                throw HostError({{"map", std::to_string(static_cast<int>(map)), "one of RegionMap"}});
            const std::ptrdiff_t stride = CheckedMapStride(values);
            std::shared_ptr<RegionMaps>& kept = Own().maps;
            if (kept != nullptr && (kept->Width() != values.width || kept->Height() != values.height))
                throw HostError({{"map", std::to_string(values.width) + " by " + std::to_string(values.height),
                                  std::to_string(kept->Width()) + " by " + std::to_string(kept->Height()) +
                                      " values, as the map that was set before"}});
            const bool mine = kept != nullptr && kept.use_count() == 1;
            const auto made = mine              ? kept
                              : kept != nullptr ? std::make_shared<RegionMaps>(*kept)
                                                : std::make_shared<RegionMaps>(values.width, values.height);
            made->Set(static_cast<RegionMaps::Map>(map), values.values, stride);
            kept = made;
        });
    return *this;
}

Recipe RecipeDraft::Check() const
{
    return Translated(
        [&]
        {
            Content content = m_content == nullptr ? Content() : *m_content;
            RefuseForeignText(content.document);
            content.images.maps = content.maps;
            return library::MakeRecipe({ParseRecipe(content.document, ".", content.images)});
        });
}

} // namespace narvo::v1
