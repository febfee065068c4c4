// The commands `narvo completion` and `narvo manual`, which tell of the command line itself.
#pragma once

#include "tools/command.h"

namespace narvo
{

/// Adds the command that prints a shell's completion script.
void AddCompletionCommand(CLI::App& app, Action& action);
/// Adds the command that prints or writes manual pages.
void AddManualCommand(CLI::App& app, Action& action);

} // namespace narvo
