// The command `narvo inspect`.
#pragma once

#include "tools/command.h"

namespace narvo
{

/// Adds the command that inspects an image and writes blobs and overlay.
void AddInspectCommand(CLI::App& app, Action& action);

} // namespace narvo
