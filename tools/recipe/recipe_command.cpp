// SPDX-License-Identifier: MIT
// The reference of recipe fields on the terminal.
#include "tools/command.h"

#include <iostream>
#include <memory>
#include <string>

#include <CLI/CLI.hpp>

#include "narvo/host_recipe.h"
#include "narvo/host_recipe_fields.h"
#include "tools/exit_code.h"
#include "tools/quiet_codecs.h"

namespace narvo::tools
{

namespace
{

struct RecipeOptions
{
    std::string file; ///< empty: the reference
    bool schema = false;
    bool block = false;
};

/// The recipe with all that it leaves to its defaults.
int ShowRecipe(const std::string& file)
{
    try
    {
        const QuietCodecs quiet;
        std::cout << v1::Recipe::FromFile(file).Text() << '\n';
        return ExitCode_Done;
    }
    catch (const v1::Error& error)
    {
        PrintProblems(ProblemsOf(error));
        return ExitCode_BadInput;
    }
}

int RunRecipe(const RecipeOptions& options)
{
    if (!options.file.empty())
        return ShowRecipe(options.file);
    if (options.schema)
        std::cout << v1::RecipeSchemaText() << '\n';
    else
        std::cout << (options.block ? v1::BlockFieldsText() : v1::RecipeFieldsText());
    return ExitCode_Done;
}

} // namespace

void AddRecipeCommand(CLI::App& app, Action& action)
{
    const auto options = std::make_shared<RecipeOptions>();
    CLI::App* command = app.add_subcommand("recipe", "List the fields of a recipe: range, default, meaning");
    CLI::Option* file =
        command->add_option("file", options->file, "recipe to check and to show with every default written out");
    CLI::Option* schema =
        command->add_flag("--schema", options->schema, "print the JSON schema of recipes instead")->excludes(file);
    command->add_flag("--block", options->block, "list the engine's parameters instead, with the fields that set them")
        ->excludes(file)
        ->excludes(schema);
    command->callback([options, &action] { action = [options] { return RunRecipe(*options); }; });
}

} // namespace narvo::tools
