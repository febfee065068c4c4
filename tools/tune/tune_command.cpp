// SPDX-License-Identifier: MIT
// A sweep from the command line to its files, of a recipe's field or of a setting of golden inspections.
#include "tools/command.h"

#include <algorithm>
#include <filesystem>
#include <functional>
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
#include "tools/truth/truth_files.h"
#include "tools/tune/golden_sweep.h"
#include "tools/tune/proposal.h"
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
    std::string recipe;                  ///< empty where references are given
    std::vector<std::string> references; ///< of golden inspections
    std::vector<std::string> fields;
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

/// What is swept: a recipe's field, or a setting of golden inspections.
struct SweepInput
{
    std::optional<CheckedRecipe> recipe;  ///< none where it could not be read, and with references
    std::vector<CheckedRecipe> recipes;   ///< one for each value
    std::vector<GreyImage> references;    ///< in place of a recipe
    std::vector<GoldenSettings> settings; ///< one for each value
};

/// Whether the saved recipe needs copies of its images beside it: those that options name, and all of a recipe in
/// another folder, would not be found by their names.
bool SavesImages(const TuneOptions& options)
{
    const auto folderOf = [](const std::string& file)
    { return std::filesystem::weakly_canonical(std::filesystem::absolute(file)).parent_path(); };
    return !FieldFilesByOption().empty() || folderOf(options.save) != folderOf(options.recipe);
}

void CheckOutputNames(const TuneOptions& options, const SweepInput& input, const std::string& prefix,
                      const std::string& plot)
{
    OutputNames names;
    if (input.recipe)
        names.AddRecipe(options.recipe, {*input.recipe});
    else
        names.AddInput(options.recipe);
    for (const std::vector<std::string>* files : {&options.references, &options.images, &options.truth})
        for (const std::string& file : *files)
            names.AddInput(file);
    names.AddOutputs("the table", prefix, {".tune.csv"});
    names.AddOutputs("the picture", plot);
    if (!options.save.empty())
        names.AddOutputs("--save", options.save);
    if (!options.save.empty() && input.recipe && SavesImages(options))
        for (const std::filesystem::path& image : ImagesBeside(options.save, *input.recipe))
            names.AddOutputs("the images of --save", image.string());
    names.Check();
}

/// Fills in the values, and what is inspected with each of them.
void AddValues(const TuneOptions& options, bool whole, Sweep& sweep, const std::function<void(double value)>& take)
{
    for (const double value : SweepValues(options.from, options.to, options.steps, whole))
    {
        take(value);
        sweep.points.emplace_back().value = value;
    }
}

/// Fields that are swept together all get the same value, or the same is added to each.
void AddRecipeFields(const TuneOptions& options, SweepInput& input, Sweep& sweep)
{
    std::vector<SweepField> fields;
    bool whole = true;
    for (const std::string& name : options.fields)
    {
        const SweepField& field = fields.emplace_back(*input.recipe, name);
        if (field.Unit() != fields.front().Unit())
            throw HostError({{"field", name + ", in " + field.Unit(),
                              "a field in " + fields.front().Unit() + ", as " + fields.front().Path()}});
        sweep.field += (sweep.field.empty() ? "" : " and ") + field.Path();
        const double own = field.Own(*input.recipe);
        sweep.own = options.shift ? (fields.size() == 1 ? own : std::min(sweep.own, own)) : 0.0;
        whole = whole && field.IsWhole();
    }
    sweep.unit = fields.front().Unit();
    AddValues(options, whole, sweep,
              [&](double value)
              {
                  Recipe changed = *input.recipe;
                  for (const SweepField& field : fields)
                      changed = field.With(changed, value, options.shift);
                  input.recipes.emplace_back(std::move(changed));
              });
}

void AddGoldenField(const TuneOptions& options, SweepInput& input, Sweep& sweep)
{
    if (options.fields.size() != 1)
        throw HostError({{"field", std::to_string(options.fields.size()) + " settings", "one with references"}});
    const GoldenField field(options.fields.front());
    sweep.field = field.Name();
    sweep.unit = field.Unit();
    sweep.own = options.shift ? field.Own() : 0.0;
    AddValues(options, field.IsWhole(), sweep,
              [&](double value) { input.settings.push_back(field.With(value, options.shift)); });
}

