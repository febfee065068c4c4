// SPDX-License-Identifier: MIT
// Flat and dark fields between NumPy and the host layer.
#pragma once

#include <pybind11/pybind11.h>

#include "host/image/field_images.h"

namespace narvo::python
{

namespace py = pybind11;

/// @throws HostError unless `value` is a C-contiguous uint8 or uint16 array of shape (rows, columns) or, in the order
/// red, green, blue, (rows, columns, 3)
FieldImage ToField(const py::handle& value, const char* name);

/// The field as an array of its own; None where it is empty.
py::object FieldToArray(const FieldImage& image);

} // namespace narvo::python
