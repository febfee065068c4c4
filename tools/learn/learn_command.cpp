// SPDX-License-Identifier: MIT
// Learning from good images: input, recipe, page.
#include "tools/command.h"

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <CLI/CLI.hpp>

#include "host/counted.h"
#include "host/file/output_file.h"
#include "host/foreign_text.h"
#include "host/learn/learn.h"
#include "host/problem.h"
#include "host/recipe/recipe_file.h"
#include "tools/exit_code.h"
#include "tools/image_options.h"
#include "tools/inspect/image_list.h"
#include "tools/learn/learn_files.h"
#include "tools/learn/learn_page.h"
#include "tools/number_option.h"
#include "tools/output_names.h"
#include "tools/quiet_codecs.h"
#include "tools/truth/truth_files.h"

namespace narvo::tools
{

namespace
{

struct LearnOptions
{
    ImageSelection good;
    std::vector<std::string> bad;   ///< files and folders; empty: none
    std::vector<std::string> truth; ///< of the bad ones; empty: not known
    std::string output;             ///< what the files' names begin with
    std::string mode = "auto";
    LearnSettings settings;
    int lanes = 0; ///< 0: one for each processor
    bool quiet = false;
};

int RunLearn(const LearnOptions& options)
{
    const auto say = [&](const std::string& text)
    {
        if (!options.quiet)
            std::cout << text << std::endl;
    };
    const std::string recipe = options.output + ".recipe.json";
    const std::string page = options.output + ".html";
    const int lanes =
        options.lanes > 0 ? options.lanes : std::clamp(static_cast<int>(std::thread::hardware_concurrency()), 1, 256);
    LearnResult result;
    try
    {
        const std::vector<std::string> good = ListImages(options.good);
        std::vector<std::string> badFiles;
        if (!options.bad.empty())
        {
            ImageSelection selection;
            selection.places = options.bad;
            badFiles = ListImages(selection);
        }
        OutputNames names;
        for (const std::string& file : good)
            names.AddInput(file);
        for (const std::string& file : badFiles)
            names.AddInput(file);
        for (const std::string& file : options.truth)
            names.AddInput(file);
        names.AddOutputs("the recipe", options.output, {".recipe.json", ".recipe.zones.png"});
        AddFieldOutputs(names, recipe);
        names.AddOutputs("the page", page);
        names.Check();
        say("learning from " + Counted(good.size(), "image"));
        const QuietCodecs quiet;
        std::vector<DefectiveFile> defective;
        for (const std::string& file : badFiles)
            defective.push_back({file, std::nullopt});
        if (!options.truth.empty())
        {
            const std::vector<std::vector<TruthDefect>> truths = LoadTruths(options.truth, badFiles);
            for (std::size_t i = 0; i < truths.size(); ++i)
            {
                std::vector<CRect>& boxes = defective[i].defects.emplace();
                for (const TruthDefect& defect : truths[i])
                    boxes.push_back(defect.box);
            }
        }
        result = LearnFromFiles(good, defective, ReadingOf(), options.settings, lanes);
    }
    catch (const HostError& error)
    {
        PrintProblems(error.Problems());
        return ExitCode_BadInput;
    }
    TellConversions();
    for (const LearnCandidate& candidate : result.candidates)
        if (candidate.chosen)
            say("chosen: " + candidate.description);
    for (const std::string& reason : result.reasons)
        say("- " + Printable(reason));
    for (const std::string& warning : result.warnings)
        std::cerr << "narvo: warning: " << Printable(warning) << '\n';
    if (!result.finds.empty())
        say(DescribeFinds(result));
    SaveRecipeWithImages(recipe, result.recipe);
    WriteTextFile(page, LearnPage(result, "Recipe learnt from " + Counted(result.images.size(), "good image")));
    say("recipe: " + Printable(recipe) + "\npage:   " + Printable(page));
    return ExitCode_Done;
}

} // namespace

void AddLearnCommand(CLI::App& app, Action& action)
{
    const auto options = std::make_shared<LearnOptions>();
    CLI::App* command = app.add_subcommand("learn", "Make a recipe from good images");
    CLI::Option* images = command->add_option("good", options->good.places,
                                              "image files without defects, and folders of them, 1 to " +
                                                  std::to_string(nLearnImageLimit) + " images");
    command->add_option("-l,--list", options->good.list,
                        "file with the name of a good image in each line, - for the standard input");
    command
        ->add_option("-b,--bad", options->bad,
                     "an image file with defects, or a folder of them, once for each: inspected by the recipe for "
                     "the page; no threshold is learnt from them")
        ->allow_extra_args(false);
    CLI::Option* truth =
        command
            ->add_option("-t,--truth", options->truth,
                         "true defects of the images with defects: once for each a file as inspect takes it, in their "
                         "order, or one folder with NAME.truth.json, NAME.txt or a mask NAME.*; of two ways of "
                         "inspecting the one is taken that finds more of them")
            ->allow_extra_args(false);
    command
        ->add_option("--mode", options->mode,
                     "which recipes are considered: those without a period (texture), those at the pattern's pitch "
                     "(periodic), those with several lattice neighbours (lattice), or all")
        ->check(CLI::IsMember({"auto", "texture", "periodic", "lattice"}))
        ->capture_default_str();
    command
        ->add_option("--false-rate", options->settings.falseRate,
                     "false blobs an image that the limits aim at, " + FormatNumber(dFalseRateLow) + " to " +
                         FormatNumber(dFalseRateHigh))
        ->check(RealRange(dFalseRateLow, dFalseRateHigh, "false blobs an image"))
        ->capture_default_str();
    command->add_option("--name", options->settings.name, "name of the recipe's region, for results");
    command
        ->add_option("-j,--lanes", options->lanes,
                     "images at once, 1 to 256 (default: one for each processor); changes nothing in the result")
        ->check(CLI::Range(1, 256));
    command->add_option("-o,--output", options->output, "beginning of the files' names")->required();
    command->add_flag("-q,--quiet", options->quiet, "print warnings and problems only");
    command->footer("Writes OUTPUT.recipe.json, which inspect takes as it is, and OUTPUT.html with the reasons.");
    command->callback(
        [options, images, truth, &action]
        {
            if (images->count() == 0 && options->good.list.empty())
                throw CLI::RequiredError("good or --list");
            if (truth->count() > 0 && options->bad.empty())
                throw CLI::RequiredError("--truth: --bad");
            options->settings.mode = options->mode == "texture"    ? LearnMode_Texture
                                     : options->mode == "periodic" ? LearnMode_Periodic
                                     : options->mode == "lattice"  ? LearnMode_Lattice
                                                                   : LearnMode_Auto;
            action = [options] { return RunLearn(*options); };
        });
}

} // namespace narvo::tools
