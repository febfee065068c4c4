// SPDX-License-Identifier: MIT
// Results as Python has them: the host library's result, and its blobs and pairs as structured arrays.
#pragma once

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <narvo/host_result.h>

namespace narvo::python
{

namespace py = pybind11;

/// One inspection's outcome. Arrays are made at once, since every caller needs them.
struct Result
{
    /// The interpreter lock must be held.
    explicit Result(v1::FullReport found);

    v1::FullReport outcome;
    py::array blobs;
    py::array pairs;
};

} // namespace narvo::python
