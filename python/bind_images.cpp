// SPDX-License-Identifier: MIT
// Image files as arrays.
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "host/image/conversion_notes.h"
#include "host/image/field_mean.h"
#include "host/limits.h"
#include "host/recipe/image_section.h"
#include "host/result/overlay.h"
#include "python/bind.h"
#include "python/field_array.h"
#include "python/image_array.h"
#include "python/narvo_errors.h"
#include "python/unlocked.h"
#include "python/values.h"

namespace narvo::python
{

namespace
{

std::int64_t ToPixelLimit(const py::handle& value)
{
    if (value.is_none())
        return MaxImagePixels();
    const std::optional<int> pixels = ToInt(value);
    if (!pixels)
        throw HostError({{"max_pixels", Shown(value), "1 to " + std::to_string(nHighestMaxPixels)}});
    CheckMaxImagePixels(*pixels);
    return *pixels;
}

/// What images have lost in this process, each kind once.
ConversionNotes& Notes()
{
    static ConversionNotes notes;
    return notes;
}

void WarnOfLosses()
{
    for (const std::string& note : Notes().Take())
        if (PyErr_WarnEx(py::module_::import("narvoassem.errors").attr("ImageWarning").ptr(), note.c_str(), 1) != 0)
            throw py::error_already_set();
}

/// None, the members of a recipe's section `image`, or a recipe that has one.
ImageReading ToReading(const py::handle& value)
{
    if (value.is_none())
        return {};
    return Translated(Fault::Recipe,
                      [&]() -> ImageReading
                      {
                          if (py::isinstance<py::dict>(value))
                              return ParseImageSection(ToJson(value));
                          return *ToRecipe(value);
                      });
}

py::array_t<std::uint8_t> ReadImage(const py::handle& path, const py::handle& image, const py::handle& maxPixels)
{
    const std::filesystem::path file = ToPath(path);
    const ImageReading reading = ToReading(image);
    const std::int64_t limit = Translated(Fault::Argument, [&] { return ToPixelLimit(maxPixels); });
    const GreyImage grey = Translated(
        Fault::Image, [&] { return Unlocked([&] { return LoadGreyImage(file, reading, &Notes(), limit); }); });
    WarnOfLosses();
    return ToArray(grey);
}

/// The pixels of an array of 8 or 16 bits. @throws HostError for others
PixelBlock ToBlock(const py::array& array)
{
    constexpr py::ssize_t nSideHigh = nImageSideLimit;
    const bool narrow = py::isinstance<py::array_t<std::uint8_t>>(array);
    const bool shaped = array.ndim() == 2 || (array.ndim() == 3 && (array.shape(2) == 3 || array.shape(2) == 4));
    if ((!narrow && !py::isinstance<py::array_t<std::uint16_t>>(array)) || !shaped || HasMaskedEntries(array) ||
        array.shape(0) < 1 || array.shape(1) < 1 || array.shape(0) > nSideHigh || array.shape(1) > nSideHigh ||
        array.shape(0) * array.shape(1) > nHighestMaxPixels || (array.flags() & py::array::c_style) == 0)
        throw HostError({{"pixels",
                          "array of dtype " + std::string(py::str(array.dtype())) + ", shape " +
                              std::string(py::str(array.attr("shape"))),
                          "a C-contiguous uint8 or uint16 array of shape (rows, columns), (rows, columns, 3) or (rows, "
                          "columns, 4), or with image.raw the bytes of a frame"}});
    return {array.data(), static_cast<int>(array.shape(1)), static_cast<int>(array.shape(0)),
            array.ndim() == 2 ? 1 : static_cast<int>(array.shape(2)), narrow ? 1 : 2};
}

py::array_t<std::uint8_t> ConvertImage(const py::handle& pixels, const py::handle& image)
{
    const ImageReading reading = ToReading(image);
    const GreyImage grey =
        Translated(Fault::Image,
                   [&]
                   {
                       if (reading.rawFormat != RawFormat_None)
                       {
                           const py::buffer_info bytes = py::reinterpret_borrow<py::buffer>(pixels).request();
                           if (bytes.itemsize != 1 || bytes.ndim != 1 || bytes.strides[0] != 1)
                               throw HostError({{"pixels", Shown(py::type::handle_of(pixels)),
                                                 "the bytes of a frame, one by one"}});
                           const std::span frame(static_cast<const std::uint8_t*>(bytes.ptr),
                                                 static_cast<std::size_t>(bytes.size));
                           return Unlocked([&] { return ConvertRawFrame(frame, reading, "pixels", &Notes()); });
                       }
                       if (!py::isinstance<py::array>(pixels))
                           throw HostError({{"pixels", Shown(py::type::handle_of(pixels)), "a NumPy array"}});
                       const PixelBlock block = ToBlock(py::reinterpret_borrow<py::array>(pixels));
                       return Unlocked([&] { return ConvertPixels(block, reading, "pixels", &Notes()); });
                   });
    WarnOfLosses();
    return ToArray(grey);
}

py::object FieldOfFrames(const py::handle& paths, bool line, const py::handle& image)
{
    const ImageReading reading = ToReading(image);
    std::vector<std::filesystem::path> files;
    for (const py::handle path : py::iter(paths))
        files.push_back(ToPath(path));
    return FieldToArray(
        Translated(Fault::Image, [&] { return Unlocked([&] { return MeanOfFrames(files, reading, line); }); }).image);
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
                       throw HostError({{"image",
                                         "array of dtype " + std::string(py::str(array.dtype())) + ", shape " +
                                             std::string(py::str(array.attr("shape"))) + ", strides " +
                                             std::string(py::str(array.attr("strides"))),
                                         "a C-contiguous uint8 array of shape (rows, columns, 3)"}});
               });
    Translated(Fault::File,
               [&]
               {
                   const auto* pixels = static_cast<const std::uint8_t*>(array.data());
                   const auto width = static_cast<int>(array.shape(1));
                   const auto height = static_cast<int>(array.shape(0));
                   Unlocked([&] { SaveColourImage(file, pixels, width, height); });
               });
}

void WriteImage(const py::handle& path, const py::handle& image)
{
    const std::filesystem::path file = ToPath(path);
    if (py::isinstance<py::array>(image) && py::reinterpret_borrow<py::array>(image).ndim() == 3)
        return WriteColour(file, py::reinterpret_borrow<py::array>(image));
    const ImageArgument grey = Translated(Fault::Image, [&] { return ImageArgument(image, "image"); });
    Translated(Fault::File, [&] { Unlocked([&] { SaveGreyImage(file, grey.Copy()); }); });
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
