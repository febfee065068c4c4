// SPDX-License-Identifier: MIT
// Image files as arrays.
#include <filesystem>
#include <optional>
#include <string>

#include "host/limits.h"
#include "host/result/overlay.h"
#include "python/bind.h"
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

py::array_t<std::uint8_t> ReadImage(const py::handle& path, const py::handle& maxPixels)
{
    const std::filesystem::path file = ToPath(path);
    const std::int64_t limit = Translated(Fault::Argument, [&] { return ToPixelLimit(maxPixels); });
    const GreyImage image =
        Translated(Fault::Image, [&] { return Unlocked([&] { return LoadGreyImage(file, limit); }); });
    return ToArray(image);
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
    module.def("read_image", &ReadImage, py::arg("path"), py::kw_only(), py::arg("max_pixels") = py::none(),
               "Read an image file (PNG, TIFF, BMP, PGM, JPEG) as an array that inspect() takes.\n\n"
               "Colour, 16-bit and transparent images are taken only where 8-bit grey says the same; ImageError tells "
               "the first place where it does not. An image of more than max_pixels pixels (default 268435456) is "
               "refused before it is decoded.");
    module.def("write_image", &WriteImage, py::arg("path"), py::arg("image"),
               "Write a grey image of shape (rows, columns) or a red-green-blue one of shape (rows, columns, 3), dtype "
               "uint8, in the format that the file name's ending says.\n\nRaises ImageError or FileError.");
}

} // namespace narvo::python
