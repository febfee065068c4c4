// The command `narvo pitch`.
#pragma once

#include "tools/command.h"

namespace narvo
{

/// Adds the command that finds the period of an image's pattern along x and y.
void AddPitchCommand(CLI::App& app, Action& action);

} // namespace narvo
