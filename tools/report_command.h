// The command `narvo report`.
#pragma once

#include "tools/command.h"

namespace narvo
{

/// Adds the command that writes results as one self-contained HTML page.
void AddReportCommand(CLI::App& app, Action& action);

} // namespace narvo
