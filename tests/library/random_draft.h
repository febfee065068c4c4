// SPDX-License-Identifier: MIT
// Recipes with random fields.
#pragma once

#include "library/random_input.h"
#include <narvo/narvohost.h>

namespace narvo::test
{

/// A draft that most often can be checked.
RecipeDraft RandomDraft(RandomInput& input);

} // namespace narvo::test
