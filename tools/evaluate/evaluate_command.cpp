// SPDX-License-Identifier: MIT
// `narvo evaluate`: a recipe on images with known defects, beside simple methods, as figures and a page.
#include "tools/command.h"

#include <filesystem>
#include <iostream>
#include <memory>
#include <string>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "host/counted.h"
#include "host/file/output_file.h"
#include "host/foreign_text.h"
#include "tools/evaluate/evaluate_page.h"
#include "tools/evaluate/evaluator.h"
#include "tools/evaluate/worst_images.h"
#include "tools/exit_code.h"
#include "tools/output_names.h"
#include "tools/progress_line.h"
#include "tools/quiet_codecs.h"

namespace narvo::tools
{

namespace
{

int RunEvaluate(const EvaluateOptions& options)
{
    std::unique_ptr<Evaluator> evaluator;
    std::vector<MethodResult> methods;
    std::string learning; ///< a sentence; empty: nothing was learnt
    std::vector<std::string> warnings;
    {
        const QuietCodecs quiet;
        evaluator = std::make_unique<Evaluator>(options);
        OutputNames names;
        if (!options.recipe.empty())
            names.AddRecipe(options.recipe, evaluator->Recipes());
        for (const std::string& reference : options.references)
            names.AddInput(reference);
        for (const std::vector<SetImage>* images : {&evaluator->Set().images, &evaluator->LearntFrom()})
            for (const SetImage& image : *images)
                for (const std::filesystem::path& file : {image.file, image.reference, image.mask})
                    names.AddInput(file);
        if (!options.json.empty())
            names.AddOutputs("--json", options.json);
        if (!options.page.empty())
            names.AddOutputs("--page", options.page);
        names.Check();
        if (!options.quiet)
            std::cout << Printable(options.set) << ": " << evaluator->Set().layout << ", "
                      << Counted(evaluator->Set().images.size(), "image") << std::endl;
        if (const std::optional<LearnResult>& learnt = evaluator->Learn())
        {
            learning = DescribeLearnt(evaluator->LearntFrom(), *learnt);
            if (!options.quiet)
                std::cout << Printable(learning) << std::endl;
            warnings = learnt->warnings;
        }
        ProgressLine progress(quiet.ErrorStream(), options.quiet);
        methods = evaluator->Run(progress);
    }
    for (const std::string& warning : warnings)
        std::cerr << "narvo: warning: " << Printable(warning) << '\n';
    for (const EvaluatedImage& image : methods.front().images)
        PrintProblems(image.problems);
    if (!options.json.empty())
        WriteTextFile(options.json, EvaluationToJson(options.set, evaluator->Set().layout, evaluator->LearntFrom(),
                                                     evaluator->Rules(), methods)
                                            .dump(2) +
                                        "\n");
    if (!options.page.empty())
    {
        const QuietCodecs quiet;
        WriteTextFile(options.page,
                      BuildEvaluationPage(
                          {options.set, evaluator->Set().layout, learning, "narvo " + VersionText() + ".",
                           evaluator->Rules(), methods,
                           DrawWorstImages(evaluator->Set(), methods.front(), evaluator->Truth(), evaluator->Score(),
                                           [&](const std::filesystem::path& file) { return evaluator->Load(file); })}));
    }
    return methods.front().refused > 0 ? ExitCode_SomeRefused : ExitCode_Done;
}

} // namespace

void AddEvaluateCommand(CLI::App& app, Action& action)
{
    const auto options = std::make_shared<EvaluateOptions>();
    CLI::App* command =
        app.add_subcommand("evaluate", "Measure how well a recipe finds the known defects of a set of images");
    command
        ->add_option("set", options->set,
                     "folder with good, defective and mask; with NAME_temp, NAME_test and NAME.txt; or with boxes as "
                     "COCO, Pascal VOC, YOLO or text files")
        ->required();
    command->add_option("-r,--recipe", options->recipe,
                        "recipe file; without one, pairs are measured by golden inspection at its defaults");
    command
        ->add_option("--learn", options->learn,
                     "learns a recipe from the first so many good images by name, 1 to " +
                         std::to_string(nLearnImageLimit) + ", and measures it on the others")
        ->check(CLI::Range(1, static_cast<int>(nLearnImageLimit)))
        ->excludes("--recipe");
    command
        ->add_option("--reference", options->references,
                     "good image, once for each of several: golden inspection of the whole set against it")
        ->allow_extra_args(false)
        ->excludes("--recipe")
        ->excludes("--learn");
    command->add_option("--json", options->json, "file for all figures and curves");
    command->add_option("--page", options->page, "HTML file with curves and the worst images");
    command
        ->add_option("--margin", options->margin,
                     "pixels by which a defect is grown; a blob that touches it finds it, 0 to 1000 (default: 3, or 5 "
                     "with masks)")
        ->check(CLI::Range(0, 1000));
    command->add_option("--smallest", options->smallest, "blobs of fewer pixels do not count, 1 to 1000000")
        ->check(CLI::Range(1, 1000000))
        ->capture_default_str();
    command
        ->add_option(
            "--patch", options->patch,
            "side of the squares that count as images in the image figures, 16 to 65536 pixels (default: whole "
            "images)")
        ->check(CLI::Range(16, 65536));
    command
        ->add_option("-j,--lanes", options->lanes,
                     "images at once, 1 to 256; results do not depend on it (default: one for each processor)")
        ->check(CLI::Range(1, 256));
    command->add_flag("-q,--quiet", options->quiet, "print problems only");
    command->callback([options, &action] { action = [options] { return RunEvaluate(*options); }; });
}

} // namespace narvo::tools