/// Runs all inspections. @return whether it came to its end; `found` gets what was wrong with images
bool RunSweep(const SweepInput& input, const TuneOptions& options, int lanes, Batch* batch,
              const std::vector<std::vector<TruthDefect>>& truth, Sweep& sweep, std::vector<Problem>& found)
{
    const ImageReading reading = input.recipe ? static_cast<const ImageReading&>(**input.recipe) : ReadingOf();
    std::vector<BatchImage> images;
    for (const std::string& image : options.images)
        images.push_back(ImageFromFile(image, reading, &ProgramNotes()));
    const auto truthOf = [&](std::size_t image) { return truth.empty() ? nullptr : &truth[image]; };
    const InterruptRequest interrupt;
    const QuietCodecs quiet;
    if (batch != nullptr)
        return !batch
                    ->Run(
                        images,
                        [&](const ImageResult& result)
                        {
                            found.insert(found.end(), result.problems.begin(), result.problems.end());
                            for (std::size_t i = 0; i < result.regions.size(); ++i)
                                Count(sweep.points[i], result.regions[i], truthOf(result.number));
                        },
                        interrupt.Token())
                    .stopped;
    RunGoldenSweep(
        input.references, input.settings, images, lanes,
        [&](std::size_t i, std::size_t image, const InspectionResult* result, const std::vector<Problem>& problems)
        {
            // Settings may refuse an image that others take: such a value is incomplete, and not proposed.
            if (result != nullptr)
                Count(sweep.points[i], *result, truthOf(image));
            else
                ++sweep.points[i].incomplete;
            if (i == 0)
                found.insert(found.end(), problems.begin(), problems.end());
        },
        interrupt.Token());
    return !interrupt.Token().stop_requested();
}

