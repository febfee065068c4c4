// SPDX-License-Identifier: MIT
// Printing and writing of what is made from the command tree.
#include "tools/command.h"

#include <algorithm>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "host/problem.h"
#include "tools/exit_code.h"
#include "tools/shell/command_tree.h"
#include "tools/shell/completion.h"
#include "tools/shell/manual.h"

namespace narvo::tools
{

namespace
{

struct ManualOptions
{
    std::string command; ///< empty: the program
    std::string folder;  ///< empty: print
    std::string completions;
};

int RunManual(const ManualOptions& options, const std::vector<CommandText>& tree)
{
    if (!options.folder.empty())
        WriteManual(options.folder, tree);
    if (!options.completions.empty())
        WriteCompletions(options.completions, tree);
    if (!options.folder.empty() || !options.completions.empty())
        return ExitCode_Done;
    const auto found = std::find_if(tree.begin(), tree.end(),
                                    [&](const CommandText& command) { return command.name == options.command; });
    if (found == tree.end())
    {
        PrintProblems({{"command", options.command, "a command that narvo --help names"}});
        return ExitCode_BadInput;
    }
    std::cout << ManualPage(tree, static_cast<std::size_t>(found - tree.begin()));
    return ExitCode_Done;
}

} // namespace

void AddCompletionCommand(CLI::App& app, Action& action)
{
    const auto shell = std::make_shared<std::string>();
    CLI::App* command = app.add_subcommand("completion", "Print the completion script for a shell");
    command->add_option("shell", *shell, "bash, zsh or fish")
        ->required()
        ->check(CLI::IsMember(std::vector<std::string>(completionShells.begin(), completionShells.end())));
    command->footer("For this session of bash: source <(narvo completion bash)");
    command->callback(
        [shell, &app, &action]
        {
            action = [shell, &app]
            {
                std::cout << CompletionScript(*shell, ReadCommandTree(app));
                return ExitCode_Done;
            };
        });
}

void AddManualCommand(CLI::App& app, Action& action)
{
    const auto options = std::make_shared<ManualOptions>();
    CLI::App* command = app.add_subcommand("manual", "Print a manual page, or write all pages and completion scripts");
    command->add_option("command", options->command, "command to describe (default: the program itself)");
    command->add_option("--folder", options->folder, "folder to write all pages to, instead of printing one");
    command->add_option("--completions", options->completions,
                        "folder to write the completion scripts of all shells to");
    command->footer("To read one: narvo manual inspect | man -l -");
    command->callback([options, &app, &action]
                      { action = [options, &app] { return RunManual(*options, ReadCommandTree(app)); }; });
}

} // namespace narvo::tools
