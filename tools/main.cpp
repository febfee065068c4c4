// The command line program: reads the command line and hands over to the commands.
#include <exception>
#include <iostream>
#include <string>

#include <CLI/CLI.hpp>

#include "host/recipe.h"
#include "narvoassem/version.h"
#include "tools/exit_code.h"
#include "tools/inspect_command.h"
#include "tools/pitch_command.h"
#include "tools/synth_command.h"

namespace
{

using namespace narvo;

int Run(int argc, char** argv)
{
    CLI::App app("Inspects images of periodic patterns for defects.", "narvo");
    app.set_version_flag("--version", std::to_string(NARVOASSEM_VERSION_MAJOR) + "." +
                                          std::to_string(NARVOASSEM_VERSION_MINOR) + "." +
                                          std::to_string(NARVOASSEM_VERSION_PATCH));
    app.footer(DescribeExitCodes());
    app.require_subcommand(1);
    app.fallthrough();

    InspectOptions inspect;
    CLI::App* inspectCommand = app.add_subcommand("inspect", "Inspect an image by a recipe");
    inspectCommand
        ->add_option("image", inspect.image, "image file (PNG, TIFF, BMP, PGM, JPEG; 8-bit grey or equal to it)")
        ->required();
    inspectCommand->add_option("-r,--recipe", inspect.recipe, "recipe file; its fields: narvo recipe")->required();
    inspectCommand->add_option("-t,--truth", inspect.truth, "true defects to compare with: recall and false blobs");
    inspectCommand->add_option("-o,--output", inspect.output,
                               "beginning of the result files' names (default: the image's name without its ending)");
    inspectCommand->add_flag("-q,--quiet", inspect.quiet, "print warnings and problems only");

    SynthOptions synth;
    CLI::App* synthCommand = app.add_subcommand("synth", "Make a panel image with known defects, its zones and recipe");
    PanelPlan& plan = synth.plan;
    synthCommand->add_option("--width", plan.width, "pixels")->capture_default_str();
    synthCommand->add_option("--height", plan.height, "pixels")->capture_default_str();
    synthCommand->add_option("--pitch-x", plan.pitchX, "period along x, pixels, in steps of 1/16")
        ->capture_default_str();
    synthCommand->add_option("--pitch-y", plan.pitchY, "period along y, pixels, in steps of 1/16")
        ->capture_default_str();
    synthCommand->add_option("--noise", plan.noise, "standard deviation, grey levels")->capture_default_str();
    synthCommand->add_option("--drift", plan.drift, "slow change of brightness, share of the mean")
        ->capture_default_str();
    synthCommand->add_option("--defects", plan.defects, "number of defects")->capture_default_str();
    synthCommand->add_option("--seed", plan.seed, "the same numbers give the same panel")->capture_default_str();
    synthCommand->add_option("-o,--output", synth.output, "beginning of the files' names")->capture_default_str();
    synthCommand->add_flag("-q,--quiet", synth.quiet, "print problems only");

    PitchOptions pitch;
    CLI::App* pitchCommand = app.add_subcommand("pitch", "Find the period of an image's pattern along x and y");
    pitchCommand->add_option("image", pitch.image, "image file, as for inspect")->required();
    pitchCommand->add_option("--region", pitch.region, "left,top,right,bottom in pixels (default: the whole image)")
        ->delimiter(',')
        ->expected(4);
    pitchCommand->add_option("--plot", pitch.plot, "PNG file for the cost curves");
    pitchCommand->add_option("--recipe", pitch.recipe, "file for a recipe ready for inspect; its zones go beside it");

    CLI::App* recipeCommand = app.add_subcommand("recipe", "List the fields of a recipe: range, default, meaning");

    try
    {
        app.parse(argc, argv);
    }
    catch (const CLI::ParseError& error)
    {
        return app.exit(error) == 0 ? ExitCode_Done : ExitCode_BadInput;
    }
    if (recipeCommand->parsed())
    {
        std::cout << DescribeRecipeFields();
        return ExitCode_Done;
    }
    if (pitchCommand->parsed())
        return RunPitch(pitch);
    return inspectCommand->parsed() ? RunInspect(inspect) : RunSynth(synth);
}

} // namespace

int main(int argc, char** argv)
{
    try
    {
        return Run(argc, argv);
    }
    catch (const std::exception& error)
    {
        std::cerr << "narvo: unexpected error: " << error.what() << '\n';
        return narvo::ExitCode_Unexpected;
    }
}
