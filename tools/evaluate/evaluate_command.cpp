// SPDX-License-Identifier: MIT
// `narvo evaluate`: a recipe on images with known defects, beside simple methods, as figures and a page.
#include "tools/command.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <filesystem>
#include <iostream>
#include <memory>
#include <string>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "host/evaluate/baselines.h"
#include "host/evaluate/evaluation.h"
#include "host/evaluate/golden_scores.h"
#include "host/evaluate/threshold_sweep.h"
#include "host/file/output_file.h"
#include "host/foreign_text.h"
#include "host/image/cv_image.h"
#include "host/image/image_header.h"
#include "tools/evaluate/evaluate_page.h"
#include "tools/evaluate/worst_images.h"
#include "tools/exit_code.h"
#include "tools/image_options.h"
#include "tools/inspect/batch_options.h"
#include "tools/output_names.h"
#include "tools/quiet_codecs.h"

namespace narvo::tools
{

namespace
{

constexpr int nMaskMargin = 5;
constexpr int nBoxMargin = 3;

struct EvaluateOptions
{
    std::string set;
    std::string recipe;                  ///< empty: golden inspection
    std::vector<std::string> references; ///< of golden inspection; empty: those of the pairs
    std::string json;                    ///< empty: none
    std::string page;                    ///< empty: none
    int margin = -1;                     ///< -1: by the kind of truth
    int smallest = 1;
    int patch = 0;
    int lanes = 0; ///< 0: one for each processor
    bool quiet = false;
};

/// Scores of several regions as those of one image.
void Join(ImageScores& all, ImageScores region)
{
    if (all.scores.values.empty())
    {
        all = std::move(region);
        return;
    }
    for (std::size_t i = 0; i < all.scores.values.size(); ++i)
        all.scores.values[i] = std::max(all.scores.values[i], region.scores.values[i]);
    for (std::size_t i = 0; i < all.blobs.size(); ++i)
        all.blobs[i].insert(all.blobs[i].end(), region.blobs[i].begin(), region.blobs[i].end());
}

void PrintMethod(const MethodResult& method)
{
    std::cout << method.name << ":\n  image AUROC     " << FigureText(method.imageAuroc) << "\n  pixel AUROC     "
              << FigureText(method.pixelAuroc) << "\n  region overlap  " << FigureText(method.regionOverlap)
              << "\n  found           " << FigureText(method.found) << "\n  false an image  "
              << FigureText(method.falseAnImage) << "\n  F1, images      " << FigureText(method.imageF1) << '\n';
    if (method.refused > 0)
        std::cout << "  refused         " << method.refused << '\n';
    for (const auto& [kind, count] : method.kinds)
        std::cout << "  " << Printable(kind) << ": " << count.found << " of " << count.regions << '\n';
    std::cout << std::flush;
}

/// The set's own way of being measured, and what it is measured by.
class Evaluator
{
public:
    explicit Evaluator(const EvaluateOptions& options)
        : m_options(options), m_set(ReadEvaluationSet(options.set)),
          m_lanes(ChooseLanes(options.lanes, m_set.images.size()))
    {
        if (!options.recipe.empty())
            m_recipes = LoadRecipesByOptions(options.recipe);
        else if (options.references.empty() && !HasPairs())
            throw HostError(
                {{"--recipe", "missing", "a recipe file or --reference, since the set is not made of pairs"}});
        m_reading = m_recipes.empty() ? ReadingOf() : static_cast<const ImageReading&>(*m_recipes.front());
        if (!options.references.empty())
            m_model = std::make_unique<GoldenModel>(LoadReferences(), GoldenSettings());
        int maxBlobs = GoldenSettings().maxBlobs;
        for (const CheckedRecipe& recipe : m_recipes)
            maxBlobs = std::max(maxBlobs, recipe->maxBlobs);
        m_inspector = std::make_unique<Inspector>(m_lanes, maxBlobs);
        const bool masks = std::any_of(m_set.images.begin(), m_set.images.end(),
                                       [](const SetImage& image) { return !image.mask.empty(); });
        m_rules.margin = options.margin >= 0 ? options.margin : masks ? nMaskMargin : nBoxMargin;
        m_rules.smallest = options.smallest;
        m_rules.patch = options.patch;
    }

    const EvaluationSet& Set() const { return m_set; }
    bool HasPairs() const { return !m_set.images.front().reference.empty(); }
    const ScoringRules& Rules() const { return m_rules; }
    const std::vector<CheckedRecipe>& Recipes() const { return m_recipes; }

    /// The method that is asked about, then the baselines.
    std::vector<MethodResult> Run()
    {
        std::vector<MethodResult> methods;
        const auto add = [&](const std::string& name, const ScoreOfImage& score)
        {
            methods.push_back(EvaluateMethod(name, m_set, Truth(), score, m_rules, m_lanes,
                                             [&](std::size_t done) { ShowProgress(name, done); }));
            if (!m_options.quiet)
                PrintMethod(methods.back());
        };
        add(m_recipes.empty() ? "golden" : "recipe", Score());
        if (HasPairs() || m_model)
            add("absolute difference", [this](const SetImage& image, int)
                { return ScoreByDifference(Load(image.file), m_model ? m_model->Mean() : Load(image.reference)); });
        else if (!m_recipes.empty() && m_recipes.front()->ComparesAtAPitch())
        {
            const Recipe& recipe = *m_recipes.front();
            const bool vertical = recipe.direction == Direction_Vertical;
            const int x = vertical ? 0 : static_cast<int>(std::lround(recipe.RealPitchX()));
            const int y = vertical ? static_cast<int>(std::lround(recipe.RealPitchY())) : 0;
            add("absolute difference at the pitch",
                [this, x, y](const SetImage& image, int) { return ScoreByDisplacement(Load(image.file), x, y); });
        }
        add("local deviation", [this](const SetImage& image, int) { return ScoreByDeviation(Load(image.file)); });
        return methods;
    }

