// SPDX-License-Identifier: MIT
// Options of the inspection, and the run over one image: input, result files, summary.
#include "tools/command.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <memory>
#include <string>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "host/file/input_file.h"
#include "host/file/name_text.h"
#include "host/file/output_file.h"
#include "host/foreign_text.h"
#include "host/image/grey_image.h"
#include "host/inspect/batch.h"
#include "host/inspect/inspector.h"
#include "host/problem.h"
#include "host/recipe/recipe_file.h"
#include "host/result/digest.h"
#include "host/result/overlay.h"
#include "host/result/result_file.h"
#include "tools/exit_code.h"
#include "tools/image_options.h"
#include "tools/inspect/batch_options.h"
#include "tools/inspect/inspect_batch.h"
#include "tools/inspect/overlay_options.h"
#include "tools/inspect/store_run.h"
#include "tools/output_names.h"
#include "tools/quiet_codecs.h"
#include "tools/truth/truth.h"
#include "tools/truth/truth_files.h"

namespace narvo::tools
{

namespace
{

struct InspectOptions
{
    BatchOptions many; ///< places, output and quiet are those of a single image too
    std::string recipe;
    std::string truth;      ///< empty: none
    OverlayOptions overlay; ///< of a single image

    /// One image is told of in detail and leaves an overlay, unless that is not wanted.
    bool IsSingle() const
    {
        std::error_code error;
        const std::vector<std::string>& places = many.images.places;
        return places.size() == 1 && !many.AsksForMany() && !std::filesystem::is_directory(places[0], error);
    }
};

using Clock = std::chrono::steady_clock;

/// Lines on the terminal, each step with its time.
class Progress
{
public:
    explicit Progress(bool quiet) : m_quiet(quiet) {}

