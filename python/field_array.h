// SPDX-License-Identifier: MIT
// Flat and dark fields between NumPy and the host library.
#pragma once

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <narvo/host_images.h>
#include <narvo/host_recipe_images.h>

namespace narvo::python
{

namespace py = pybind11;

/// An array that a caller handed over as a field, held until this object goes.
struct FieldArgument
{
    /// @throws v1::Error unless `value` is a C-contiguous uint8 or uint16 array of shape (rows, columns) or, in the
    /// order red, green, blue, (rows, columns, 3)
    FieldArgument(const py::handle& value, const char* name);

    py::array array;
    v1::PixelArray pixels;
};

/// The field as an array of its own; None where it is empty.
py::object FieldToArray(const v1::FieldPixels& field);

} // namespace narvo::python
