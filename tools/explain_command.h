// The command `narvo explain`.
#pragma once

#include "tools/command.h"

namespace narvo
{

/// Adds the command that tells why a pixel was reported or not.
void AddExplainCommand(CLI::App& app, Action& action);

} // namespace narvo
