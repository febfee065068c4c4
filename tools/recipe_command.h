// The command `narvo recipe`.
#pragma once

#include "tools/command.h"

namespace narvo
{

/// Adds the command that lists the fields of a recipe.
void AddRecipeCommand(CLI::App& app, Action& action);

} // namespace narvo