int RunTune(const TuneOptions& options)
{
    std::vector<Problem> found;
    const auto collect = [&](auto&& step)
    {
        const QuietCodecs quiet;
        CollectProblems(found, step);
    };
    SweepInput input;
    if (options.references.empty())
        collect([&] { input.recipe = LoadRecipeByOptions(options.recipe); });
    for (const std::string& file : options.references)
        collect([&] { input.references.push_back(LoadImage(file)); });
    std::vector<std::vector<TruthDefect>> truth;
    if (!options.truth.empty())
        collect([&] { truth = LoadTruths(options.truth, options.images); });
    const std::string extension = std::filesystem::path(options.plot).extension().string();
    if (!options.plot.empty() && extension != ".svg" && extension != ".png")
        found.push_back({"--plot", options.plot, "a name in .svg or .png"});

    const std::string& first = options.references.empty() ? options.recipe : options.references.front();
    const std::string prefix =
        options.output.empty() ? std::filesystem::path(first).replace_extension().string() : options.output;
    const std::string plot = options.plot.empty() ? prefix + ".tune.svg" : options.plot;
    collect([&] { CheckOutputNames(options, input, prefix, plot); });

    Sweep sweep;
    if (found.empty())
        collect([&] { (input.recipe ? AddRecipeFields : AddGoldenField)(options, input, sweep); });
    const int processors = std::clamp(static_cast<int>(std::thread::hardware_concurrency()), 1, 256);
    const int lanes = options.lanes > 0 ? options.lanes : processors;
    std::unique_ptr<Batch> batch;
    if (found.empty() && input.recipe)
        collect([&] { batch = std::make_unique<Batch>(input.recipes, lanes); });
    if (!found.empty())
    {
        PrintProblems(found);
        return ExitCode_BadInput;
    }

    sweep.shift = options.shift;
    sweep.hasTruth = !truth.empty();
    sweep.images = static_cast<int>(options.images.size());
    bool ended = false;
    collect([&] { ended = RunSweep(input, options, lanes, batch.get(), truth, sweep, found); });
    if (!found.empty())
    {
        PrintProblems(found);
        return ExitCode_BadInput;
    }
    if (!ended)
    {
        std::cerr << "narvo: interrupted, nothing is written\n";
        return ExitCode_Interrupted;
    }

    const std::optional<Proposal> proposal = Propose(sweep, options.mostFalse);
    if (!options.quiet)
        std::cout << sweep.field << (sweep.unit.empty() ? "" : ", " + sweep.unit) << ", over " << sweep.images
                  << (sweep.images == 1 ? " image\n" : " images\n")
                  << SweepTable(sweep, proposal ? std::optional(proposal->point) : std::nullopt);
    if (proposal)
        std::cout << "proposed: " << sweep.field << (sweep.shift ? " changed by " : " = ")
                  << FormatNumber(sweep.points[proposal->point].value) << ": " << proposal->reason << '\n';
    else
        std::cout << "proposed: none, since " << WhyNoProposal(sweep) << '\n';

    WriteTextFile(prefix + ".tune.csv", SweepCsv(sweep));
    SaveSweepPlot(plot, sweep, proposal);
    if (!options.save.empty() && proposal)
    {
        if (SavesImages(options))
            SaveRecipeWithImages(options.save, *input.recipes[proposal->point]);
        else
            SaveRecipe(options.save, input.recipes[proposal->point]);
    }
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
    CLI::App* command = app.add_subcommand(
        "tune", "Sweep a recipe field or a setting of golden inspections over images and propose a value");
    command->add_option("images", options->images, "image files, as for inspect")->required();
    CLI::Option* recipe = command->add_option("-r,--recipe", options->recipe, "recipe file; its fields: narvo recipe");
    CLI::Option* reference =
        command
            ->add_option("--reference", options->references,
                         "in place of a recipe: reference of golden inspections, once for each of several")
            ->allow_extra_args(false)
            ->excludes(recipe);
    command
        ->add_option("-f,--field", options->fields,
                     "a numeric field of the recipe by its dotted name, in its own unit and range (narvo recipe); "
                     "zones.list.offset sweeps all zones, zones.list[2].offset the zone with index 2; given again, the "
                     "fields are swept together (average.bright and average.dark); with references one of "
                     "threshold, edge_tolerance, min_pixels, max_shift, max_rotation, max_scale, mesh or "
                     "min_correlation")
        ->required()
        ->allow_extra_args(false);
    command->add_option("--from", options->from, "first value, in the field's unit")->required();
    command->add_option("--to", options->to, "last value, in the field's unit")->required();
    command
        ->add_option("-n,--steps", options->steps, "values from first to last, 1 to 1000; whole fields round to fewer")
        ->check(CLI::Range(1, nStepMost))
        ->capture_default_str();
    command->add_flag("--shift", options->shift,
                      "add the values to what the recipe has, or to the default, in place of setting them");
    command->add_option(
        "-t,--truth", options->truth,
        "true defects: a file or mask for each image in their order, or a folder that holds them under the "
        "images' names (default: blobs are counted only)");
    command
        ->add_option("--max-false", options->mostFalse,
                     "with --truth: propose the value that finds most with at most so many false blobs in all images "
                     "(default: the best balance)")
        ->check(CLI::NonNegativeNumber);
    command->add_option(
        "-o,--output", options->output,
        "beginning of the files' names (default: the recipe's or the first reference's name without its ending)");
    command->add_option("--plot", options->plot, "picture, .svg or .png (default: OUTPUT.tune.svg)");
    command->add_option("--save", options->save, "recipe file to write with the proposed value")->excludes(reference);
    command
        ->add_option("-j,--lanes", options->lanes,
                     "inspections at once, 1 to 256 (default: one for each processor); results do not depend on it")
        ->check(CLI::Range(1, 256));
    command->add_flag("-q,--quiet", options->quiet, "print the proposal and problems only");
    command->footer("Leaves OUTPUT.tune.csv and the picture.");
    command->callback(
        [options, recipe, reference, &action]
        {
            if (recipe->count() == 0 && reference->count() == 0)
                throw CLI::RequiredError("--recipe or --reference");
            action = [options] { return RunTune(*options); };
        });
}

} // namespace narvo::tools
