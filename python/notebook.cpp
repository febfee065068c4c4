// SPDX-License-Identifier: MIT
// The method by which objects show themselves in notebooks.
#include "python/notebook.h"

namespace py = pybind11;

namespace narvo::python
{

void ShowInNotebooks(const py::handle& type, const char* function)
{
    type.attr("_repr_html_") =
        py::cpp_function([function](const py::object& shown)
                         { return py::module_::import("narvoassem.notebook").attr(function)(shown); },
                         py::name("_repr_html_"), py::is_method(type), "As HTML, for notebooks.");
}

} // namespace narvo::python
