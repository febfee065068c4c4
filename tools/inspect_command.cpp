// Inspection of one image: input, run, result files, summary.
#include "tools/inspect_command.h"

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

#include "host/grey_image.h"
#include "host/inspector.h"
#include "host/problem.h"
#include "host/recipe.h"
#include "host/recipe_check.h"
#include "host/result_file.h"
#include "tools/exit_code.h"
#include "tools/overlay.h"
#include "tools/quiet_codecs.h"
#include "tools/truth.h"

namespace narvo
{

namespace
{

struct InspectOptions
{
    std::string image;
    std::string recipe;
    std::string truth;  ///< empty: none
    std::string output; ///< what the files' names begin with; empty: the image's name without its ending
    bool quiet = false;
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

/// Runs `load` and keeps its problems with those of the others.
template <typename Load>
bool Collect(std::vector<Problem>& found, Load load)
{
    try
    {
        load();
        return true;
    }
    catch (const HostError& error)
    {
        found.insert(found.end(), error.Problems().begin(), error.Problems().end());
        return false;
    }
}

std::string Percent(double share)
{
    char text[16];
    std::snprintf(text, sizeof text, "%.3f", share);
    return text;
}

void Summarise(const InspectionResult& result, const Progress& progress)
{
    const auto bright = std::count_if(result.blobs.begin(), result.blobs.end(), [](const Blob& b) { return b.bright; });
    progress.Line("blobs:  " + std::to_string(result.blobs.size()) + " (" +
                  std::to_string(static_cast<long>(result.blobs.size()) - bright) + " dark, " + std::to_string(bright) +
                  " bright), pairs " + std::to_string(result.pairs) + ", code " + std::to_string(result.code));
    std::vector<const Blob*> largest;
    for (const Blob& blob : result.blobs)
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
    for (const std::string& warning : result.warnings)
        std::cerr << "narvo: warning: " << warning << '\n';
}

int RunInspect(const InspectOptions& options)
{
    Progress progress(options.quiet);
    std::vector<Problem> found;
    GreyImage image;
    Recipe recipe;
    std::vector<TruthDefect> truth;
    const bool imageRead = Collect(found,
                                   [&]
                                   {
                                       const QuietCodecs quiet;
                                       image = LoadGreyImage(options.image);
                                   });
    if (imageRead)
        progress.Step("image:  " + options.image + ", " + std::to_string(image.Width()) + " by " +
                      std::to_string(image.Height()) + " pixels");
    const bool recipeRead = Collect(found,
                                    [&]
                                    {
                                        const QuietCodecs quiet;
                                        recipe = LoadRecipe(options.recipe);
                                    });
    if (recipeRead)
        progress.Step("recipe: " + options.recipe);
    if (!options.truth.empty())
        Collect(found, [&] { truth = LoadTruth(options.truth); });
    if (imageRead && recipeRead)
        for (Problem& problem : CheckRecipeForImage(recipe, image.Width(), image.Height()))
            found.push_back(std::move(problem));
    if (!found.empty())
    {
        PrintProblems(found);
        return ExitCode_BadInput;
    }

    InspectionResult result;
    if (!Collect(found, [&] { result = Inspector(1, recipe.maxBlobs).Inspect(0, image, recipe); }))
    {
        PrintProblems(found);
        return ExitCode_BadInput;
    }
    progress.Step("inspected " + std::string(result.direction == Direction_Vertical ? "vertically" : "horizontally") +
                  ", engine " + FormatNumber(std::round(result.inspectMilliseconds * 10.0) / 10.0) + " ms");
    Summarise(result, progress);

    std::vector<CRect> missed;
    if (!options.truth.empty())
    {
        const TruthScore score = CompareWithTruth(truth, result.blobs);
        for (std::size_t i = 0; i < truth.size(); ++i)
            if (!score.found[i])
                missed.push_back(truth[i].box);
        progress.Line("true defects found, by kind:\n" + DescribeScore(truth, score) +
                      "recall: " + Percent(score.Recall()) + " (" + std::to_string(score.FoundCount()) + " of " +
                      std::to_string(truth.size()) + ")\nfalse blobs: " + std::to_string(score.FalseCount()));
    }

    const std::string prefix =
        options.output.empty() ? std::filesystem::path(options.image).replace_extension().string() : options.output;
    const bool written = Collect(found,
                                 [&]
                                 {
                                     nlohmann::ordered_json document = ResultToJson(result);
                                     document["image"] = options.image;
                                     document["recipe"] = options.recipe;
                                     WriteTextFile(prefix + ".blobs.json", document.dump(2) + "\n");
                                     WriteTextFile(prefix + ".blobs.csv", ResultToCsv(result));
                                     SaveOverlay(prefix + ".overlay.png", image, result, missed);
                                 });
    if (!written)
    {
        PrintProblems(found);
        return ExitCode_NotWritten;
    }
    progress.Step("written: " + prefix + ".blobs.json, " + prefix + ".blobs.csv, " + prefix + ".overlay.png");
    return result.warnings.empty() ? ExitCode_Done : ExitCode_Incomplete;
}

} // namespace

void AddInspectCommand(CLI::App& app, Action& action)
{
    const auto options = std::make_shared<InspectOptions>();
    CLI::App* command = app.add_subcommand("inspect", "Inspect an image by a recipe");
    command->add_option("image", options->image, "image file (PNG, TIFF, BMP, PGM, JPEG; 8-bit grey or equal to it)")
        ->required();
    command->add_option("-r,--recipe", options->recipe, "recipe file; its fields: narvo recipe")->required();
    command->add_option("-t,--truth", options->truth, "true defects to compare with: recall and false blobs");
    command->add_option("-o,--output", options->output,
                        "beginning of the result files' names (default: the image's name without its ending)");
    command->add_flag("-q,--quiet", options->quiet, "print warnings and problems only");
    command->callback([options, &action] { action = [options] { return RunInspect(*options); }; });
}

} // namespace narvo
