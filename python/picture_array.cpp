// SPDX-License-Identifier: MIT
// Copies of arrays as images of the host library, and the way back.
#include "python/picture_array.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

#include "python/image_array.h"

namespace narvo::python
{

namespace
{

constexpr int nColours = 3;

const std::uint8_t* RowOf(const v1::ImagePixels& pixels, int y)
{
    return static_cast<const std::uint8_t*>(pixels.pixels) + static_cast<std::ptrdiff_t>(y) * pixels.stride;
}

} // namespace

std::vector<v1::NamedPicture> GoodPictures(const py::handle& images)
{
    std::vector<v1::NamedPicture> good;
    const auto add = [&](const py::handle& value)
    {
        const std::string name = "images[" + std::to_string(good.size()) + "]";
        good.push_back({name, ImageArgument(value, name.c_str(), Colours::EachInspected).Copy()});
    };
    if (IsOneImage(images))
        add(images);
    else
        for (const py::handle image : EachImage(images, "images"))
            add(image);
    return good;
}

void CheckColours(const v1::Image& image, const v1::ImageRules& rules)
{
    if (image.Channels() > 1 && !rules.InspectsEachColour())
        throw v1::Error(
            {{"image",
              "array of shape (" + std::to_string(image.Height()) + ", " + std::to_string(image.Width()) + ", 3)",
              "two dimensions, rows and columns, unless image.channel of the recipe is each (read_image "
              "and convert_image take the recipe)"}});
}

py::array_t<std::uint8_t> ToArray(const v1::Image& image)
{
    const int height = image.Height();
    const int width = image.Width();
    if (image.Channels() == 1)
    {
        py::array_t<std::uint8_t> array({py::ssize_t{height}, py::ssize_t{width}});
        const v1::ImagePixels grey = image.Pixels();
        for (int y = 0; y < height; ++y)
            std::memcpy(array.mutable_data(y), RowOf(grey, y), static_cast<std::size_t>(width));
        return array;
    }
    py::array_t<std::uint8_t> array({py::ssize_t{height}, py::ssize_t{width}, py::ssize_t{nColours}});
    const std::array channels = {image.ChannelPixels(0), image.ChannelPixels(1), image.ChannelPixels(2)};
    std::uint8_t* pixel = array.mutable_data();
    for (int y = 0; y < height; ++y)
    {
        const std::array rows = {RowOf(channels[0], y), RowOf(channels[1], y), RowOf(channels[2], y)};
        for (int x = 0; x < width; ++x)
            for (const std::uint8_t* row : rows)
                *pixel++ = row[x];
    }
    return array;
}

} // namespace narvo::python
