// The list of commands.
#include "tools/command.h"

#include <string>

#include <CLI/CLI.hpp>

#include "narvoassem/version.h"
#include "tools/bench_command.h"
#include "tools/board_command.h"
#include "tools/exit_code.h"
#include "tools/explain_command.h"
#include "tools/golden_command.h"
#include "tools/inspect_command.h"
#include "tools/pitch_command.h"
#include "tools/recipe_command.h"
#include "tools/report_command.h"
#include "tools/shell_command.h"
#include "tools/synth_command.h"
#include "tools/tune_command.h"

namespace narvo
{

namespace
{

// In the order in which the help shows them.
constexpr AddCommand commands[] = {
    AddInspectCommand, AddGoldenCommand, AddPitchCommand,  AddReportCommand, AddExplainCommand,    AddTuneCommand,
    AddSynthCommand,   AddBoardCommand,  AddRecipeCommand, AddBenchCommand,  AddCompletionCommand, AddManualCommand,
};

} // namespace

void BuildCommandLine(CLI::App& app, Action& action)
{
    app.name("narvo");
    app.description("Inspects images of periodic patterns for defects.");
    app.set_version_flag("--version",
                         std::to_string(NARVOASSEM_VERSION_MAJOR) + "." + std::to_string(NARVOASSEM_VERSION_MINOR) +
                             "." + std::to_string(NARVOASSEM_VERSION_PATCH),
                         "Print the version and exit");
    app.footer(DescribeExitCodes());
    app.require_subcommand(1);
    app.fallthrough();
    for (const AddCommand add : commands)
        add(app, action);
}

} // namespace narvo
