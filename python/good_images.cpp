// SPDX-License-Identifier: MIT
// Copies of arrays as images of a batch.
#include "python/good_images.h"

#include <memory>
#include <string>

#include "host/limits.h"
#include "python/image_array.h"

namespace narvo::python
{

std::vector<BatchImage> GoodImages(const py::handle& images)
{
    std::vector<BatchImage> good;
    const auto add = [&](const py::handle& value)
    {
        const std::string name = "images[" + std::to_string(good.size()) + "]";
        auto image =
            std::make_shared<const GreyImage>(ImageArgument(value, name.c_str(), Colours::EachInspected).Copy());
        good.push_back({name, [image] { return image; }});
    };
    if (IsOneImage(images))
        add(images);
    else
        for (const py::handle image : py::iter(images))
            add(image);
    return good;
}

void CheckColours(const GreyView& image, const Recipe& recipe)
{
    if (image.Channels() != nullptr && recipe.channel != Channel_Each)
        throw HostError(
            {{"image",
              "array of shape (" + std::to_string(image.Height()) + ", " + std::to_string(image.Width()) + ", 3)",
              "two dimensions, rows and columns, unless image.channel of the recipe is each (read_image "
              "and convert_image take the recipe)"}});
}

void CheckThreads(int threads)
{
    if (threads < 1 || threads > nLaneLimit)
        throw HostError({{"threads", std::to_string(threads), "1 to " + std::to_string(nLaneLimit)}});
}

} // namespace narvo::python
