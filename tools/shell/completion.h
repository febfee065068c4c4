// SPDX-License-Identifier: MIT
// Completion of the command line in the shells.
#pragma once

#include <array>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "tools/shell/command_tree.h"

namespace narvo::tools
{

constexpr std::array<std::string_view, 3> completionShells = {"bash", "zsh", "fish"};

/// The script for one of completionShells.
std::string CompletionScript(std::string_view shell, const std::vector<CommandText>& tree);

/// Writes the scripts under the names that the shells look for: bash/narvo, zsh/_narvo, fish/narvo.fish.
/// @throws HostError when that fails
void WriteCompletions(const std::filesystem::path& folder, const std::vector<CommandText>& tree);

} // namespace narvo::tools
