// SPDX-License-Identifier: MIT
// The recipes of the host library: read, built in code, and written.
#include <algorithm>
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
#include "host/recipe/recipe_fields.h"
#include "host/recipe/recipe_file.h"
#include "host/zones/region_maps.h"
#include "narvo/host_images.h"

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

/// @throws HostError for several
const CheckedRecipe& OnlyRegionOf(const Recipe& recipe)
{
    const std::vector<CheckedRecipe>& regions = recipe.GetParts().regions;
    if (regions.size() > 1)
        throw HostError({{"recipe", std::to_string(regions.size()) + " regions", "a recipe of one region"}});
    return regions.front();
}

bool IsSame(const GreyImage& first, const GreyImage& second)
{
    if (first.Width() != second.Width() || first.Height() != second.Height())
        return false;
    for (int y = 0; y < first.Height(); ++y)
        if (!std::equal(first.Row(y), first.Row(y) + first.Width(), second.Row(y)))
            return false;
    return true;
}

bool IsSame(const std::shared_ptr<const RegionMaps>& first, const std::shared_ptr<const RegionMaps>& second)
{
    if (first == second || first == nullptr || second == nullptr)
        return first == second;
    if (first->Width() != second->Width() || first->Height() != second->Height())
        return false;
    for (int map = 0; map < RegionMaps::nMaps; ++map)
    {
        const auto which = static_cast<RegionMaps::Map>(map);
        if (first->IsSet(which) != second->IsSet(which))
            return false;
        for (std::ptrdiff_t y = 0; first->IsSet(which) && y < first->Height(); ++y)
            if (!std::equal(first->Data(which) + y * first->Stride(),
                            first->Data(which) + y * first->Stride() + first->Width(),
                            second->Data(which) + y * second->Stride()))
                return false;
    }
    return true;
}

bool IsSame(const CheckedRecipe& first, const CheckedRecipe& second)
{
    return first.IsSameObject(second) ||
           (RecipeToJson(first) == RecipeToJson(second) && IsSame(first->zoneImage, second->zoneImage) &&
            IsSame(first->classImage, second->classImage) && IsSame(first->deadImage, second->deadImage) &&
            IsSame(first->maps, second->maps) && first->fields == second->fields);
}

/// A field image of the caller's, which has the order red, green, blue.
FieldImage LayerField(const PixelArray& array, const char* name)
{
    const PixelBlock block = library::LayerBlock(array, name, nImageSideLimit, nHighestMaxPixels);
    if (block.channels == 4)
        throw HostError({{std::string(name) + ".channels", "4", "1 or 3"}});
    FieldImage field{block.width, block.height, block.channels, block.bytesPerChannel, {}};
    const auto* bytes = static_cast<const std::uint8_t*>(block.pixels);
    const std::size_t pixels = static_cast<std::size_t>(block.width) * static_cast<std::size_t>(block.height);
    field.pixels.assign(bytes, bytes + pixels * static_cast<std::size_t>(block.channels) *
                                           static_cast<std::size_t>(block.bytesPerChannel));
    if (block.channels == 3)
        library::TurnColours(field);
    return field;
}

} // namespace

} // namespace narvo::v1

namespace narvo::library
{

const CheckedRecipe& RegionOf(const v1::Recipe& recipe, std::size_t region)
{
    const std::vector<CheckedRecipe>& regions = recipe.GetParts().regions;
    if (region >= regions.size())
        throw HostError(
            {{"region", std::to_string(region), "0 to " + std::to_string(regions.size() - 1) + " of the recipe"}});
    return regions[region];
}

void TurnColours(FieldImage& field)
{
    const auto bytes = static_cast<std::size_t>(field.bytesPerChannel);
    for (std::size_t i = 0; i + 3 * bytes <= field.pixels.size(); i += 3 * bytes)
        for (std::size_t byte = 0; byte < bytes; ++byte)
            std::swap(field.pixels[i + byte], field.pixels[i + 2 * bytes + byte]);
}

} // namespace narvo::library

