// SPDX-License-Identifier: MIT
// The list of commands.
#include "tools/command.h"

#include <cstdint>
#include <string>

#include <CLI/CLI.hpp>

#include "host/image/grey_image.h"
#include "host/limits.h"
#include "narvoassem/version.h"
#include "tools/exit_code.h"
#include "tools/image_options.h"

namespace narvo::tools
{

namespace
{

// In the order in which the help shows them.
constexpr void (*commands[])(CLI::App&, Action&) = {
    AddInspectCommand,  AddWatchCommand,      AddGoldenCommand, AddLearnCommand,  AddPitchCommand,   AddFieldCommand,
    AddReportCommand,   AddLotCommand,        AddCellCommand,   AddExportCommand, AddExplainCommand, AddTuneCommand,
    AddEvaluateCommand, AddCapabilityCommand, AddSynthCommand,  AddBoardCommand,  AddClothCommand,   AddRecipeCommand,
    AddBenchCommand,    AddCompletionCommand, AddManualCommand,
};

} // namespace

std::string VersionText()
{
    return std::to_string(NARVOASSEM_VERSION_MAJOR) + "." + std::to_string(NARVOASSEM_VERSION_MINOR) + "." +
           std::to_string(NARVOASSEM_VERSION_PATCH);
}

void BuildCommandLine(CLI::App& app, Action& action)
{
    app.name("narvo");
    app.description("Inspects images of periodic patterns for defects.");
    app.set_version_flag("--version", VersionText(), "Print the version and exit");
    app.footer(DescribeExitCodes());
    app.require_subcommand(1);
    app.add_option_function<std::int64_t>("--max-pixels", &SetMaxImagePixels,
                                          "pixels that an image may have, 1 to " + std::to_string(nHighestMaxPixels))
        ->check(CLI::Range(std::int64_t{1}, nHighestMaxPixels))
        ->default_str(std::to_string(nDefaultMaxPixels));
    AddImageOptions(app);
    app.fallthrough();
    for (const auto add : commands)
        add(app, action);
}

} // namespace narvo::tools
