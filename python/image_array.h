// SPDX-License-Identifier: MIT
// Images between NumPy and the host layer: what arrays are taken, and pixels handed over without a copy.
#pragma once

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include "host/image/grey_image.h"

namespace narvo::python
{

namespace py = pybind11;

/// Whether arrays of shape (rows, columns, 3) are taken: red, green and blue, each to be inspected by itself.
enum class Colours
{
    Refused,
    EachInspected
};

/// An array that a caller handed over to be read, held until this object goes. Pixels of images whose width is a
/// multiple of 4 are read where they lie; others are copied once, into rows of the length that the engine needs.
class ImageArgument
{
public:
    /// @throws HostError unless `value` is a C-contiguous two-dimensional array of unsigned bytes with a pixel or more,
    /// or one of colours where these are taken
    ImageArgument(const py::handle& value, const char* name, Colours colours = Colours::Refused);

    ImageArgument(ImageArgument&&) = default;

    const GreyView& View() const { return m_view; }
    /// The image for those who keep it.
    GreyImage Copy() const
    {
        return m_view.Channels() != nullptr
                   ? m_padded
                   : GreyImage(m_view.Row(0), m_view.Width(), m_view.Height(), m_view.Stride());
    }

private:
    py::array m_array;
    GreyImage m_padded;
    GreyView m_view;
};

/// The array once it has passed. @throws HostError as ImageArgument
py::array CheckedImageArray(const py::handle& value, const char* name, Colours colours = Colours::Refused);

/// Whether some of an array's entries are masked: what lies there is not meant to be seen.
bool HasMaskedEntries(const py::array& array);

/// Whether a value is an array of one image, grey or in colours, rather than a sequence of them.
bool IsOneImage(const py::handle& value);

/// The image as an array of its own: (rows, columns), or (rows, columns, 3) where it has channels.
py::array_t<std::uint8_t> ToArray(const GreyImage& image);

} // namespace narvo::python
