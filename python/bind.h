// SPDX-License-Identifier: MIT
// The parts of the extension module, each in a file of its own; bind_module.cpp puts them together.
#pragma once

#include <pybind11/pybind11.h>

#include "host/recipe/checked_recipe.h"
#include "narvo/host_recipe.h"

namespace narvo::python
{

void BindCapability(pybind11::module_& module);
void BindImages(pybind11::module_& module);
void BindRecipe(pybind11::module_& module);
void BindResult(pybind11::module_& module);
void BindInspection(pybind11::module_& module);
void BindPitch(pybind11::module_& module);
void BindGolden(pybind11::module_& module);
void BindLearn(pybind11::module_& module);
void BindExplain(pybind11::module_& module);
void BindRegions(pybind11::module_& module);
void BindStore(pybind11::module_& module);

/// The recipe that an argument stands for: a Recipe, a dict, JSON text, or the path of a file.
/// @throws HostError with all that is wrong with it
CheckedRecipe ToRecipe(const pybind11::handle& value);
/// The same as the host library has it.
v1::Recipe ToPublicRecipe(const pybind11::handle& value);
/// The first region of a recipe of the host library, which is all that such recipes have here.
CheckedRecipe ToLayerRecipe(const v1::Recipe& recipe);

} // namespace narvo::python
