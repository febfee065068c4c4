// SPDX-License-Identifier: MIT
// The program's command line as plain data: what manual pages and shell completions are made from, and what tests hold
// them against.
#pragma once

#include <string>
#include <vector>

namespace CLI
{
class App;
}

namespace narvo::tools
{

struct OptionText
{
    std::vector<std::string> names; ///< with their dashes, short ones first; empty for a positional argument
    std::string label;              ///< name of a positional argument
    std::string value;              ///< what it takes, as the help shows it; empty for a switch
    std::string meaning;
    std::string standard;             ///< default, where there is one to show
    std::vector<std::string> choices; ///< words that it takes, where they are few
    bool required = false;
    bool repeated = false; ///< takes several values
};

struct CommandText
{
    std::string name; ///< empty for the program itself
    std::string meaning;
    std::string footer;
    std::vector<OptionText> options; ///< options first, then arguments in their order
};

/// The program first, then its commands in the order of the help.
std::vector<CommandText> ReadCommandTree(const CLI::App& app);

} // namespace narvo::tools
