// SPDX-License-Identifier: MIT
// Images between NumPy and the host library: what arrays are taken, and pixels handed over without a copy.
#pragma once

#include <optional>

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <narvo/host_images.h>

namespace narvo::python
{

namespace py = pybind11;

/// Whether arrays of shape (rows, columns, 3) are taken: red, green and blue, each to be inspected by itself.
enum class Colours
{
    Refused,
    EachInspected
};

/// An array that a caller handed over to be read, held until this object goes. Grey pixels are read where they lie;
/// of an array of colours a copy is made.
class ImageArgument
{
public:
    /// @throws v1::Error unless `value` is a C-contiguous two-dimensional array of unsigned bytes with a pixel or more,
    /// or one of colours where these are taken
    ImageArgument(const py::handle& value, const char* name, Colours colours = Colours::Refused);

    ImageArgument(ImageArgument&&) = default;

    int Width() const { return m_pixels.width; }
    int Height() const { return m_pixels.height; }
    /// The image with its colours; null for a grey one.
    const v1::Image* Coloured() const { return m_coloured ? &*m_coloured : nullptr; }
    /// For calls that take no colours: the grey pixels.
    const v1::ImagePixels& Pixels() const { return m_pixels; }
    /// The image for those who keep it.
    v1::Image Copy() const;

    /// Calls `call` with the image: v1::Image where it has colours, otherwise v1::ImagePixels.
    template <typename Call>
    auto With(Call call) const
    {
        return m_coloured ? call(*m_coloured) : call(m_pixels);
    }

private:
    py::array m_array;
    std::optional<v1::Image> m_coloured;
    v1::ImagePixels m_pixels;
};

/// The array once it has passed. @throws v1::Error as ImageArgument
py::array CheckedImageArray(const py::handle& value, const char* name, Colours colours = Colours::Refused);

/// Whether some of an array's entries are masked: what lies there is not meant to be seen.
bool HasMaskedEntries(const py::array& array);

/// Whether a value is an array of one image, grey or in colours, rather than a sequence of them.
bool IsOneImage(const py::handle& value);

/// Goes through a sequence of images. @throws v1::Error naming `name` for what has no entries
py::iterator EachImage(const py::handle& value, const char* name);

} // namespace narvo::python
