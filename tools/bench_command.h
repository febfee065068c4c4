// The command `narvo bench`.
#pragma once

#include "tools/command.h"

namespace narvo
{

/// Adds the command that measures how fast a recipe is on an image.
void AddBenchCommand(CLI::App& app, Action& action);

} // namespace narvo
