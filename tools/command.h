// SPDX-License-Identifier: MIT
// The commands of the program, and what they have in common: how they are added to the command line, and what they
// leave to be run. A command lives in one file `<name>_command.cpp`, which holds its options, its help and its work.
#pragma once

#include <functional>
#include <string>

namespace CLI
{
class App;
}

namespace narvo::tools
{

/// What the parsed command line asks for. @return the program's exit code
using Action = std::function<int()>;

// Each adds a command with its options to the program; parsing it stores what it does in `action`, which outlives
// `app`.

/// `narvo inspect`: inspects images and writes blobs and overlays.
void AddInspectCommand(CLI::App& app, Action& action);
/// `narvo watch`: inspects images as they come, from a folder, a pipe or shared memory.
void AddWatchCommand(CLI::App& app, Action& action);
/// `narvo golden`: inspects images against references whose pattern does not repeat.
void AddGoldenCommand(CLI::App& app, Action& action);
/// `narvo report`: writes results as one self-contained HTML page.
void AddReportCommand(CLI::App& app, Action& action);

/// `narvo lot`: finds what the images of a store have in common.
void AddLotCommand(CLI::App& app, Action& action);

/// `narvo cell`: keeps what a pattern's cell looks like, and finds what is wrong in every cell alike.
void AddCellCommand(CLI::App& app, Action& action);

/// `narvo export`: writes defects in the forms of other programs.
void AddExportCommand(CLI::App& app, Action& action);

/// `narvo learn`: makes a recipe from good images.
void AddLearnCommand(CLI::App& app, Action& action);
/// `narvo pitch`: finds the period of an image's pattern along x and y.
void AddPitchCommand(CLI::App& app, Action& action);
/// `narvo tune`: sweeps a field of a recipe over images and proposes a value.
void AddTuneCommand(CLI::App& app, Action& action);
/// `narvo explain`: tells why a pixel was reported or not.
void AddExplainCommand(CLI::App& app, Action& action);
/// `narvo field`: makes a flat-field or dark-field image from frames.
void AddFieldCommand(CLI::App& app, Action& action);
/// `narvo recipe`: lists the fields of a recipe.
void AddRecipeCommand(CLI::App& app, Action& action);
/// `narvo bench`: measures how fast a recipe is on an image.
void AddBenchCommand(CLI::App& app, Action& action);

/// `narvo evaluate`: measures a recipe on images with known defects.
void AddEvaluateCommand(CLI::App& app, Action& action);

/// `narvo capability`: measures which defects a recipe finds.
void AddCapabilityCommand(CLI::App& app, Action& action);

/// `narvo synth`: makes a panel with its zones, recipe and truth.
void AddSynthCommand(CLI::App& app, Action& action);
/// `narvo cloth`: makes images of woven cloth, good and with known defects.
void AddClothCommand(CLI::App& app, Action& action);
/// `narvo board`: makes photographs of a board that does not repeat, with known defects.
void AddBoardCommand(CLI::App& app, Action& action);

/// `narvo completion`: prints a shell's completion script.
void AddCompletionCommand(CLI::App& app, Action& action);
/// `narvo manual`: prints or writes manual pages.
void AddManualCommand(CLI::App& app, Action& action);

/// "1.2.3".
std::string VersionText();

/// The program's command line with all commands, which is also what its manual pages and shell completions are made
/// from. Groups of options and validators speak for themselves there: give every option a description that names unit
/// and range, and take CLI::ExistingFile and its like only where the problem may be told in that validator's words.
void BuildCommandLine(CLI::App& app, Action& action);

} // namespace narvo::tools
