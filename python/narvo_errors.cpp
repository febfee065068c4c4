// SPDX-License-Identifier: MIT
// Problems as Python objects.
#include "python/narvo_errors.h"

#include "python/values.h"

namespace narvo::python
{

namespace
{

const char* ClassNameOf(Fault fault, const v1::Error& error)
{
    for (const v1::Problem& problem : error.Problems())
        if (problem.field == "inspection")
            return "InspectionError";
    switch (fault)
    {
    case Fault::Recipe:
        return "RecipeError";
    case Fault::Image:
        return "ImageError";
    case Fault::File:
        return "FileError";
    default:
        return "ArgumentError";
    }
}

} // namespace

void Raise(Fault fault, const v1::Error& error)
{
    for (const v1::Problem& problem : error.Problems())
        if (problem.field == "memory")
        {
            PyErr_SetString(PyExc_MemoryError, v1::Error({problem}).what());
            throw py::error_already_set();
        }
    const py::object type = py::module_::import("narvoassem.errors").attr(ClassNameOf(fault, error));
    const py::object exception = type(ToPython(error.Problems()));
    PyErr_SetObject(type.ptr(), exception.ptr());
    throw py::error_already_set();
}

} // namespace narvo::python
