// SPDX-License-Identifier: MIT
// How objects show themselves in notebooks. What they show is made in Python, by narvoassem.notebook.
#pragma once

#include <pybind11/pybind11.h>

namespace narvo::python
{

/// Gives the class the method _repr_html_, which notebooks call: the function of narvoassem.notebook by that name.
void ShowInNotebooks(const pybind11::handle& type, const char* function);

} // namespace narvo::python
