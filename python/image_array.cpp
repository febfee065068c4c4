// SPDX-License-Identifier: MIT
// The test of an image array.
#include "python/image_array.h"

#include <cstdint>
#include <limits>
#include <string>

#include "python/values.h"

namespace narvo::python
{

namespace
{

std::string TupleText(const py::ssize_t* numbers, py::ssize_t count)
{
    std::string text;
    for (py::ssize_t i = 0; i < count; ++i)
        text += (i == 0 ? "" : ", ") + std::to_string(numbers[i]);
    return "(" + text + (count == 1 ? ",)" : ")");
}

/// What is wrong with the array, as advice; empty where nothing is.
std::string AdviceOn(const py::array& array, Colours colours)
{
    if (!py::isinstance<py::array_t<std::uint8_t>>(array))
        return "dtype uint8 (astype changes it; scale the values first)";
    if (HasMaskedEntries(array))
        return "no masked pixels (numpy.ma.filled gives them a value)";
    const bool coloured = colours == Colours::EachInspected && array.ndim() == 3 && array.shape(2) == 3;
    if (array.ndim() != 2 && !coloured)
        return "two dimensions, rows and columns (of a colour image take one channel)";
    if (array.shape(0) < 1 || array.shape(1) < 1)
        return "at least one row and one column";
    if ((array.flags() & py::array::c_style) == 0)
        return "a C-contiguous array (numpy.ascontiguousarray makes one)";
    constexpr py::ssize_t nRowMultiple = 4;
    constexpr py::ssize_t nBytesHigh = std::numeric_limits<int>::max() - 2 * nRowMultiple;
    if (array.shape(1) > nBytesHigh || array.shape(0) > nBytesHigh / (array.shape(1) + nRowMultiple))
        return "fewer than 2147483640 pixels, rows counted in multiples of 4";
    return "";
}

/// What images of the host library may have at most; files that are written may have more.
void CheckSize(const py::array& array, const char* name)
{
    constexpr py::ssize_t nSideHigh = 1048576;
    if (array.shape(0) > nSideHigh || array.shape(1) > nSideHigh ||
        array.shape(0) * array.shape(1) > v1::HighestMaxPixels)
        throw v1::Error({{name, std::to_string(array.shape(1)) + " by " + std::to_string(array.shape(0)) + " pixels",
                          "sides up to " + std::to_string(nSideHigh) + " and at most " +
                              std::to_string(v1::HighestMaxPixels) + " pixels"}});
}

v1::Image PictureOf(const py::array& array, const char* name)
{
    static const v1::ImageRules each = v1::ImageRules::FromText(R"({"channel": "each"})");
    const bool coloured = array.ndim() == 3;
    return v1::Image::FromPixels(
        {array.data(), static_cast<int>(array.shape(1)), static_cast<int>(array.shape(0)), coloured ? 3 : 1},
        coloured ? each : v1::ImageRules(), nullptr, name);
}

} // namespace

py::array CheckedImageArray(const py::handle& value, const char* name, Colours colours)
{
    if (!py::isinstance<py::array>(value))
        throw v1::Error({{name, Shown(py::type::handle_of(value)), "a C-contiguous two-dimensional uint8 array"}});
    auto array = py::reinterpret_borrow<py::array>(value);
    if (const std::string advice = AdviceOn(array, colours); !advice.empty())
        throw v1::Error(
            {{name,
              "array of dtype " + std::string(py::str(array.dtype())) + ", shape " +
                  TupleText(array.shape(), array.ndim()) + ", strides " + TupleText(array.strides(), array.ndim()),
              advice}});
    return array;
}

bool HasMaskedEntries(const py::array& array)
{
    const auto plain = py::module_::import("numpy").attr("ndarray");
    return !py::type::handle_of(array).is(plain) &&
           py::module_::import("numpy").attr("ma").attr("is_masked")(array).cast<bool>();
}

ImageArgument::ImageArgument(const py::handle& value, const char* name, Colours colours)
    : m_array(CheckedImageArray(value, name, colours))
{
    CheckSize(m_array, name);
    if (m_array.ndim() == 3)
    {
        m_coloured = PictureOf(m_array, name);
        m_pixels = m_coloured->Pixels();
    }
    else
        m_pixels = {static_cast<const std::uint8_t*>(m_array.data()), static_cast<int>(m_array.shape(1)),
                    static_cast<int>(m_array.shape(0))};
}

v1::Image ImageArgument::Copy() const
{
    return m_coloured ? *m_coloured : PictureOf(m_array, "image");
}

bool IsOneImage(const py::handle& value)
{
    if (!py::isinstance<py::array>(value))
        return false;
    const auto array = py::reinterpret_borrow<py::array>(value);
    return array.ndim() == 2 || (array.ndim() == 3 && array.shape(2) == 3);
}

py::iterator EachImage(const py::handle& value, const char* name)
{
    PyObject* entries = PyObject_GetIter(value.ptr());
    if (entries == nullptr)
    {
        PyErr_Clear(); // the type has no entries
        throw v1::Error({{name, Shown(value), "an image, or a sequence of images"}});
    }
    return py::reinterpret_steal<py::iterator>(entries);
}

} // namespace narvo::python