namespace narvo::v1
{

bool operator==(const Recipe& first, const Recipe& second)
{
    return Translated(
        [&]
        {
            const std::vector<CheckedRecipe>& a = first.GetParts().regions;
            const std::vector<CheckedRecipe>& b = second.GetParts().regions;
            return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                              [](const CheckedRecipe& one, const CheckedRecipe& other) { return IsSame(one, other); });
        });
}

bool operator!=(const Recipe& first, const Recipe& second)
{
    return !(first == second);
}

Recipe Recipe::FromFile(const std::filesystem::path& file)
{
    return Translated([&] { return library::MakeRecipe(LoadRecipes(file)); });
}

Recipe Recipe::FromText(const std::string& json, const std::filesystem::path& folder)
{
    return Translated([&] { return library::MakeRecipe(ParseRecipes(ParseJsonText(json, "recipe"), folder)); });
}

Recipe Recipe::FromFile(const std::filesystem::path& file, const std::filesystem::path& folder)
{
    return Translated([&] { return library::MakeRecipe(ParseRecipes(LoadRecipeDocument(file), folder)); });
}

std::size_t Recipe::Regions() const
{
    return GetParts().regions.size();
}

Recipe Recipe::Region(std::size_t region) const
{
    return Translated([&] { return library::MakeRecipe({library::RegionOf(*this, region)}); });
}

std::string Recipe::Value(const std::string& field, std::size_t region) const
{
    return Translated(
        [&]
        {
            const nlohmann::ordered_json document = RecipeToJson(*library::RegionOf(*this, region));
            const nlohmann::ordered_json* place = &document;
            for (std::size_t from = 0; from <= field.size();)
            {
                const std::size_t dot = std::min(field.find('.', from), field.size());
                const auto member = place->is_object() ? place->find(field.substr(from, dot - from)) : place->end();
                if (!place->is_object() || member == place->end())
                    throw HostError({{"field", '"' + field + '"', "the dotted name of a field that the recipe has"}});
                place = &*member;
                from = dot + 1;
            }
            return place->dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
        });
}

std::string Recipe::Summary(std::size_t region) const
{
    return Translated(
        [&]
        {
            const CheckedRecipe& recipe = library::RegionOf(*this, region);
            return std::string(KindName(recipe->GetKind())) + ", pitch " + FormatNumber(recipe->pitchX) + " by " +
                   FormatNumber(recipe->pitchY) + " pixels";
        });
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
            const CheckedRecipe& region = OnlyRegionOf(*this);
            if (region->maps != nullptr)
                throw HostError({{"recipe", "region maps", "none: they are no part of the file's form"}});
            SaveRecipeWithImages(file, *region);
        });
}

