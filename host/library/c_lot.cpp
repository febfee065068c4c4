// SPDX-License-Identifier: MIT
// The C interface: what many images have in common.
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "host/library/c_arrays.h"
#include "host/library/c_call.h"
#include "host/library/c_store_object.h"
#include "narvo/host_lot.h"
#include "narvo/narvo_c.h"

namespace narvo::library
{

struct LotObject
{
    explicit LotObject(v1::Lot made) : lot(std::move(made)) {}

    std::mutex mutex;
    v1::Lot lot;
};

} // namespace narvo::library

using namespace narvo::library; // NOLINT(google-build-using-namespace): the functions below are those of C
using narvo::v1::Lot;

std::int32_t narvo_lot_create(const narvo_recipe* recipe, const char* recipe_name, narvo_lot** lot)
{
    return HandOut(LotHandles(), lot, "lot",
                   [&]
                   {
                       const auto rules = RecipeHandles().Find(recipe, "recipe");
                       return std::make_shared<LotObject>(Lot(*rules, recipe_name == nullptr ? "" : recipe_name));
                   });
}

std::int32_t narvo_lot_from_store(narvo_store* store, const char* const* runs, std::int64_t count, narvo_lot** lot)
{
    return HandOut(LotHandles(), lot, "lot",
                   [&]
                   {
                       CheckCount(count, 0, nArrayLimit, "count");
                       if (count > 0)
                           Given(runs, "runs");
                       std::vector<std::string> keys;
                       for (std::int64_t i = 0; i < count; ++i)
                           keys.emplace_back(Given(runs[i], ("runs[" + std::to_string(i) + ']').c_str()));
                       return WithStore(store, [&](StoreObject& own)
                                        { return std::make_shared<LotObject>(Lot::FromStore(own.store, keys)); });
                   });
}

std::int32_t narvo_lot_of_latest_recipe(narvo_store* store, narvo_lot** lot)
{
    return HandOut(LotHandles(), lot, "lot",
                   [&]
                   {
                       return WithStore(store, [](StoreObject& own)
                                        { return std::make_shared<LotObject>(Lot::OfLatestRecipe(own.store)); });
                   });
}

std::int32_t narvo_lot_add(narvo_lot* lot, const narvo_stored_image* image)
{
    return Guarded(
        [&]
        {
            const auto object = LotHandles().Find(lot, "lot");
            const narvo::v1::StoredImage made = StoredImageOf(image, "image");
            const std::lock_guard lock(object->mutex);
            object->lot.Add(made);
        });
}

std::int32_t narvo_lot_images(const narvo_lot* lot, std::int64_t* count)
{
    return Guarded(
        [&]
        {
            Given(count, "count");
            const auto object = LotHandles().Find(lot, "lot");
            const std::lock_guard lock(object->mutex);
            *count = static_cast<std::int64_t>(object->lot.Images());
        });
}

std::int32_t narvo_lot_find(const narvo_lot* lot, const narvo_setting* settings, std::int64_t setting_count,
                            narvo_findings** findings)
{
    return HandOut(FindingsHandles(), findings, "findings",
                   [&]
                   {
                       const auto object = LotHandles().Find(lot, "lot");
                       const narvo::v1::Settings given = SettingsOf(settings, setting_count);
                       auto found = std::make_shared<FindingsObject>();
                       const std::lock_guard lock(object->mutex);
                       found->text = object->lot.Find(given, &found->json).text;
                       return found;
                   });
}

std::int32_t narvo_lot_free(narvo_lot* lot)
{
    return GuardedQuietly([&] { LotHandles().Remove(lot, "lot"); });
}
