// SPDX-License-Identifier: MIT
// Image files as arrays.
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include <narvo/host_images.h>
#include <nlohmann/json.hpp>

#include "python/bind.h"
#include "python/image_array.h"
#include "python/narvo_errors.h"
#include "python/picture_array.h"
#include "python/unlocked.h"
#include "python/values.h"

namespace narvo::python
{

namespace
{

std::int64_t ToPixelLimit(const py::handle& value)
{
    if (value.is_none())
        return v1::DefaultMaxPixels;
    const std::optional<int> pixels = ToInt(value);
    if (!pixels)
        throw v1::Error({{"max_pixels", Shown(value), "1 to " + std::to_string(v1::HighestMaxPixels)}});
    if (*pixels < 1 || *pixels > v1::HighestMaxPixels)
        throw v1::Error({{"max_pixels", std::to_string(*pixels), "1 to " + std::to_string(v1::HighestMaxPixels)}});
    return *pixels;
}

/// What images have lost in this process, each kind once.
v1::ImageNotes& Notes()
{
    static v1::ImageNotes notes;
    return notes;
}

void WarnOfLosses()
{
    for (const std::string& note : Notes().Take())
        if (PyErr_WarnEx(py::module_::import("narvoassem.errors").attr("ImageWarning").ptr(), note.c_str(), 1) != 0)
            throw py::error_already_set();
}

/// None, the members of a recipe's section `image`, or a recipe that has one.
v1::ImageRules ToRules(const py::handle& value)
{
    if (value.is_none())
        return {};
    return Translated(Fault::Recipe,
                      [&]
                      {
                          if (py::isinstance<py::dict>(value))
                              return v1::ImageRules::FromText(ToJson(value, "image").dump(), {});
                          return v1::ImageRules::Of(ToRecipe(value));
                      });
}

py::array_t<std::uint8_t> ReadImage(const py::handle& path, const py::handle& image, const py::handle& maxPixels)
{
    const std::filesystem::path file = ToPath(path);
    const v1::ImageRules rules = ToRules(image);
    const std::int64_t limit = Translated(Fault::Argument, [&] { return ToPixelLimit(maxPixels); });
    const v1::Image read = Translated(
        Fault::Image, [&] { return Unlocked([&] { return v1::Image::FromFile(file, rules, &Notes(), limit); }); });
    WarnOfLosses();
    return ToArray(read);
}

/// The pixels of an array of 8 or 16 bits. @throws v1::Error for others
v1::PixelArray ToPixels(const py::array& array)
{
    constexpr py::ssize_t nSideHigh = 1048576;
    const bool narrow = py::isinstance<py::array_t<std::uint8_t>>(array);
    const bool shaped = array.ndim() == 2 || (array.ndim() == 3 && (array.shape(2) == 3 || array.shape(2) == 4));
    if ((!narrow && !py::isinstance<py::array_t<std::uint16_t>>(array)) || !shaped || HasMaskedEntries(array) ||
        array.shape(0) < 1 || array.shape(1) < 1 || array.shape(0) > nSideHigh || array.shape(1) > nSideHigh ||
        array.shape(0) * array.shape(1) > v1::HighestMaxPixels || (array.flags() & py::array::c_style) == 0)
        throw v1::Error({{"pixels",
                          "array of dtype " + std::string(py::str(array.dtype())) + ", shape " +
                              std::string(py::str(array.attr("shape"))),
                          "a C-contiguous uint8 or uint16 array of shape (rows, columns), (rows, columns, 3) or (rows, "
                          "columns, 4), or with image.raw the bytes of a frame"}});
    return {array.data(), static_cast<int>(array.shape(1)), static_cast<int>(array.shape(0)),
            array.ndim() == 2 ? 1 : static_cast<int>(array.shape(2)), narrow ? 8 : 16};
}

/// The bytes of a frame. @throws v1::Error for others
v1::Image ToFrame(const py::handle& pixels, const v1::ImageRules& rules)
{
    const py::buffer_info bytes = py::reinterpret_borrow<py::buffer>(pixels).request();
    if (bytes.itemsize != 1 || bytes.ndim != 1 || bytes.strides[0] != 1)
        throw v1::Error({{"pixels", Shown(py::type::handle_of(pixels)), "the bytes of a frame, one by one"}});
    return Unlocked(
        [&]
        {
            return v1::Image::FromFrame(static_cast<const std::uint8_t*>(bytes.ptr),
                                        static_cast<std::size_t>(bytes.size), rules, &Notes(), "pixels");
        });
}

py::array_t<std::uint8_t> ConvertImage(const py::handle& pixels, const py::handle& image)
{
    const v1::ImageRules rules = ToRules(image);
    const v1::Image converted =
        Translated(Fault::Image,
                   [&]
                   {
                       if (rules.NamesRawFormat())
                           return ToFrame(pixels, rules);
                       if (!py::isinstance<py::array>(pixels))
                           throw v1::Error({{"pixels", Shown(py::type::handle_of(pixels)), "a NumPy array"}});
                       auto array = py::reinterpret_borrow<py::array>(pixels);
                       v1::PixelArray block = ToPixels(array);
                       if (block.bits == 16 && reinterpret_cast<std::uintptr_t>(block.pixels) % 2 != 0)
                       {
                           array = array.attr("copy")();
                           block = ToPixels(array);
                       }
                       return Unlocked([&] { return v1::Image::FromPixels(block, rules, &Notes()); });
                   });
    WarnOfLosses();
    return ToArray(converted);
}

py::array_t<std::uint16_t> FieldOfFrames(const py::handle& paths, bool line, const py::handle& image)
{
    const v1::ImageRules rules = ToRules(image);
    std::vector<std::filesystem::path> files;
    for (const py::handle path : py::iter(paths))
        files.push_back(ToPath(path));
    const v1::FieldMean mean =
        Translated(Fault::Image, [&] { return Unlocked([&] { return v1::MeanOfFiles(files, rules, line); }); });
    std::vector<py::ssize_t> shape = {mean.height, mean.width};
    if (mean.channels > 1)
        shape.push_back(mean.channels);
    return py::array_t<std::uint16_t>(shape, mean.values.data());
}

void WriteColour(const std::filesystem::path& file, const py::array& array)
{
    constexpr py::ssize_t nSideHigh = 65500;
    Translated(Fault::Image,
               [&]
               {
                   if (!py::isinstance<py::array_t<std::uint8_t>>(array) || array.shape(2) != 3 || array.shape(0) < 1 ||
                       array.shape(1) < 1 || array.shape(0) > nSideHigh || array.shape(1) > nSideHigh ||
                       (array.flags() & py::array::c_style) == 0)
                       throw v1::Error({{"image",
                                         "array of dtype " + std::string(py::str(array.dtype())) + ", shape " +
                                             std::string(py::str(array.attr("shape"))) + ", strides " +
                                             std::string(py::str(array.attr("strides"))),
                                         "a C-contiguous uint8 array of shape (rows, columns, 3)"}});
               });
    Translated(Fault::File,
               [&]
               {
                   const void* pixels = array.data();
                   const auto width = static_cast<int>(array.shape(1));
                   const auto height = static_cast<int>(array.shape(0));
                   Unlocked([&] { v1::SaveImage(file, {pixels, width, height, 3}); });
               });
}

void WriteImage(const py::handle& path, const py::handle& image)
{
    const std::filesystem::path file = ToPath(path);
    if (py::isinstance<py::array>(image) && py::reinterpret_borrow<py::array>(image).ndim() == 3)
        return WriteColour(file, py::reinterpret_borrow<py::array>(image));
    const py::array grey = Translated(Fault::Image, [&] { return CheckedImageArray(image, "image"); });
    const v1::PixelArray pixels = {grey.data(), static_cast<int>(grey.shape(1)), static_cast<int>(grey.shape(0))};
    Translated(Fault::File, [&] { Unlocked([&] { v1::SaveImage(file, pixels); }); });
}

} // namespace

void BindImages(py::module_& module)
{
    module.def("read_image", &ReadImage, py::arg("path"), py::kw_only(), py::arg("image") = py::none(),
               py::arg("max_pixels") = py::none(),
               "Read an image file (PNG, TIFF, BMP, PGM, JPEG, or a frame without a header) as an array that inspect() "
               "takes.\n\n"
               "image says how colours, mosaics and values of more than 8 bits become grey: a dict with the members of "
               "a recipe's section image, or a recipe. Without it colours become their luma and the full scale becomes "
               "0 to 255; what is lost is told by an ImageWarning, each kind once in a process. An image of more than "
               "max_pixels pixels (default 268435456) is refused before it is decoded.\n\nRaises ImageError or "
               "RecipeError.");
    module.def(
        "convert_image", &ConvertImage, py::arg("pixels"), py::arg("image") = py::none(),
        "Convert pixels in memory to an array that inspect() takes, as read_image() does.\n\n"
        "pixels is a uint8 or uint16 array of shape (rows, columns), (rows, columns, 3) in the order red, green, "
        "blue, or (rows, columns, 4) with alpha; where image names a raw format, the bytes of a frame.\n\n"
        "Raises ImageError or RecipeError.");
    module.def("mean_field", &FieldOfFrames, py::arg("paths"), py::kw_only(), py::arg("line") = false,
               py::arg("image") = py::none(),
               "A flat or dark field from image files of an even white, or of no light: their mean, as a uint16 array "
               "for Recipe(flat_field=..., dark_field=...), in 1/256 of the values of 8-bit images. line makes it one "
               "row, for a line camera. Of image, as read_image() takes it, the packing of raw frames counts.\n\n"
               "Raises ImageError or RecipeError.");
    module.def("write_image", &WriteImage, py::arg("path"), py::arg("image"),
               "Write a grey image of shape (rows, columns) or a red-green-blue one of shape (rows, columns, 3), dtype "
               "uint8, in the format that the file name's ending says.\n\nRaises ImageError or FileError.");
}

} // namespace narvo::python
