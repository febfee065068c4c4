// SPDX-License-Identifier: MIT
// The C interface: golden cells.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "host/library/c_arrays.h"
#include "host/library/c_call.h"
#include "narvo/host_cell.h"
#include "narvo/narvo_c.h"

using namespace narvo::library; // NOLINT(google-build-using-namespace): the functions below are those of C
using narvo::v1::CellReport;
using narvo::v1::GoldenCell;
using narvo::v1::ImagePixels;

std::int32_t narvo_cell_learn(const narvo_recipe* recipe, const narvo_image* images, std::int64_t count,
                              narvo_cell** cell)
{
    return HandOut(CellHandles(), cell, "cell",
                   [&]
                   {
                       const auto rules = RecipeHandles().Find(recipe, "recipe");
                       CheckCount(count, 1, nGoodLimit, "count");
                       std::vector<ImagePixels> good;
                       ReadArray(images, count, "images",
                                 [&](const narvo_image* image, const std::string& name)
                                 { good.push_back(PixelsOf(image, name.c_str())); });
                       return std::make_shared<GoldenCell>(GoldenCell::Learn(*rules, good));
                   });
}

std::int32_t narvo_cell_from_file(const char* file, narvo_cell** cell)
{
    return HandOut(CellHandles(), cell, "cell",
                   [&] { return std::make_shared<GoldenCell>(GoldenCell::FromFile(Given(file, "file"))); });
}

std::int32_t narvo_cell_save(const narvo_cell* cell, const char* file)
{
    return Guarded([&] { CellHandles().Find(cell, "cell")->Save(Given(file, "file")); });
}

std::int32_t narvo_cell_get(const narvo_cell* cell, std::int64_t* regions, std::int64_t* images)
{
    return Guarded(
        [&]
        {
            Given(regions, "regions");
            Given(images, "images");
            const auto object = CellHandles().Find(cell, "cell");
            *regions = static_cast<std::int64_t>(object->Regions());
            *images = object->Images();
        });
}

std::int32_t narvo_cell_mean(const narvo_cell* cell, std::int64_t region, float* values, std::int64_t capacity,
                             std::int32_t* width, std::int32_t* height)
{
    return Guarded(
        [&]
        {
            Given(width, "width");
            Given(height, "height");
            CheckRoom(values, "values", capacity);
            const auto object = CellHandles().Find(cell, "cell");
            const auto [across, down] = object->Size(RegionNumber(region));
            const std::vector<float> mean = object->Mean(RegionNumber(region));
            *width = across;
            *height = down;
            std::copy_n(mean.begin(), std::min(capacity, static_cast<std::int64_t>(mean.size())), values);
        });
}

std::int32_t narvo_cell_compare(const narvo_cell* cell, const narvo_image* image, const narvo_recipe* recipe,
                                const narvo_setting* settings, std::int64_t setting_count, narvo_findings** findings)
{
    return HandOut(FindingsHandles(), findings, "findings",
                   [&]
                   {
                       const auto object = CellHandles().Find(cell, "cell");
                       const auto rules = RecipeHandles().Find(recipe, "recipe");
                       auto found = std::make_shared<FindingsObject>();
                       for (const CellReport& report : object->Compare(
                                PixelsOf(image, "image"), *rules, SettingsOf(settings, setting_count), found->json))
                           found->text += report.text;
                       return found;
                   });
}

std::int32_t narvo_cell_free(narvo_cell* cell)
{
    return GuardedQuietly([&] { CellHandles().Remove(cell, "cell"); });
}
