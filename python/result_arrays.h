// SPDX-License-Identifier: MIT
// Results as Python has them: the host's result, and its blobs and pairs as structured arrays.
#pragma once

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include "host/inspect/inspector.h"

namespace narvo::python
{

namespace py = pybind11;

/// One inspection's outcome. Arrays are made at once, since every caller needs them.
struct Result
{
    /// The interpreter lock must be held.
    Result(InspectionResult found, int imageWidth, int imageHeight);

    InspectionResult outcome;
    int width;  ///< of the image
    int height; ///< of the image
    py::array blobs;
    py::array pairs;
};

} // namespace narvo::python
