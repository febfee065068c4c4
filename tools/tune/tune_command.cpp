// SPDX-License-Identifier: MIT
// A sweep from the command line to its files.
#include "tools/command.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <CLI/CLI.hpp>

#include "host/file/output_file.h"
#include "host/foreign_text.h"
#include "host/inspect/batch.h"
#include "host/problem.h"
#include "host/recipe/recipe_file.h"
#include "tools/exit_code.h"
#include "tools/image_options.h"
#include "tools/inspect/interrupt.h"
#include "tools/output_names.h"
#include "tools/quiet_codecs.h"
#include "tools/truth/truth.h"
#include "tools/tune/sweep.h"
#include "tools/tune/sweep_plot.h"

namespace narvo::tools
{

namespace
{

constexpr int nStepMost = 1000;

struct TuneOptions
{
    std::vector<std::string> images;
    std::string recipe;
    std::string field;
    double from = 0.0;
    double to = 0.0;
    int steps = 21;
    bool shift = false;
    std::vector<std::string> truth;
    std::optional<long> mostFalse;
    std::string output;
    std::string plot;
    std::string save;
    int lanes = 0;
    bool quiet = false;
};

/// Adds what one value found in one image.
void Count(SweepPoint& point, const InspectionResult& result, const std::vector<TruthDefect>* truth)
{
    point.blobs += static_cast<long>(result.blobs.size());
    point.incomplete += result.warnings.empty() ? 0 : 1;
    if (truth == nullptr)
        return;
    const TruthScore score = CompareWithTruth(*truth, result.blobs);
    point.defects += static_cast<long>(truth->size());
    point.found += score.FoundCount();
    point.falseBlobs += score.FalseCount();
}

/// `recipe` is none where it could not be read.
void CheckOutputNames(const TuneOptions& options, const std::optional<CheckedRecipe>& recipe, const std::string& prefix,
                      const std::string& plot)
{
    OutputNames names;
    if (recipe)
        names.AddRecipe(options.recipe, {*recipe});
    else
        names.AddInput(options.recipe);
    for (const std::string& file : options.images)
        names.AddInput(file);
    for (const std::string& file : options.truth)
        names.AddInput(file);
    names.AddOutputs("the table", prefix, {".tune.csv"});
    names.AddOutputs("the picture", plot);
    if (!options.save.empty())
        names.AddOutputs("--save", options.save);
    names.Check();
}

int RunTune(const TuneOptions& options)
{
    std::vector<Problem> found;
    const auto collect = [&](auto&& step)
    {
        const QuietCodecs quiet;
        CollectProblems(found, step);
    };
    std::optional<CheckedRecipe> recipe;
    collect([&] { recipe = LoadRecipeByOptions(options.recipe); });
    std::vector<std::vector<TruthDefect>> truth;
    for (const std::string& file : options.truth)
        collect([&] { truth.push_back(LoadTruth(file)); });
    if (!options.truth.empty() && options.truth.size() != options.images.size())
        found.push_back({"--truth", std::to_string(options.truth.size()) + " files",
                         "one for each of the " + std::to_string(options.images.size()) + " images, in their order"});
    const std::string extension = std::filesystem::path(options.plot).extension().string();
    if (!options.plot.empty() && extension != ".svg" && extension != ".png")
        found.push_back({"--plot", options.plot, "a name in .svg or .png"});

    const std::string prefix =
        options.output.empty() ? std::filesystem::path(options.recipe).replace_extension().string() : options.output;
    const std::string plot = options.plot.empty() ? prefix + ".tune.svg" : options.plot;
    collect([&] { CheckOutputNames(options, recipe, prefix, plot); });

    Sweep sweep;
    std::vector<CheckedRecipe> recipes;
    if (found.empty())
        collect(
            [&]
            {
                const SweepField field(*recipe, options.field);
                sweep.field = field.Path();
                sweep.unit = field.Unit();
                for (const double value : SweepValues(options.from, options.to, options.steps, field.IsWhole()))
                {
                    recipes.emplace_back(field.With(*recipe, value, options.shift));
                    sweep.points.emplace_back().value = value;
                }
            });
    std::unique_ptr<Batch> batch;
    if (found.empty())
        collect(
            [&]
            {
                const int processors = std::clamp(static_cast<int>(std::thread::hardware_concurrency()), 1, 256);
                batch = std::make_unique<Batch>(recipes, options.lanes > 0 ? options.lanes : processors);
            });
    if (!found.empty())
    {
        PrintProblems(found);
        return ExitCode_BadInput;
    }

    sweep.shift = options.shift;
    sweep.hasTruth = !truth.empty();
    sweep.images = static_cast<int>(options.images.size());
    std::vector<BatchImage> images;
    for (const std::string& image : options.images)
        images.push_back(ImageFromFile(image, **recipe, &ProgramNotes()));
    BatchSummary summary;
    {
        const InterruptRequest interrupt;
        const QuietCodecs quiet;
        summary = batch->Run(
            images,
            [&](const ImageResult& result)
            {
                found.insert(found.end(), result.problems.begin(), result.problems.end());
                for (std::size_t i = 0; i < result.regions.size(); ++i)
                    Count(sweep.points[i], result.regions[i], truth.empty() ? nullptr : &truth[result.number]);
            },
            interrupt.Token());
    }
    if (summary.stopped)
    {
        std::cerr << "narvo: interrupted, nothing is written\n";
        return ExitCode_Interrupted;
    }
    if (!found.empty())
    {
        PrintProblems(found);
        return ExitCode_BadInput;
    }

    const std::optional<Proposal> proposal = Propose(sweep, options.mostFalse);
    if (!options.quiet)
        std::cout << sweep.field << (sweep.unit.empty() ? "" : ", " + sweep.unit) << ", over " << sweep.images
                  << (sweep.images == 1 ? " image\n" : " images\n") << SweepTable(sweep, proposal);
    if (proposal)
        std::cout << "proposed: " << sweep.field << (sweep.shift ? " changed by " : " = ")
                  << FormatNumber(sweep.points[proposal->point].value) << ": " << proposal->reason << '\n';
    else
        std::cout << "proposed: none, since no value " << (sweep.hasTruth ? "qualifies" : "lies in a steady run")
                  << '\n';

    WriteTextFile(prefix + ".tune.csv", SweepCsv(sweep));
    SaveSweepPlot(plot, sweep, proposal);
    if (!options.save.empty() && proposal)
        SaveRecipe(options.save, recipes[proposal->point]);
    if (!options.quiet)
        std::cout << "written: " << Printable(prefix) << ".tune.csv, " << Printable(plot)
                  << (options.save.empty() || !proposal ? "" : ", " + Printable(options.save)) << '\n';
    const bool complete = std::all_of(sweep.points.begin(), sweep.points.end(),
                                      [](const SweepPoint& point) { return point.incomplete == 0; });
    return complete ? ExitCode_Done : ExitCode_Incomplete;
}

} // namespace

void AddTuneCommand(CLI::App& app, Action& action)
{
    const auto options = std::make_shared<TuneOptions>();
    CLI::App* command = app.add_subcommand("tune", "Sweep a recipe field over images and propose a value");
    command->add_option("images", options->images, "image files, as for inspect")->required();
    command->add_option("-r,--recipe", options->recipe, "recipe file; its fields: narvo recipe")->required();
    command
        ->add_option("-f,--field", options->field,
                     "a numeric field of the recipe by its dotted name, in its own unit and range (narvo recipe); "
                     "zones.list.offset sweeps all zones, zones.list[2].offset the zone with index 2")
        ->required();
    command->add_option("--from", options->from, "first value, in the field's unit")->required();
    command->add_option("--to", options->to, "last value, in the field's unit")->required();
    command
        ->add_option("-n,--steps", options->steps, "values from first to last, 1 to 1000; whole fields round to fewer")
        ->check(CLI::Range(1, nStepMost))
        ->capture_default_str();
    command->add_flag("--shift", options->shift, "add the values to what the recipe has, in place of setting them");
    command->add_option("-t,--truth", options->truth,
                        "true defects, one file for each image in their order (default: blobs are counted only)");
    command
        ->add_option("--max-false", options->mostFalse,
                     "with --truth: propose the value that finds most with at most so many false blobs in all images "
                     "(default: the best balance)")
        ->check(CLI::NonNegativeNumber);
    command->add_option("-o,--output", options->output,
                        "beginning of the files' names (default: the recipe's name without its ending)");
    command->add_option("--plot", options->plot, "picture, .svg or .png (default: OUTPUT.tune.svg)");
    command->add_option("--save", options->save, "recipe file to write with the proposed value");
    command
        ->add_option("-j,--lanes", options->lanes,
                     "inspections at once, 1 to 256 (default: one for each processor); results do not depend on it")
        ->check(CLI::Range(1, 256));
    command->add_flag("-q,--quiet", options->quiet, "print the proposal and problems only");
    command->footer("Leaves OUTPUT.tune.csv and the picture.");
    command->callback([options, &action] { action = [options] { return RunTune(*options); }; });
}

} // namespace narvo::tools
