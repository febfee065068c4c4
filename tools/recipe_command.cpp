// The reference of recipe fields on the terminal.
#include "tools/recipe_command.h"

#include <iostream>

#include <CLI/CLI.hpp>

#include "host/recipe.h"
#include "tools/exit_code.h"

namespace narvo
{

void AddRecipeCommand(CLI::App& app, Action& action)
{
    CLI::App* command = app.add_subcommand("recipe", "List the fields of a recipe: range, default, meaning");
    command->callback(
        [&action]
        {
            action = []
            {
                std::cout << DescribeRecipeFields();
                return ExitCode_Done;
            };
        });
}

} // namespace narvo
