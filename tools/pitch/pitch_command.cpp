// SPDX-License-Identifier: MIT
// Pitch search in an image file: input, report, plot and recipe.
#include "tools/command.h"

#include <cstdio>
#include <filesystem>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <CLI/CLI.hpp>

#include "host/foreign_text.h"
#include "host/image/grey_image.h"
#include "host/lattice/lattice_search.h"
#include "host/pitch/lattice_recipe.h"
#include "host/pitch/pitch_notes.h"
#include "host/pitch/pitch_recipe.h"
#include "host/pitch/pitch_search.h"
#include "host/problem.h"
#include "host/recipe/recipe_file.h"
#include "tools/exit_code.h"
#include "tools/image_options.h"
#include "tools/output_names.h"
#include "tools/pitch/pitch_plot.h"
#include "tools/quiet_codecs.h"

namespace narvo::tools
{

namespace
{

struct PitchOptions
{
    std::string image;
    std::vector<int> region; ///< left, top, right, bottom; empty: the whole image
    std::string plot;        ///< file of the charts; empty: none
    std::string recipe;      ///< file of the recipe; empty: none
};

std::string Describe(const char* name, const AxisPitch& axis)
{
    char text[200];
    if (!axis.found)
    {
        std::snprintf(text, sizeof text, "%s: no period (confidence %.3f; a period needs %g)", name, axis.confidence,
                      dPitchConfidenceLow);
        return text;
    }
    std::snprintf(text, sizeof text, " pixels (measured %.4f over %d periods), confidence %.3f, ", axis.pitch,
                  axis.periods, axis.confidence);
    const std::string line = std::string(name) + ": pitch " + FormatNumber(axis.sixteenths / 16.0) + text;
    if (axis.runnerUp.strength <= 0.0)
        return line + "runner-up: none";
    std::snprintf(text, sizeof text, "runner-up %.3f (%.3f)", axis.runnerUp.pitch, axis.runnerUp.strength);
    return line + text;
}

std::string DescribeLattice(const LatticeSearch& found)
{
    char text[100];
    std::snprintf(text, sizeof text, ", correlation %.3f; ", found.strength);
    return "lattice: the pattern repeats after " + LatticeText(found.lattice) + " pixels" + text +
           "modes that compare at a pitch want it along x or y, three times in the region; mode lattice does not";
}

GreyImage CutOut(const GreyImage& image, const CRect& region)
{
    return {image.Row(region.top) + region.left, region.Width(), region.Height(), image.Stride()};
}

int RunPitch(const PitchOptions& options)
{
    const std::string zones = std::filesystem::path(options.recipe).replace_extension(".zones.png").string();
    OutputNames names;
    names.AddInput(options.image);
    if (!options.plot.empty())
        names.AddOutputs("--plot", options.plot);
    if (!options.recipe.empty())
    {
        names.AddOutputs("--recipe", options.recipe);
        names.AddOutputs("the recipe's zones", zones);
        AddFieldOutputs(names, options.recipe);
    }
    names.Check();
    PitchResult result;
    std::optional<CheckedRecipe> recipe;
    LatticeSearch lattice;
    std::vector<std::string> notes;
    bool found = false;
    try
    {
        const QuietCodecs quiet;
        const GreyImage image = LoadImage(options.image);
        const CRect region = options.region.empty()
                                 ? CRect(0, 0, image.Width(), image.Height())
                                 : CRect(options.region[0], options.region[1], options.region[2], options.region[3]);
        result = SearchPitch(image, region);
        found = result.x.found || result.y.found;
        notes = NotesOnPitch(image, region, result);
        if (found && !options.recipe.empty())
        {
            Recipe made = *MakePitchRecipe(image, region, result);
            static_cast<ImageReading&>(made) = ReadingOf();
            recipe = CheckedRecipe(std::move(made));
            for (std::string& note : NotesOnRecipe(image, *recipe))
                notes.push_back(std::move(note));
        }
        if (!found)
            lattice = SearchLattice(CutOut(image, region));
        if (!lattice.lattice.vectors.empty() && !options.recipe.empty())
        {
            Recipe made = *MakeLatticeRecipe(image, region, lattice);
            static_cast<ImageReading&>(made) = ReadingOf();
            recipe = CheckedRecipe(std::move(made));
        }
    }
    catch (const HostError& error)
    {
        PrintProblems(error.Problems());
        return ExitCode_BadInput;
    }
    std::cout << Describe("x", result.x) << '\n' << Describe("y", result.y) << std::endl;
    for (const std::string& note : notes)
        std::cout << "note:   " << note << std::endl;

    if (!options.plot.empty())
    {
        SavePitchPlot(options.plot, result);
        std::cout << "plot:   " << Printable(options.plot) << std::endl;
    }
    if (found && !options.recipe.empty())
    {
        SaveRecipeWithImages(options.recipe, *recipe);
        std::cout << "recipe: " << Printable(options.recipe) << "\nzones:  " << Printable(zones) << std::endl;
    }
    if (!lattice.lattice.vectors.empty())
    {
        std::cout << DescribeLattice(lattice) << std::endl;
        if (recipe)
        {
            SaveRecipeWithImages(options.recipe, *recipe);
            std::cout << "recipe: " << Printable(options.recipe) << std::endl;
        }
        return ExitCode_Done;
    }
    if (found)
        return ExitCode_Done;
    std::cerr << "narvo: no period found along x or y, and no lattice; a period must be 3 pixels or more and fit three "
                 "times into the region, a lattice vector once and most of a second time\n";
    return ExitCode_NoPeriod;
}

} // namespace

void AddPitchCommand(CLI::App& app, Action& action)
{
    const auto options = std::make_shared<PitchOptions>();
    CLI::App* command = app.add_subcommand("pitch", "Find the period of an image's pattern along x and y");
    command->add_option("image", options->image, "image file, as for inspect")->required();
    command->add_option("--region", options->region, "left,top,right,bottom in pixels (default: the whole image)")
        ->delimiter(',')
        ->expected(4);
    command->add_option("--plot", options->plot, "PNG file for the cost curves");
    command->add_option("--recipe", options->recipe, "file for a recipe ready for inspect; its zones go beside it");
    command->callback([options, &action] { action = [options] { return RunPitch(*options); }; });
}

} // namespace narvo::tools
