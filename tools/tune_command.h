// The command `narvo tune`.
#pragma once

#include "tools/command.h"

namespace narvo
{

/// Adds the command that sweeps a field of a recipe over images and proposes a value.
void AddTuneCommand(CLI::App& app, Action& action);

} // namespace narvo
