// SPDX-License-Identifier: MIT
// Classes without half-made instances. An instance that __new__ makes and no __init__ sees has no C++ object behind
// it; pybind11 would let methods run on it.
#pragma once

#include <pybind11/pybind11.h>

namespace narvo::python
{

/// Makes __new__ run the class's own __init__, so that what exists is whole; the second run, by the call of the class,
/// is ignored by pybind11. For final classes with a constructor.
void SealConstructed(const pybind11::handle& type);

/// Makes __new__ refuse: instances come from calls of the module alone.
void SealUnconstructed(const pybind11::handle& type);

} // namespace narvo::python
