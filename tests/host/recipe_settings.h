// SPDX-License-Identifier: MIT
// Single settings of a recipe, each valid on its own where its mode and direction take it: what tests of combinations
// put together.
#pragma once

#include <initializer_list>

#include "host/recipe/recipe.h"

namespace narvo::test
{

using SettingNames = std::initializer_list<const char*>;

/// Gives the recipe the settings of these names: a field's, or one of "window 3 by 3", "polygon", "trapezium". The
/// recipe's direction decides which way a window lies. Throws std::out_of_range on a name that is none.
void GiveSettings(Recipe& recipe, SettingNames names);

} // namespace narvo::test
