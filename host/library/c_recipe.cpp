// SPDX-License-Identifier: MIT
// The C interface: recipes from files and text, and drafts that are built field by field.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <mutex>
#include <string>

#include "host/library/c_call.h"
#include "narvo/narvo_c.h"

using namespace narvo::library; // NOLINT(google-build-using-namespace): the functions below are those of C
using narvo::v1::Error;
using narvo::v1::Recipe;
using narvo::v1::RecipeDraft;

namespace
{

/// More than any field takes; larger counts are mistakes whose values would be read from anywhere.
constexpr std::int64_t nListLimit = 1048576;

static_assert(NARVO_MAP_GAIN == static_cast<int>(narvo::v1::RegionMap::Gain));
static_assert(NARVO_MAP_KNEE == static_cast<int>(narvo::v1::RegionMap::Knee));
static_assert(NARVO_MAP_CLASS == static_cast<int>(narvo::v1::RegionMap::Class));

/// Calls `change` with the draft.
template <typename Change>
std::int32_t ChangeDraft(narvo_draft* draft, const Change& change)
{
    return Guarded(
        [&]
        {
            const std::shared_ptr<DraftObject> object = DraftHandles().Find(draft, "draft");
            const std::lock_guard lock(object->mutex);
            change(object->draft);
        });
}

} // namespace

std::int32_t narvo_recipe_from_file(const char* file, narvo_recipe** recipe)
{
    return HandOut(RecipeHandles(), recipe, "recipe",
                   [&] { return std::make_shared<Recipe>(Recipe::FromFile(Given(file, "file"))); });
}

std::int32_t narvo_recipe_from_text(const char* json, const char* folder, narvo_recipe** recipe)
{
    return HandOut(
        RecipeHandles(), recipe, "recipe",
        [&]
        { return std::make_shared<Recipe>(Recipe::FromText(Given(json, "json"), folder == nullptr ? "." : folder)); });
}

std::int32_t narvo_recipe_regions(const narvo_recipe* recipe, std::int64_t* count)
{
    return Guarded(
        [&]
        {
            Given(count, "count");
            *count = static_cast<std::int64_t>(RecipeHandles().Find(recipe, "recipe")->Regions());
        });
}

std::int32_t narvo_recipe_text(const narvo_recipe* recipe, char* text, std::int64_t capacity, std::int64_t* length)
{
    return Guarded([&] { FillText(RecipeHandles().Find(recipe, "recipe")->Text(), text, capacity, length); });
}

std::int32_t narvo_recipe_value(const narvo_recipe* recipe, std::int64_t region, const char* field, char* text,
                                std::int64_t capacity, std::int64_t* length)
{
    return Guarded(
        [&]
        {
            const auto object = RecipeHandles().Find(recipe, "recipe");
            FillText(object->Value(Given(field, "field"), RegionNumber(region)), text, capacity, length);
        });
}

std::int32_t narvo_recipe_summary(const narvo_recipe* recipe, std::int64_t region, char* text, std::int64_t capacity,
                                  std::int64_t* length)
{
    return Guarded(
        [&]
        {
            const auto object = RecipeHandles().Find(recipe, "recipe");
            FillText(object->Summary(RegionNumber(region)), text, capacity, length);
        });
}

std::int32_t narvo_recipe_save(const narvo_recipe* recipe, const char* file)
{
    return Guarded([&] { RecipeHandles().Find(recipe, "recipe")->Save(Given(file, "file")); });
}

std::int32_t narvo_recipe_check_size(const narvo_recipe* recipe, std::int32_t width, std::int32_t height)
{
    return Guarded([&] { RecipeHandles().Find(recipe, "recipe")->CheckSize(width, height); });
}

std::int32_t narvo_recipe_free(narvo_recipe* recipe)
{
    return GuardedQuietly([&] { RecipeHandles().Remove(recipe, "recipe"); });
}

std::int32_t narvo_draft_create(narvo_draft** draft)
{
    return HandOut(DraftHandles(), draft, "draft", [] { return std::make_shared<DraftObject>(); });
}

