// What every command of the program has in common: how it is added to the command line, and what it leaves to be run.
// One command lives in one file `<name>_command.cpp`, which holds its options, its help and its work.
#pragma once

#include <functional>

namespace CLI
{
class App;
}

namespace narvo
{

/// What the parsed command line asks for. @return the program's exit code
using Action = std::function<int()>;

/// Adds a command with its options to the program; parsing it stores what it does in `action`, which outlives `app`.
using AddCommand = void (*)(CLI::App& app, Action& action);

/// The program's command line with all commands, which is also what its manual pages and shell completions are made
/// from. Groups of options and validators speak for themselves there: give every option a description that names unit
/// and range, and take CLI::ExistingFile and its like only where the problem may be told in that validator's words.
void BuildCommandLine(CLI::App& app, Action& action);

} // namespace narvo
