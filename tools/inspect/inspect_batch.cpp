// The run over many images.
#include "tools/inspect/inspect_batch.h"

#include <algorithm>
#include <cstdio>
#include <iostream>
#include <thread>

#include "host/foreign_text.h"
#include "host/inspect/batch.h"
#include "host/problem.h"
#include "host/recipe/recipe.h"
#include "host/result/digest.h"
#include "tools/exit_code.h"
#include "tools/inspect/batch_progress.h"
#include "tools/inspect/interrupt.h"
#include "tools/output_names.h"
#include "tools/quiet_codecs.h"

namespace narvo
{

namespace
{

/// What the codecs write about a broken file is told in words of our own.
std::vector<Recipe> LoadQuietly(const std::string& file)
{
    const QuietCodecs quiet;
    return LoadRecipes(file);
}

void CheckOutputNames(const InspectBatchOptions& options, const std::vector<Recipe>& recipes,
                      const std::vector<std::string>& images)
{
    OutputNames names;
    names.AddRecipe(options.recipe, recipes);
    if (options.images.list != "-")
        names.AddInput(options.images.list);
    for (const std::string& image : images)
        names.AddInput(image);
    names.AddOutputs("all images", options.prefix, {".jsonl", ".csv"});
    names.Check();
}

/// Damaged lines of an earlier run.
void ReportDamage(const ResultLines& lines)
{
    for (Problem problem : lines.Damage())
    {
        problem.field = "warning: " + problem.field;
        problem.allowed += "; the image is inspected again";
        PrintProblems({problem});
    }
}

void Report(const ImageResult& result, BatchProgress& progress)
{
    for (const Problem& problem : result.problems)
    {
        const bool named = problem.field.find(result.name) != std::string::npos;
        progress.Line("narvo: " + (named ? "" : Printable(result.name) + ": ") + problem.Text());
    }
    for (const InspectionResult& region : result.regions)
        for (const std::string& warning : region.warnings)
            progress.Line("narvo: warning: " +
                          Printable(result.name + (region.name.empty() ? "" : ", " + region.name)) + ": " + warning);
}

std::string Number(double value)
{
    char text[32];
    std::snprintf(text, sizeof text, value < 100.0 ? "%.2f" : "%.0f", value);
    return text;
}

void PrintSummary(const BatchSummary& summary, const BatchProgress& progress, const ResultLines& lines,
                  std::size_t todo)
{
    const double seconds = std::max(progress.Seconds(), 1e-3);
    const std::size_t inspected = summary.images - summary.refused;
    std::cout << "images: " << summary.images << " (" << inspected << " inspected, " << summary.refused << " refused, "
              << summary.warned << " with warnings)";
    if (lines.KeptLines() > 0)
        std::cout << "; " << lines.KeptLines() << " done before";
    std::cout << "\nblobs:  " << summary.blobs << "\ntime:   " << FormatSeconds(seconds) << ", "
              << Number(static_cast<double>(summary.images) / seconds) << " images/s, "
              << Number(progress.Megapixels() / seconds) << " Mpixel/s, " << summary.lanes
              << (summary.lanes == 1 ? " lane" : " lanes") << '\n';
    if (summary.stopped)
        std::cout << "interrupted: " << todo - summary.images << " images are left; go on with --resume\n";
    std::cout << "written: " << Printable(lines.LineFile().string()) << ", " << Printable(lines.TableFile().string())
              << std::endl;
}

} // namespace

int RunInspectBatch(InspectBatchOptions options)
{
    const std::vector<Recipe> recipes = LoadQuietly(options.recipe);
    options.images.apart = PaintedImages(options.recipe, recipes);
    const std::vector<std::string> names = ListImages(options.images);
    CheckOutputNames(options, recipes, names);
    // Before the threads of the batch; and the batch before the results, which stay as they are if it cannot be made.
    const InterruptRequest interrupt;
    const int lanes = options.lanes > 0 ? options.lanes : DefaultLanes(names.size() * recipes.size());
    Batch batch(recipes, lanes);
    ResultLines lines({options.prefix, DigestOfRecipes(recipes), recipes.size(), options.start, options.retry});
    ReportDamage(lines);

    std::vector<BatchImage> images;
    std::vector<FileIdentity> identities;
    for (const std::string& name : names)
        if (!lines.IsDone(name))
            images.push_back({name, {}});
    identities.resize(images.size());
    for (std::size_t i = 0; i < images.size(); ++i)
        images[i].load = [&identity = identities[i], &name = images[i].name]
        {
            // Taken before the file is read: a change in between makes the line out of date, never wrongly current.
            identity = FileIdentity::Of(name);
            identity.digest = DigestOfFile(name);
            return LoadGreyImage(name);
        };

    if (!options.quiet)
        std::cout << "recipe: " << Printable(options.recipe) << ", " << recipes.size()
                  << (recipes.size() == 1 ? " region" : " regions") << "\nimages: " << images.size() << " to inspect"
                  << (lines.KeptLines() > 0 ? ", " + std::to_string(lines.KeptLines()) + " done before" : "")
                  << (lines.DroppedLines() > 0
                          ? ", " + std::to_string(lines.DroppedLines()) + " earlier results no longer hold"
                          : "")
                  << std::endl;

    const QuietCodecs quiet;
    BatchProgress progress(quiet.ErrorStream(), images.size(), options.quiet);
    const BatchSummary summary = batch.Run(
        images,
        [&](const ImageResult& result)
        {
            lines.Add(result, identities[result.number]);
            Report(result, progress);
            progress.Count(result);
        },
        interrupt.Token());
    progress.Finish();
    lines.Finish(names);
    if (!options.quiet)
        PrintSummary(summary, progress, lines, images.size());
    return summary.stopped       ? ExitCode_Interrupted
           : summary.refused > 0 ? ExitCode_SomeRefused
           : summary.warned > 0  ? ExitCode_Incomplete
                                 : ExitCode_Done;
}

int DefaultLanes(std::size_t pieces)
{
    constexpr std::size_t nMost = 64;
    const std::size_t processors = std::max(1U, std::thread::hardware_concurrency());
    return static_cast<int>(std::max<std::size_t>(1, std::min({processors, pieces, nMost})));
}

} // namespace narvo
