// The command `narvo board`.
#pragma once

#include "tools/command.h"

namespace narvo
{

/// Adds the command that makes photographs of a board that does not repeat, with known defects.
void AddBoardCommand(CLI::App& app, Action& action);

} // namespace narvo
