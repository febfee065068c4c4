// Making of a panel and its files.
#include "tools/synth_command.h"

#include <filesystem>
#include <iostream>

#include "host/problem.h"
#include "tools/exit_code.h"

namespace narvo
{

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
    try
    {
        SaveGreyImage(image, panel.image);
        SaveGreyImage(zones, panel.recipe.zoneImage);
        panel.recipe.zoneImageFile = std::filesystem::path(zones).filename().string();
        SaveRecipe(recipe, panel.recipe);
        SaveTruth(truth, std::filesystem::path(image).filename().string(), panel.truth);
    }
    catch (const HostError& error)
    {
        PrintProblems(error.Problems());
        return ExitCode_NotWritten;
    }
    say("defects placed: " + std::to_string(panel.truth.size()) + " of " + std::to_string(plan.defects));
    say("image:  " + image + "\nzones:  " + zones + "\nrecipe: " + recipe + "\ntruth:  " + truth);
    return ExitCode_Done;
}

} // namespace narvo
