// SPDX-License-Identifier: MIT
// `narvo capability`: what a recipe finds of defects planted in good images.
#include "tools/command.h"

#include <algorithm>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "host/capability/capability.h"
#include "host/counted.h"
#include "host/file/output_file.h"
#include "host/foreign_text.h"
#include "host/inspect/batch.h"
#include "tools/capability/capability_page.h"
#include "tools/exit_code.h"
#include "tools/image_options.h"
#include "tools/inspect/batch_options.h"
#include "tools/inspect/image_list.h"
#include "tools/number_option.h"
#include "tools/output_names.h"
#include "tools/progress_line.h"
#include "tools/quiet_codecs.h"

namespace narvo::tools
{

namespace
{

struct CapabilityOptions
{
    std::string recipe;
    ImageSelection good;
    CapabilitySettings settings;
    std::vector<std::string> shapes; ///< by name
    std::vector<std::string> places; ///< by name
    std::string json;                ///< empty: none
    std::string page;                ///< empty: none
    int lanes = 0;                   ///< 0: one for each processor
    bool quiet = false;
};

int RunCapability(const CapabilityOptions& options)
{
    CapabilityResult result;
    {
        const QuietCodecs quiet;
        ThrowIfAny(CheckCapability(options.settings));
        const std::vector<CheckedRecipe> recipes = LoadRecipesByOptions(options.recipe);
        const std::vector<std::string> files = ListImages(options.good);
        OutputNames names;
        names.AddRecipe(options.recipe, recipes);
        for (const std::string& file : files)
            names.AddInput(file);
        if (!options.json.empty())
            names.AddOutputs("--json", options.json);
        if (!options.page.empty())
            names.AddOutputs("--output", options.page);
        names.Check();
        std::vector<BatchImage> images;
        for (const std::string& file : files)
            images.push_back(ImageFromFile(file, *recipes.front(), &ProgramNotes()));
        ProgressLine line(quiet.ErrorStream(), options.quiet);
        const auto progress = [&](std::size_t planted, std::size_t wanted)
        { line.Show(std::to_string(planted) + " of " + Counted(wanted, "defect")); };
        result = MeasureCapability(recipes, images, options.settings, ChooseLanes(options.lanes, files.size() * 64),
                                   progress);
    }
    TellConversions();
    for (const std::string& warning : result.warnings)
        std::cerr << "narvo: warning: " << Printable(warning) << '\n';
    if (!options.quiet)
        std::cout << CapabilityText(result) << std::flush;
    if (!options.json.empty())
        WriteTextFile(options.json, CapabilityToJson(result).dump(2) + "\n");
    if (!options.page.empty())
        WriteTextFile(options.page, BuildCapabilityPage(result, options.recipe, "narvo " + VersionText() + "."));
    return ExitCode_Done;
}

/// Names of an enumeration's values, from 0.
std::vector<std::string> NamesOf(const std::string& (*name)(int), int count)
{
    std::vector<std::string> names;
    for (int i = 0; i < count; ++i)
        names.push_back(name(i));
    return names;
}

std::vector<int> ValuesOf(const std::vector<std::string>& chosen, const std::vector<std::string>& names)
{
    std::vector<int> values;
    for (const std::string& name : chosen)
        values.push_back(static_cast<int>(std::find(names.begin(), names.end(), name) - names.begin()));
    return values;
}

} // namespace

void AddCapabilityCommand(CLI::App& app, Action& action)
{
    const auto options = std::make_shared<CapabilityOptions>();
    CLI::App* command =
        app.add_subcommand("capability", "Measure which defects a recipe finds, by planting some in good images");
    command->add_option("recipe", options->recipe, "recipe file")->required();
    CLI::Option* images = command->add_option("good", options->good.places,
                                              "image files without defects, and folders of them, 1 to " +
                                                  std::to_string(nCapabilityImageLimit) + " images");
    command->add_option("-l,--list", options->good.list,
                        "file with the name of a good image in each line, - for the standard input");
    const auto addList = [&](const char* name, std::vector<int>& values, int low, int high, const std::string& text)
    { command->add_option(name, values, text)->delimiter(',')->check(CLI::Range(low, high))->capture_default_str(); };
    addList("--sizes", options->settings.sizes, 1, nPlantedSizeHigh,
            "sizes of defects, 1 to " + std::to_string(nPlantedSizeHigh) + " pixels, up to " +
                std::to_string(nPlantedListHigh) + ", separated by commas");
    addList("--contrasts", options->settings.contrasts, -nPlantedContrastHigh, nPlantedContrastHigh,
            "how much brighter or, below 0, darker they are, -" + std::to_string(nPlantedContrastHigh) + " to " +
                std::to_string(nPlantedContrastHigh) + " grey levels, separated by commas");
    const std::vector<std::string> shapes = NamesOf(&PlantedShapeName, nPlantedShapes);
    const std::vector<std::string> places = NamesOf(&PlantedPlaceName, nPlantedPlaces);
    options->shapes = {"spot", "line-x", "line-y"};
    options->places = places;
    command
        ->add_option("--shapes", options->shapes,
                     "discs (spot), lines 2 pixels wide along x or y (line-x, line-y), spots that fade away (stain), "
                     "separated by commas")
        ->delimiter(',')
        ->check(CLI::IsMember(shapes))
        ->capture_default_str();
    command
        ->add_option("--places", options->places,
                     "16 pixels or more from the border of what is inspected (inside), within 3 pixels of it (border), "
                     "separated by a comma")
        ->delimiter(',')
        ->check(CLI::IsMember(places))
        ->capture_default_str();
    command
        ->add_option("-n,--count", options->settings.count,
                     "defects of each size, contrast, shape and place, 1 to " + std::to_string(nPlantedCountHigh))
        ->check(CLI::Range(1, nPlantedCountHigh))
        ->capture_default_str();
    command->add_option("--seed", options->settings.seed, "what places are drawn from, 0 to 9223372036854775807")
        ->check(SeedRange())
        ->capture_default_str();
    command->add_option("--json", options->json, "file for all counts and figures");
    command->add_option("-o,--output", options->page, "HTML file with tables and curves");
    command
        ->add_option("-j,--lanes", options->lanes,
                     "images at once, 1 to 256 (default: one for each processor); changes nothing in the result")
        ->check(CLI::Range(1, 256));
    command->add_flag("-q,--quiet", options->quiet, "print warnings and problems only");
    command->callback(
        [=, &action]
        {
            if (images->count() == 0 && options->good.list.empty())
                throw CLI::RequiredError("good or --list");
            options->settings.shapes = ValuesOf(options->shapes, shapes);
            options->settings.places = ValuesOf(options->places, places);
            action = [options] { return RunCapability(*options); };
        });
}

} // namespace narvo::tools
