// SPDX-License-Identifier: MIT
// The two forms of __new__.
#include "python/sealed_class.h"

#include <string>

namespace narvo::python
{

namespace py = pybind11;

namespace
{

/// The function stays the class's own for good: a class is never let go of by its module.
template <typename Make>
void SetNew(const py::handle& type, Make make)
{
    py::setattr(type, "__new__", py::cpp_function(make, py::name("__new__")));
}

} // namespace

void SealConstructed(const py::handle& type)
{
    const py::handle sealed = type;
    SetNew(type,
           [sealed](const py::handle& asked, const py::args& args, const py::kwargs& kwargs)
           {
               if (!asked.is(sealed))
                   throw py::type_error("__new__ takes the class itself");
               auto* base = reinterpret_cast<PyTypeObject*>(py::detail::get_internals().instance_base);
               PyObject* made = base->tp_new(reinterpret_cast<PyTypeObject*>(asked.ptr()), args.ptr(), kwargs.ptr());
               if (made == nullptr)
                   throw py::error_already_set();
               auto self = py::reinterpret_steal<py::object>(made);
               self.attr("__init__")(*args, **kwargs);
               return self;
           });
}

void SealUnconstructed(const py::handle& type)
{
    const auto name = py::str(type.attr("__name__")).cast<std::string>();
    SetNew(type,
           [name](const py::args&, const py::kwargs&) -> py::object
           { throw py::type_error(name + " objects come from the functions of narvoassem"); });
}

} // namespace narvo::python