std::int32_t narvo_draft_from_recipe(const narvo_recipe* recipe, std::int64_t region, narvo_draft** draft)
{
    return HandOut(DraftHandles(), draft, "draft",
                   [&]
                   {
                       const auto rules = RecipeHandles().Find(recipe, "recipe");
                       auto object = std::make_shared<DraftObject>();
                       object->draft = RecipeDraft::Of(*rules, RegionNumber(region));
                       return object;
                   });
}

std::int32_t narvo_draft_set_number(narvo_draft* draft, const char* field, double value)
{
    return ChangeDraft(draft, [&](RecipeDraft& own) { own.Set(Given(field, "field"), value); });
}

std::int32_t narvo_draft_set_integer(narvo_draft* draft, const char* field, std::int32_t value)
{
    return ChangeDraft(draft, [&](RecipeDraft& own) { own.Set(Given(field, "field"), value); });
}

std::int32_t narvo_draft_set_switch(narvo_draft* draft, const char* field, std::int32_t value)
{
    return ChangeDraft(draft,
                       [&](RecipeDraft& own)
                       {
                           Given(field, "field");
                           if (value != 0 && value != 1)
                               throw Error({{field, std::to_string(value), "0 or 1"}});
                           own.Set(field, value == 1);
                       });
}

std::int32_t narvo_draft_set_text(narvo_draft* draft, const char* field, const char* text)
{
    return ChangeDraft(draft, [&](RecipeDraft& own) { own.Set(Given(field, "field"), Given(text, "text")); });
}

std::int32_t narvo_draft_set_json(narvo_draft* draft, const char* field, const char* json)
{
    return ChangeDraft(draft, [&](RecipeDraft& own) { own.SetJson(Given(field, "field"), Given(json, "json")); });
}

std::int32_t narvo_draft_set_zone_image(narvo_draft* draft, const narvo_image* cell)
{
    return ChangeDraft(draft, [&](RecipeDraft& own) { own.SetZoneImage(PixelsOf(cell, "cell")); });
}

std::int32_t narvo_draft_set_dead_image(narvo_draft* draft, const narvo_image* dead)
{
    return ChangeDraft(draft, [&](RecipeDraft& own) { own.SetDeadImage(PixelsOf(dead, "dead")); });
}

std::int32_t narvo_draft_set_list(narvo_draft* draft, const char* field, const double* values, std::int64_t count)
{
    return ChangeDraft(draft,
                       [&](RecipeDraft& own)
                       {
                           if (count < 0 || count > nListLimit)
                               throw Error({{"count", std::to_string(count), "0 to " + std::to_string(nListLimit)}});
                           CheckRoom(values, "values", count);
                           own.SetList(Given(field, "field"), values, static_cast<std::size_t>(count));
                       });
}

std::int32_t narvo_draft_set_class_image(narvo_draft* draft, const narvo_image* cell)
{
    return ChangeDraft(draft, [&](RecipeDraft& own) { own.SetClassImage(PixelsOf(cell, "cell")); });
}

std::int32_t narvo_draft_set_region_map(narvo_draft* draft, std::int32_t map, const narvo_map_values* values)
{
    return ChangeDraft(draft,
                       [&](RecipeDraft& own)
                       {
                           if (map < NARVO_MAP_OFFSET || map > NARVO_MAP_CLASS)
                               throw Error({{"map", std::to_string(map), "0 to " + std::to_string(NARVO_MAP_CLASS)}});
                           const narvo_map_values record = ReadRecord(values, "values");
                           narvo::v1::MapValues place;
                           place.values = record.values;
                           place.width = record.width;
                           place.height = record.height;
                           place.stride = PointerDistance(record.stride);
                           own.SetRegionMap(static_cast<narvo::v1::RegionMap>(map), place);
                       });
}

std::int32_t narvo_draft_check(const narvo_draft* draft, narvo_recipe** recipe)
{
    return HandOut(RecipeHandles(), recipe, "recipe",
                   [&]
                   {
                       const std::shared_ptr<DraftObject> object = DraftHandles().Find(draft, "draft");
                       const std::lock_guard lock(object->mutex);
                       return std::make_shared<Recipe>(object->draft.Check());
                   });
}

std::int32_t narvo_draft_free(narvo_draft* draft)
{
    return GuardedQuietly([&] { DraftHandles().Remove(draft, "draft"); });
}
