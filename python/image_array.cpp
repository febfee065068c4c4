// SPDX-License-Identifier: MIT
// The test of an image array.
#include "python/image_array.h"

#include <cstring>
#include <limits>
#include <string>

#include "host/problem.h"
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
    constexpr py::ssize_t nBytesHigh = std::numeric_limits<int>::max() - 2 * nRowMultiple;
    if (array.shape(1) > nBytesHigh || array.shape(0) > nBytesHigh / (array.shape(1) + nRowMultiple))
        return "fewer than 2147483640 pixels, rows counted in multiples of 4";
    return "";
}

GreyImage PaddedCopy(const py::array& array)
{
    const auto width = static_cast<int>(array.shape(1));
    if (array.ndim() == 3)
    {
        ImageReading each;
        each.channel = Channel_Each;
        return ConvertPixels({array.data(), width, static_cast<int>(array.shape(0)), 3, 1}, each, "image");
    }
    if (width % nRowMultiple == 0)
        return {};
    return {static_cast<const std::uint8_t*>(array.data()), width, static_cast<int>(array.shape(0)), width};
}

} // namespace

py::array CheckedImageArray(const py::handle& value, const char* name, Colours colours)
{
    if (!py::isinstance<py::array>(value))
        throw HostError({{name, Shown(py::type::handle_of(value)), "a C-contiguous two-dimensional uint8 array"}});
    auto array = py::reinterpret_borrow<py::array>(value);
    if (const std::string advice = AdviceOn(array, colours); !advice.empty())
        throw HostError(
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
    : m_array(CheckedImageArray(value, name, colours)), m_padded(PaddedCopy(m_array)),
      m_view(m_padded.IsEmpty() ? GreyView(static_cast<const std::uint8_t*>(m_array.data()),
                                           static_cast<int>(m_array.shape(1)), static_cast<int>(m_array.shape(0)))
                                : GreyView(m_padded))
{
}

bool IsOneImage(const py::handle& value)
{
    if (!py::isinstance<py::array>(value))
        return false;
    const auto array = py::reinterpret_borrow<py::array>(value);
    return array.ndim() == 2 || (array.ndim() == 3 && array.shape(2) == 3);
}

py::array_t<std::uint8_t> ToArray(const GreyImage& image)
{
    if (image.Channels() != nullptr)
    {
        const std::vector<GreyImage>& channels = *image.Channels();
        const auto count = static_cast<py::ssize_t>(channels.size());
        py::array_t<std::uint8_t> array({py::ssize_t{image.Height()}, py::ssize_t{image.Width()}, count});
        std::uint8_t* pixel = array.mutable_data();
        for (int y = 0; y < image.Height(); ++y)
            for (int x = 0; x < image.Width(); ++x)
                for (const GreyImage& channel : channels)
                    *pixel++ = channel.Row(y)[x];
        return array;
    }
    py::array_t<std::uint8_t> array({py::ssize_t{image.Height()}, py::ssize_t{image.Width()}});
    for (int y = 0; y < image.Height(); ++y)
        std::memcpy(array.mutable_data(y), image.Row(y), static_cast<std::size_t>(image.Width()));
    return array;
}

} // namespace narvo::python