void Recipe::SaveWithoutMaps(const std::filesystem::path& file) const
{
    Translated([&] { SaveRecipeWithImages(file, *OnlyRegionOf(*this)); });
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
    std::shared_ptr<const RegionMaps> maps; ///< shared with recipes that were made from it
    std::filesystem::path folder = ".";     ///< of image files that the fields name
    /// Of the recipe that the draft began with, as far as nothing took their place; its maps are in `maps`.
    RecipeImages inherited;
    static constexpr int nLevels = 8; ///< more than any field has; what follows is refused as part of the name

    /// An image that a recipe came with gives way to the file that is named anew.
    void ForgetImage(const std::string& field)
    {
        if (field == "zones.image")
            inherited.zoneImage.reset();
        else if (field == "zones.class_image")
            inherited.classImage.reset();
        else if (field == "dead_image")
            inherited.deadImage.reset();
        else if (field == "image.flat_field")
            inherited.flatField.reset();
        else if (field == "image.dark_field")
            inherited.darkField.reset();
    }

    /// All images; those that were set come first.
    RecipeImages Images() const
    {
        RecipeImages all = images;
        const auto fill = [](auto& image, const auto& other)
        {
            if (!image)
                image = other;
        };
        fill(all.zoneImage, inherited.zoneImage);
        fill(all.classImage, inherited.classImage);
        fill(all.deadImage, inherited.deadImage);
        fill(all.flatField, inherited.flatField);
        fill(all.darkField, inherited.darkField);
        all.maps = maps;
        return all;
    }

    void Unset(const std::string& field)
    {
        ForgetImage(field);
        nlohmann::json* place = &document;
        std::size_t begin = 0;
        for (std::size_t dot = field.find('.'); dot != std::string::npos; dot = field.find('.', begin))
        {
            const auto member = place->is_object() ? place->find(field.substr(begin, dot - begin)) : place->end();
            if (!place->is_object() || member == place->end())
                return;
            place = &*member;
            begin = dot + 1;
        }
        if (place->is_object())
            place->erase(field.substr(begin));
    }

    template <typename Value>
    void Set(const std::string& field, Value&& value)
    {
        ForgetImage(field);
        nlohmann::json* place = &document;
        if (!place->is_object())
            *place = nlohmann::json::object();
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

RecipeDraft RecipeDraft::Of(const Recipe& recipe, std::size_t region)
{
    return Translated(
        [&]
        {
            const CheckedRecipe& given = library::RegionOf(recipe, region);
            RecipeDraft draft;
            Content& content = *draft.m_content;
            content.document = nlohmann::json::parse(RecipeToJson(given).dump());
            const auto keep = [](auto& place, const auto& image)
            {
                if (!image.IsEmpty())
                    place = image;
            };
            keep(content.inherited.zoneImage, given->zoneImage);
            keep(content.inherited.classImage, given->classImage);
            keep(content.inherited.deadImage, given->deadImage);
            keep(content.inherited.flatField, given->fields.Flat());
            keep(content.inherited.darkField, given->fields.Dark());
            content.maps = given->maps;
            return draft;
        });
}

RecipeDraft RecipeDraft::FromText(const std::string& json, const std::filesystem::path& folder)
{
    return Translated(
        [&]
        {
            RecipeDraft draft;
            draft.m_content->document = ParseJsonText(json, "recipe");
            draft.m_content->folder = folder;
            return draft;
        });
}

RecipeDraft RecipeDraft::FromFile(const std::filesystem::path& file)
{
    return FromFile(file, file.parent_path());
}

RecipeDraft RecipeDraft::FromFile(const std::filesystem::path& file, const std::filesystem::path& folder)
{
    return Translated(
        [&]
        {
            RecipeDraft draft;
            draft.m_content->document = LoadRecipeDocument(file);
            draft.m_content->folder = folder;
            return draft;
        });
}

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

RecipeDraft& RecipeDraft::SetFlatField(const PixelArray& field)
{
    Translated([&] { Own().images.flatField = LayerField(field, "flat"); });
    return *this;
}

RecipeDraft& RecipeDraft::SetDarkField(const PixelArray& field)
{
    Translated([&] { Own().images.darkField = LayerField(field, "dark"); });
    return *this;
}

RecipeDraft& RecipeDraft::Unset(const std::string& field)
{
    Own().Unset(field);
    return *this;
}

RecipeDraft& RecipeDraft::DropRegionMaps()
{
    Own().maps.reset();
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
            std::shared_ptr<const RegionMaps>& kept = Own().maps;
            if (kept != nullptr && (kept->Width() != values.width || kept->Height() != values.height))
                throw HostError({{"map", std::to_string(values.width) + " by " + std::to_string(values.height),
                                  std::to_string(kept->Width()) + " by " + std::to_string(kept->Height()) +
                                      " values, as the map that was set before"}});
            const bool mine = kept != nullptr && kept.use_count() == 1; // otherwise recipes share what is there
            const auto made = mine              ? std::const_pointer_cast<RegionMaps>(kept)
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
            const Content empty;
            const Content& content = m_content == nullptr ? empty : *m_content;
            RefuseForeignText(content.document);
            return library::MakeRecipe({ParseRecipe(content.document, content.folder, content.Images())});
        });
}

} // namespace narvo::v1
