// SPDX-License-Identifier: MIT
// The test of field arrays, and copies of fields.
#include "python/field_array.h"

#include <cstdint>
#include <string>
#include <vector>

#include "python/image_array.h"
#include "python/values.h"

namespace narvo::python
{

namespace
{

py::array CheckedFieldArray(const py::handle& value, const char* name)
{
    static const std::string allowed = "a C-contiguous uint8 or uint16 array of shape (rows, columns) or (rows, "
                                       "columns, 3)";
    if (!py::isinstance<py::array>(value))
        throw v1::Error({{name, Shown(py::type::handle_of(value)), allowed}});
    auto array = py::reinterpret_borrow<py::array>(value);
    constexpr py::ssize_t nSideHigh = 1048576;
    const bool narrow = py::isinstance<py::array_t<std::uint8_t>>(array);
    const bool shaped = array.ndim() == 2 || (array.ndim() == 3 && array.shape(2) == 3);
    if ((!narrow && !py::isinstance<py::array_t<std::uint16_t>>(array)) || !shaped || HasMaskedEntries(array) ||
        array.shape(0) < 1 || array.shape(1) < 1 || array.shape(0) > nSideHigh || array.shape(1) > nSideHigh ||
        (array.flags() & py::array::c_style) == 0)
        throw v1::Error({{name,
                          "array of dtype " + std::string(py::str(array.dtype())) + ", shape " +
                              std::string(py::str(array.attr("shape"))),
                          allowed}});
    if (!narrow && reinterpret_cast<std::uintptr_t>(array.data()) % sizeof(std::uint16_t) != 0)
        array = array.attr("copy")();
    return array;
}

} // namespace

FieldArgument::FieldArgument(const py::handle& value, const char* name)
    : array(CheckedFieldArray(value, name)), pixels{array.data(), static_cast<int>(array.shape(1)),
                                                    static_cast<int>(array.shape(0)), array.ndim() == 2 ? 1 : 3,
                                                    static_cast<int>(8 * array.itemsize())}
{
}

py::object FieldToArray(const v1::FieldPixels& field)
{
    if (field.bytes.empty())
        return py::none();
    std::vector<py::ssize_t> shape = {field.height, field.width};
    if (field.channels == 3)
        shape.push_back(field.channels);
    const py::dtype type = field.bits == 8 ? py::dtype::of<std::uint8_t>() : py::dtype::of<std::uint16_t>();
    return py::array(type, shape, field.bytes.data());
}

} // namespace narvo::python
