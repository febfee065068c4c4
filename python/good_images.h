// SPDX-License-Identifier: MIT
// One image or a sequence of them, for calls that work on many at once.
#pragma once

#include <vector>

#include <pybind11/pybind11.h>

#include "host/inspect/batch.h"
#include "host/recipe/recipe.h"

namespace narvo::python
{

/// Copies, since they are read on other threads and several times. One image is as good as a list of one; images are
/// named "images[0]" and so on. @throws HostError as ImageArgument
std::vector<BatchImage> GoodImages(const pybind11::handle& images);

/// @throws HostError for an image of colours unless the recipe inspects each of them
void CheckColours(const GreyView& image, const Recipe& recipe);

/// @throws HostError unless `threads` is 1 to 256
void CheckThreads(int threads);

} // namespace narvo::python