    void Line(const std::string& text) const
    {
        if (!m_quiet)
            std::cout << text << std::endl;
    }
    /// What has been done since the last step.
    void Step(const std::string& text)
    {
        const Clock::time_point now = Clock::now();
        char time[32];
        std::snprintf(time, sizeof time, " (%.0f ms)", std::chrono::duration<double, std::milli>(now - m_last).count());
        m_last = now;
        Line(text + time);
    }

private:
    bool m_quiet;
    Clock::time_point m_last = Clock::now();
};

std::string Percent(double share)
{
    char text[16];
    std::snprintf(text, sizeof text, "%.3f", share);
    return text;
}

void PrintLargest(const std::vector<Blob>& blobs, const Progress& progress)
{
    std::vector<const Blob*> largest;
    for (const Blob& blob : blobs)
        largest.push_back(&blob);
    const auto shown = std::min<std::size_t>(largest.size(), 5);
    std::partial_sort(largest.begin(), largest.begin() + static_cast<std::ptrdiff_t>(shown), largest.end(),
                      [](const Blob* a, const Blob* b)
                      { return a->area != b->area ? a->area > b->area : a->number < b->number; });
    for (std::size_t i = 0; i < shown; ++i)
    {
        const Blob& blob = *largest[i];
        progress.Line("  number " + std::to_string(blob.number) + (blob.bright ? ", bright" : ", dark") + ", " +
                      std::to_string(blob.area) + " pixels at " + std::to_string(blob.center.x) + ", " +
                      std::to_string(blob.center.y) + ", difference up to " + std::to_string(blob.maxDifference));
    }
}

void Summarise(const InspectionResult& result, Progress& progress)
{
    const std::string of = result.name.empty() ? "" : " " + Printable(result.name);
    progress.Step("inspected" + of + (result.direction == Direction_Vertical ? " vertically" : " horizontally") +
                  ", engine " + FormatNumber(std::round(result.inspectMilliseconds * 10.0) / 10.0) + " ms");
    const auto bright = std::count_if(result.blobs.begin(), result.blobs.end(), [](const Blob& b) { return b.bright; });
    progress.Line("blobs:  " + std::to_string(result.blobs.size()) + " (" +
                  std::to_string(static_cast<long>(result.blobs.size()) - bright) + " dark, " + std::to_string(bright) +
                  " bright), pairs " + std::to_string(result.pairs) + ", code " + std::to_string(result.code));
    PrintLargest(result.blobs, progress);
    for (const std::string& warning : result.warnings)
        std::cerr << "narvo: warning: " << (of.empty() ? "" : Printable(result.name) + ": ") << warning << '\n';
}

/// All regions as one result, for what is drawn and scored over the whole image.
InspectionResult Together(const std::vector<InspectionResult>& regions)
{
    InspectionResult all = regions.front();
    if (regions.size() == 1)
        return all;
    all.outlines.clear();
    all.blobs.clear();
    for (const InspectionResult& region : regions)
    {
        const CRect& frame = region.region;
        const std::vector<std::vector<CPoint>> rectangle = {{{frame.left, frame.top},
                                                             {frame.right - 1, frame.top},
                                                             {frame.right - 1, frame.bottom - 1},
                                                             {frame.left, frame.bottom - 1}}};
        const auto& outlines = region.outlines.empty() ? rectangle : region.outlines;
        all.outlines.insert(all.outlines.end(), outlines.begin(), outlines.end());
        all.blobs.insert(all.blobs.end(), region.blobs.begin(), region.blobs.end());
    }
    return all;
}

/// Blobs as JSON and table, one region as it has always been written, several with their names.
void WriteResults(const std::string& prefix, const InspectOptions& options,
                  const std::vector<InspectionResult>& regions)
{
    nlohmann::ordered_json document;
    std::string table;
    if (regions.size() == 1)
    {
        document = ResultToJson(regions.front());
        table = ResultToCsv(regions.front());
    }
    else
    {
        document["version"] = nResultVersion;
        document["regions"] = nlohmann::ordered_json::array();
        table = "region," + BlobColumns() + "\n";
        for (const InspectionResult& region : regions)
        {
            document["regions"].push_back(ResultToJson(region));
            for (const nlohmann::ordered_json& blob : document["regions"].back()["blobs"])
                table += TableCell(region.name) + "," + BlobRow(blob) + "\n";
        }
    }
    document["image"] = NameToText(options.many.images.places[0]);
    document["recipe"] = NameToText(options.recipe);
    WriteTextFile(prefix + ".blobs.json", document.dump(2) + "\n");
    WriteTextFile(prefix + ".blobs.csv", table);
}

int RunSingle(const InspectOptions& options)
{
    Progress progress(options.many.quiet);
    std::vector<Problem> found;
    const std::string& file = options.many.images.places[0];
    FileIdentity identity = FileIdentity::Of(file);
    if (options.many.store.IsWanted())
        identity.digest = DigestOfFile(file);
    std::shared_ptr<const GreyImage> image;
    std::vector<CheckedRecipe> recipes;
    std::vector<TruthDefect> truth;
    const bool recipeRead = CollectProblems(found,
                                            [&]
                                            {
                                                const QuietCodecs quiet;
                                                recipes = LoadRecipesByOptions(options.recipe);
                                            });
    if (recipeRead)
        progress.Step("recipe: " + Printable(options.recipe));
    const bool imageRead = CollectProblems(found,
                                           [&]
                                           {
                                               const QuietCodecs quiet;
                                               image = std::make_shared<const GreyImage>(LoadImage(
                                                   file, recipeRead ? ImageReading(*recipes.front()) : ReadingOf()));
                                           });
    if (imageRead)
        progress.Step("image:  " + Printable(file) + ", " + std::to_string(image->Width()) + " by " +
                      std::to_string(image->Height()) + " pixels");
    if (!options.truth.empty())
        CollectProblems(found, [&] { truth = LoadTruths({options.truth}, {file}).front(); });
    const std::string prefix =
        options.many.output.empty() ? std::filesystem::path(file).replace_extension().string() : options.many.output;
    CollectProblems(found,
                    [&]
                    {
                        OutputNames names;
                        names.AddInput(file);
                        names.AddRecipe(options.recipe, recipes);
                        names.AddInput(options.truth);
                        names.AddOutputs(file, prefix, {".blobs.json", ".blobs.csv"});
                        if (options.overlay.IsWanted())
                            names.AddOutputs(file, prefix, {".overlay.png"});
                        if (options.many.store.IsWanted() && !IsServerPlace(options.many.store.place))
                            names.AddOutputs("the store", options.many.store.place);
                        names.Check();
                    });
    std::vector<InspectionResult> regions;
    std::unique_ptr<StoreRun> store;
    if (found.empty() && options.many.store.IsWanted())
        store = std::make_unique<StoreRun>(options.many.store, prefix + ".blobs.json",
                                           StoredRecipe{DigestOfRecipes(recipes), options.recipe,
                                                        ReadTextFile(options.recipe, "recipe " + options.recipe)},
                                           RunStart_Afresh);
    ImageResult inspected;
    if (found.empty())
        CollectProblems(found,
                        [&]
                        {
                            Batch(recipes, ChooseLanes(options.many.lanes, recipes.size()))
                                .Run({{file, [&] { return image; }}},
                                     [&](const ImageResult& result)
                                     {
                                         ThrowIfAny(result.problems);
                                         regions = result.regions;
                                         inspected = result;
                                     });
                        });
    if (!found.empty())
    {
        PrintProblems(found);
        return ExitCode_BadInput;
    }
    for (const InspectionResult& region : regions)
        Summarise(region, progress);

    const InspectionResult all = Together(regions);
    std::vector<CRect> missed;
    if (!options.truth.empty())
    {
        const TruthScore score = CompareWithTruth(truth, all.blobs);
        for (std::size_t i = 0; i < truth.size(); ++i)
            if (!score.found[i])
                missed.push_back(truth[i].box);
        progress.Line("true defects found, by kind:\n" + DescribeScore(truth, score) +
                      "recall: " + Percent(score.Recall()) + " (" + std::to_string(score.FoundCount()) + " of " +
                      std::to_string(truth.size()) + ")\nfalse blobs: " + std::to_string(score.FalseCount()));
    }

    WriteResults(prefix, options, regions);
    if (options.overlay.IsWanted())
        SaveOverlay(prefix + ".overlay.png", *image, all, missed, options.overlay.MostPixels());
    if (store)
    {
        store->Begin([](const std::string& line) { std::cerr << "narvo: " + Printable(line) + "\n"; });
        store->Add(inspected, identity, 1);
        store->Finish();
        progress.Step("stored: " + Printable(store->Place()) + ", run " + Printable(store->Key()));
    }
    const std::string shown = Printable(prefix);
    progress.Step("written: " + shown + ".blobs.json, " + shown + ".blobs.csv" +
                  (options.overlay.IsWanted() ? ", " + shown + ".overlay.png" : ""));
    const bool complete = std::all_of(regions.begin(), regions.end(),
                                      [](const InspectionResult& region) { return region.warnings.empty(); });
    return complete ? ExitCode_Done : ExitCode_Incomplete;
}

int RunMany(const InspectOptions& options)
{
    if (!options.truth.empty())
    {
        PrintProblems({{"--truth", options.truth, "a single image"}});
        return ExitCode_BadInput;
    }
    return RunInspectBatch(options.recipe, options.many);
}

} // namespace

void AddInspectCommand(CLI::App& app, Action& action)
{
    const auto options = std::make_shared<InspectOptions>();
    CLI::App* command = app.add_subcommand("inspect", "Inspect images by a recipe");
    CLI::Option* images =
        command->add_option("images", options->many.images.places,
                            "image files (PNG, TIFF, BMP, PGM, JPEG, raw frames) and folders of them");
    command->add_option("-r,--recipe", options->recipe, "recipe file; its fields: narvo recipe")->required();
    AddBatchOptions(*command, options->many,
                    "inspections at once, 1 to 256, each with engines of its own (default: one for each processor)");
    command->add_option(
        "-t,--truth", options->truth,
        "true defects of a single image to compare with, as JSON or as lines of left top right bottom kind: "
        "recall and false blobs");
    command->add_option("-o,--output", options->many.output,
                        "beginning of the result files' names (default: for one image its name without the ending; "
                        "for many, results)");
    AddOverlayOptions(*command, options->overlay, "one image");
    AddStoreOptions(*command, options->many.store);
    command->add_flag("-q,--quiet", options->many.quiet, "print warnings and problems only");
    command->footer("One image leaves OUTPUT.blobs.json, OUTPUT.blobs.csv and OUTPUT.overlay.png. Several images, a "
                    "folder or a list leave\nOUTPUT.jsonl with one line for each image as it ends, and OUTPUT.csv with "
                    "one line for each blob.");
    command->callback(
        [options, images, &action]
        {
            if (images->count() == 0 && options->many.images.list.empty())
                throw CLI::RequiredError("images or --list");
            action = [options] { return options->IsSingle() ? RunSingle(*options) : RunMany(*options); };
        });
}

} // namespace narvo::tools