    ScoreOfImage Score()
    {
        return [this](const SetImage& image, int lane)
        {
            const GreyImage pixels = Load(image.file);
            if (m_recipes.empty())
                return ScoreGolden(*m_inspector, lane,
                                   m_model ? *m_model : GoldenModel({Load(image.reference)}, GoldenSettings()), pixels);
            ImageScores scores;
            for (const CheckedRecipe& recipe : m_recipes)
                Join(scores, SweepThresholds(*m_inspector, lane, pixels, recipe));
            return scores;
        };
    }

    TruthOfImage Truth() const
    {
        return [](const SetImage& image)
        {
            if (!image.mask.empty())
            {
                const GreyImage mask = LoadGreyImage(image.mask);
                return TruthOfMask(ViewOf(mask), image.kind);
            }
            ImageTruth truth;
            truth.defective = image.defective;
            if (image.defective && image.boxes.empty())
                return truth;
            const std::optional<ImageHeader> header = ReadImageHeader(image.file);
            if (!header || header->width < 1 || header->height < 1)
                throw HostError({{"image " + image.file.string(), "not an image, or damaged", "an image file"}});
            if (header->width * header->height > MaxImagePixels())
                throw HostError(
                    {{"image " + image.file.string(),
                      std::to_string(header->width) + " by " + std::to_string(header->height) + " pixels",
                      "at most " + std::to_string(MaxImagePixels()) + " pixels, unless max-pixels allows more"}});
            return TruthOfBoxes(image.boxes,
                                cv::Size(static_cast<int>(header->width), static_cast<int>(header->height)));
        };
    }

    GreyImage Load(const std::filesystem::path& file) const { return LoadImage(file, m_reading); }

private:
    std::vector<GreyImage> LoadReferences() const
    {
        std::vector<Problem> found;
        std::vector<GreyImage> images;
        for (const std::string& file : m_options.references)
            CollectProblems(found, [&] { images.push_back(Load(file)); });
        ThrowIfAny(std::move(found));
        return images;
    }

    /// A line on the error stream every few seconds, and none in a short run.
    void ShowProgress(const std::string& name, std::size_t done)
    {
        constexpr auto pause = std::chrono::seconds(5);
        const auto now = std::chrono::steady_clock::now();
        if (m_options.quiet || now - m_shown < pause)
            return;
        m_shown = now;
        std::cerr << "narvo: " << name << ": " << done << " of " << m_set.images.size() << " images" << std::endl;
    }

    const EvaluateOptions& m_options;
    EvaluationSet m_set;
    int m_lanes;
    std::vector<CheckedRecipe> m_recipes;
    ImageReading m_reading;
    std::unique_ptr<GoldenModel> m_model; ///< of the references that are named
    std::unique_ptr<Inspector> m_inspector;
    ScoringRules m_rules;
    std::chrono::steady_clock::time_point m_shown = std::chrono::steady_clock::now();
};

int RunEvaluate(const EvaluateOptions& options)
{
    std::unique_ptr<Evaluator> evaluator;
    std::vector<MethodResult> methods;
    {
        const QuietCodecs quiet;
        evaluator = std::make_unique<Evaluator>(options);
        OutputNames names;
        if (!options.recipe.empty())
            names.AddRecipe(options.recipe, evaluator->Recipes());
        for (const std::string& reference : options.references)
            names.AddInput(reference);
        for (const SetImage& image : evaluator->Set().images)
            for (const std::filesystem::path& file : {image.file, image.reference, image.mask})
                names.AddInput(file);
        if (!options.json.empty())
            names.AddOutputs("--json", options.json);
        if (!options.page.empty())
            names.AddOutputs("--page", options.page);
        names.Check();
        if (!options.quiet)
            std::cout << Printable(options.set) << ": " << evaluator->Set().layout << ", "
                      << evaluator->Set().images.size() << " images" << std::endl;
        methods = evaluator->Run();
    }
    for (const EvaluatedImage& image : methods.front().images)
        PrintProblems(image.problems);
    if (!options.json.empty())
        WriteTextFile(options.json,
                      EvaluationToJson(options.set, evaluator->Set().layout, evaluator->Rules(), methods).dump(2) +
                          "\n");
    if (!options.page.empty())
    {
        const QuietCodecs quiet;
        WriteTextFile(
            options.page,
            BuildEvaluationPage(
                {options.set, evaluator->Set().layout, "narvo " + VersionText() + ".", evaluator->Rules(), methods,
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
        ->add_option("--reference", options->references,
                     "good image, once for each of several: golden inspection of the whole set against it")
        ->allow_extra_args(false)
        ->excludes("--recipe");
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
