// SPDX-License-Identifier: MIT
// What images, their rules and notes of the host library hold.
#pragma once

#include <memory>
#include <string>
#include <utility>

#include "host/image/conversion_notes.h"
#include "host/image/grey_image.h"
#include "host/image/image_reading.h"
#include "host/library/recipe_parts.h"
#include "host/problem.h"
#include "narvo/host_images.h"

namespace narvo::v1
{

struct ImageRules::Content
{
    ImageReading reading;
};

struct ImageNotes::Content
{
    ConversionNotes notes;
};

struct Image::Content
{
    std::shared_ptr<const GreyImage> image;
};

} // namespace narvo::v1

namespace narvo::library
{

inline v1::Image MakeImage(std::shared_ptr<const GreyImage> image)
{
    return v1::Image(std::make_shared<const v1::Image::Content>(v1::Image::Content{std::move(image)}));
}

/// @throws HostError, naming the image `name`, where it has colours and a region of the recipe does not inspect each
inline void CheckColours(const GreyImage& image, const v1::Recipe::Parts& parts, const std::string& name)
{
    for (const CheckedRecipe& region : parts.regions)
        if (image.Channels() != nullptr && region->channel != Channel_Each)
            throw HostError({{name, "colours, red, green and blue",
                              "a grey image, unless image.channel of the recipe "
                              "is each"}});
}

} // namespace narvo::library
