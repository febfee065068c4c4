// SPDX-License-Identifier: MIT
// Copies of both, with colours in the order of each side.
#include "python/field_array.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include <pybind11/numpy.h>

#include "host/limits.h"
#include "host/problem.h"
#include "python/image_array.h"
#include "python/values.h"

namespace narvo::python
{

namespace
{

constexpr std::size_t nColours = 3;

/// Red, green, blue as blue, green, red, or the other way.
void TurnColours(std::uint8_t* pixels, std::size_t count, std::size_t bytes)
{
    for (std::size_t i = 0; i < count; ++i, pixels += nColours * bytes)
        for (std::size_t byte = 0; byte < bytes; ++byte)
            std::swap(pixels[byte], pixels[2 * bytes + byte]);
}

std::size_t CountOf(const FieldImage& image)
{
    return static_cast<std::size_t>(image.width) * static_cast<std::size_t>(image.height);
}

} // namespace

FieldImage ToField(const py::handle& value, const char* name)
{
    static const std::string allowed = "a C-contiguous uint8 or uint16 array of shape (rows, columns) or (rows, "
                                       "columns, 3)";
    if (!py::isinstance<py::array>(value))
        throw HostError({{name, Shown(py::type::handle_of(value)), allowed}});
    const auto array = py::reinterpret_borrow<py::array>(value);
    constexpr py::ssize_t nSideHigh = nImageSideLimit;
    const bool narrow = py::isinstance<py::array_t<std::uint8_t>>(array);
    const bool shaped = array.ndim() == 2 || (array.ndim() == 3 && array.shape(2) == 3);
    if ((!narrow && !py::isinstance<py::array_t<std::uint16_t>>(array)) || !shaped || HasMaskedEntries(array) ||
        array.shape(0) < 1 || array.shape(1) < 1 || array.shape(0) > nSideHigh || array.shape(1) > nSideHigh ||
        (array.flags() & py::array::c_style) == 0)
        throw HostError({{name,
                          "array of dtype " + std::string(py::str(array.dtype())) + ", shape " +
                              std::string(py::str(array.attr("shape"))),
                          allowed}});
    FieldImage image{static_cast<int>(array.shape(1)),
                     static_cast<int>(array.shape(0)),
                     array.ndim() == 2 ? 1 : 3,
                     narrow ? 1 : 2,
                     {}};
    const auto* bytes = static_cast<const std::uint8_t*>(array.data());
    image.pixels.assign(bytes, bytes + array.nbytes());
    if (image.channels == 3)
        TurnColours(image.pixels.data(), CountOf(image), static_cast<std::size_t>(image.bytesPerChannel));
    return image;
}

py::object FieldToArray(const FieldImage& image)
{
    if (image.IsEmpty())
        return py::none();
    std::vector<py::ssize_t> shape = {image.height, image.width};
    if (image.channels == 3)
        shape.push_back(image.channels);
    FieldImage turned = image;
    if (turned.channels == 3)
        TurnColours(turned.pixels.data(), CountOf(turned), static_cast<std::size_t>(turned.bytesPerChannel));
    const py::dtype type = image.bytesPerChannel == 1 ? py::dtype::of<std::uint8_t>() : py::dtype::of<std::uint16_t>();
    return py::array(type, shape, turned.pixels.data());
}

} // namespace narvo::python
