// SPDX-License-Identifier: MIT
// What recipes hold beside their fields, in the public form.
#include "narvo/host_recipe_images.h"

#include <memory>
#include <string>
#include <utility>

#include "host/library/image_parts.h"
#include "host/library/public_report.h"
#include "host/library/recipe_parts.h"
#include "host/library/translate.h"
#include "host/recipe/recipe_check.h"
#include "host/zones/region_maps.h"

namespace narvo::v1
{

std::optional<Image> ImageOf(const Recipe& recipe, PaintedImage image, std::size_t region)
{
    return library::Translated(
        [&]() -> std::optional<Image>
        {
            // The image keeps the recipe that it lies in.
            const auto held = std::make_shared<const CheckedRecipe>(library::RegionOf(recipe, region));
            const narvo::Recipe& fields = **held;
            const GreyImage* found = nullptr;
            switch (image)
            {
            case PaintedImage::Zones:
                found = &fields.zoneImage;
                break;
            case PaintedImage::Classes:
                found = &fields.classImage;
                break;
            case PaintedImage::Dead:
                found = &fields.deadImage;
                break;
            }
            if (found == nullptr)
                throw HostError({{"image", std::to_string(static_cast<int>(image)), "one of PaintedImage"}});
            if (found->IsEmpty())
                return std::nullopt;
            return library::MakeImage(std::shared_ptr<const GreyImage>(held, found));
        });
}

FieldPixels FieldOf(const Recipe& recipe, LightField field, std::size_t region)
{
    return library::Translated(
        [&]
        {
            const CheckedRecipe& held = library::RegionOf(recipe, region);
            if (field != LightField::Flat && field != LightField::Dark)
                throw HostError({{"field", std::to_string(static_cast<int>(field)), "one of LightField"}});
            FieldImage found = field == LightField::Flat ? held->fields.Flat() : held->fields.Dark();
            if (found.channels == 3)
                library::TurnColours(found);
            return FieldPixels{found.width, found.height, found.channels, 8 * found.bytesPerChannel,
                               std::move(found.pixels)};
        });
}

MapValues MapOf(const Recipe& recipe, RegionMap map, std::size_t region)
{
    return library::Translated(
        [&]
        {
            const CheckedRecipe& held = library::RegionOf(recipe, region);
            const int number = static_cast<int>(map);
            if (number < 0 || number >= RegionMaps::nMaps)
                throw HostError({{"map", std::to_string(number), "one of RegionMap"}});
            const auto which = static_cast<RegionMaps::Map>(number);
            const RegionMaps* maps = held->maps.get();
            if (maps == nullptr || !maps->IsSet(which))
                return MapValues{};
            return MapValues{maps->Data(which), maps->Width(), maps->Height(), maps->Stride()};
        });
}

Box InspectedBox(const Recipe& recipe, int width, int height, std::size_t region)
{
    return library::Translated(
        [&]
        {
            const CheckedRecipe& held = library::RegionOf(recipe, region);
            for (const auto& [name, side] : {std::pair("width", width), std::pair("height", height)})
                if (side < 1)
                    throw HostError({{name, std::to_string(side), "1 or more"}});
            return library::PublicBox(narvo::RegionOf(held, width, height));
        });
}

} // namespace narvo::v1
