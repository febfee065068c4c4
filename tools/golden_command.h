// The command `narvo golden`.
#pragma once

#include "tools/command.h"

namespace narvo
{

/// Adds the command that inspects images against references whose pattern does not repeat.
void AddGoldenCommand(CLI::App& app, Action& action);

} // namespace narvo
