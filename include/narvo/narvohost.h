// SPDX-License-Identifier: MIT
// The host library: recipes, inspectors and their reports, everything checked. docs/cpp-host.md is its guide.
#pragma once

#include "narvo/host_error.h"
#include "narvo/host_inspector.h"
#include "narvo/host_recipe.h"
#include "narvo/image_pixels.h"
