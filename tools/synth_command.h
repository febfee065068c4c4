// The command `narvo synth`.
#pragma once

#include "tools/command.h"

namespace narvo
{

/// Adds the command that makes a panel with its zones, recipe and truth.
void AddSynthCommand(CLI::App& app, Action& action);

} // namespace narvo
