// SPDX-License-Identifier: MIT
// Making of a panel and its files.
#include "tools/command.h"

#include <filesystem>
#include <iostream>
#include <memory>
#include <string>

#include <CLI/CLI.hpp>

#include "host/foreign_text.h"
#include "host/problem.h"
#include "host/recipe/recipe_file.h"
#include "tools/exit_code.h"
#include "tools/number_option.h"
#include "tools/synthetic/panel.h"

namespace narvo::tools
{

namespace
{

struct SynthOptions
{
    PanelPlan plan;
    std::string output = "panel"; ///< what the files' names begin with
    bool quiet = false;
};

int RunSynth(const SynthOptions& options)
{
    const auto say = [&](const std::string& text)
    {
        if (!options.quiet)
            std::cout << text << std::endl;
    };
    const PanelPlan& plan = options.plan;
    Panel panel;
    try
    {
        say("drawing " + std::to_string(plan.width) + " by " + std::to_string(plan.height) + " pixels, pitch " +
            FormatNumber(plan.pitchX) + " by " + FormatNumber(plan.pitchY) + ", seed " + std::to_string(plan.seed));
        panel = MakePanel(plan);
    }
    catch (const HostError& error)
    {
        PrintProblems(error.Problems());
        return ExitCode_BadInput;
    }

    const std::string image = options.output + ".png";
    const std::string zones = options.output + ".zones.png";
    const std::string recipe = options.output + ".recipe.json";
    const std::string truth = options.output + ".truth.json";
    SaveGreyImage(image, panel.image);
    SaveGreyImage(zones, panel.recipe.zoneImage);
    panel.recipe.zoneImageFile = std::filesystem::path(zones).filename().string();
    SaveRecipe(recipe, panel.recipe);
    SaveTruth(truth, std::filesystem::path(image).filename().string(), panel.truth);
    say("defects placed: " + std::to_string(panel.truth.size()) + " of " + std::to_string(plan.defects));
    say("image:  " + Printable(image) + "\nzones:  " + Printable(zones) + "\nrecipe: " + Printable(recipe) +
        "\ntruth:  " + Printable(truth));
    return ExitCode_Done;
}

} // namespace

void AddSynthCommand(CLI::App& app, Action& action)
{
    const auto options = std::make_shared<SynthOptions>();
    PanelPlan& plan = options->plan;
    CLI::App* command = app.add_subcommand("synth", "Make a panel image with known defects, its zones and recipe");
    command->add_option("--width", plan.width, "pixels, 256 to 32768")->capture_default_str();
    command->add_option("--height", plan.height, "pixels, 256 to 32768")->capture_default_str();
    command
        ->add_option("--pitch-x", plan.pitchX,
                     "period along x, pixels, 24 to 300 and at most a fifth of the width, in steps of 1/16")
        ->capture_default_str();
    command
        ->add_option("--pitch-y", plan.pitchY,
                     "period along y, pixels, 24 to 300 and at most a fifth of the height, in steps of 1/16")
        ->capture_default_str();
    command->add_option("--noise", plan.noise, "standard deviation, grey levels, 0 to 20")->capture_default_str();
    command->add_option("--drift", plan.drift, "slow change of brightness, share of the mean, 0 to 0.3")
        ->capture_default_str();
    command->add_option("--defects", plan.defects, "number of defects, 0 to 20000")->capture_default_str();
    command->add_option("--seed", plan.seed, "the same numbers give the same panel, 0 to 9223372036854775807")
        ->check(SeedRange())
        ->capture_default_str();
    command->add_option("-o,--output", options->output, "beginning of the files' names")->capture_default_str();
    command->add_flag("-q,--quiet", options->quiet, "print problems only");
    command->callback([options, &action] { action = [options] { return RunSynth(*options); }; });
}

} // namespace narvo::tools
