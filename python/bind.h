// SPDX-License-Identifier: MIT
// The parts of the extension module, each in a file of its own; bind_module.cpp puts them together.
#pragma once

#include <pybind11/pybind11.h>

#include <narvo/host_golden.h>
#include <narvo/host_recipe.h>

namespace narvo::python
{

void BindCapability(pybind11::module_& module);
void BindCell(pybind11::module_& module);
void BindEvaluate(pybind11::module_& module);
void BindExchange(pybind11::module_& module);
void BindImages(pybind11::module_& module);
void BindRecipe(pybind11::module_& module);
void BindResult(pybind11::module_& module);
void BindInspection(pybind11::module_& module);
void BindLot(pybind11::module_& module);
void BindPitch(pybind11::module_& module);
void BindGolden(pybind11::module_& module);
void BindLearn(pybind11::module_& module);
void BindExplain(pybind11::module_& module);
void BindRegions(pybind11::module_& module);
void BindStore(pybind11::module_& module);
void BindStream(pybind11::module_& module);

/// The recipe of one region that an argument stands for: a Recipe, a dict, JSON text, or the path of a file. The
/// interpreter lock must be held.
/// @throws v1::Error with all that is wrong with it
v1::Recipe ToRecipe(const pybind11::handle& value);
/// The model behind a GoldenModel of Python, valid as long as that is; null for anything else.
const v1::GoldenModel* ToGoldenModel(const pybind11::handle& value);
/// A recipe of one region as a Recipe of Python.
pybind11::object ToPythonRecipe(const v1::Recipe& recipe);

} // namespace narvo::python
