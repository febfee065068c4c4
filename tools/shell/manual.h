// SPDX-License-Identifier: MIT
// Manual pages in roff, one for the program and one for each command.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "tools/shell/command_tree.h"

namespace narvo::tools
{

/// "narvo" or "narvo-inspect".
std::string ManualName(const CommandText& command);

/// The page of `tree[index]`.
std::string ManualPage(const std::vector<CommandText>& tree, std::size_t index);

/// Writes all pages, as NAME.1. @throws HostError when that fails
void WriteManual(const std::filesystem::path& folder, const std::vector<CommandText>& tree);

} // namespace narvo::tools
