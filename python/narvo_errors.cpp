// SPDX-License-Identifier: MIT
// Problems as Python objects.
#include "python/narvo_errors.h"

#include <utility>
#include <vector>

#include "python/values.h"

namespace narvo::python
{

namespace
{

const char* ClassNameOf(Fault fault, const HostError& error)
{
    for (const Problem& problem : error.Problems())
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

void Raise(Fault fault, const HostError& error)
{
    for (const Problem& problem : error.Problems())
        if (problem.field == "memory")
        {
            PyErr_SetString(PyExc_MemoryError, problem.Text().c_str());
            throw py::error_already_set();
        }
    const py::object type = py::module_::import("narvoassem.errors").attr(ClassNameOf(fault, error));
    const py::object exception = type(ToPython(error.Problems()));
    PyErr_SetObject(type.ptr(), exception.ptr());
    throw py::error_already_set();
}

void Raise(Fault fault, const v1::Error& error)
{
    std::vector<Problem> problems;
    for (const v1::Problem& problem : error.Problems())
        problems.push_back({problem.field, problem.value, problem.allowed});
    Raise(fault, HostError(std::move(problems)));
}

} // namespace narvo::python
