// SPDX-License-Identifier: MIT
// The methods, and how they read images.
#include "tools/evaluate/evaluator.h"

#include <algorithm>
#include <cmath>
#include <iostream>

#include "host/counted.h"
#include "host/evaluate/baselines.h"
#include "host/evaluate/golden_scores.h"
#include "host/evaluate/set_truth.h"
#include "host/evaluate/threshold_sweep.h"
#include "tools/exit_code.h"
#include "tools/image_options.h"
#include "tools/inspect/batch_options.h"
#include "tools/learn/learn_files.h"

namespace narvo::tools
{

namespace
{

constexpr int nMaskMargin = 5;
constexpr int nBoxMargin = 3;

} // namespace

Evaluator::Evaluator(const EvaluateOptions& options) : m_options(options), m_set(ReadEvaluationSet(options.set))
{
    if (options.learn > 0)
        m_learntFrom = TakeGoodImages(m_set, static_cast<std::size_t>(options.learn), "--learn");
    m_lanes = ChooseLanes(options.lanes, m_set.images.size() + m_learntFrom.size());
    if (!options.recipe.empty())
        m_recipes = LoadRecipesByOptions(options.recipe);
    else if (options.references.empty() && m_learntFrom.empty() && !HasPairs())
        throw HostError(
            {{"--recipe", "missing", "a recipe file, --learn or --reference, since the set is not made of pairs"}});
    m_reading = m_recipes.empty() ? ReadingOf() : static_cast<const ImageReading&>(*m_recipes.front());
    if (!options.references.empty())
        m_model = std::make_unique<GoldenModel>(LoadReferences(), GoldenSettings());
    const bool masks = std::any_of(m_set.images.begin(), m_set.images.end(),
                                   [](const SetImage& image) { return !image.mask.empty(); });
    m_rules.margin = options.margin >= 0 ? options.margin : masks ? nMaskMargin : nBoxMargin;
    m_rules.smallest = options.smallest;
    m_rules.patch = options.patch;
}

const std::optional<LearnResult>& Evaluator::Learn()
{
    if (m_learntFrom.empty() || m_learnt)
        return m_learnt;
    std::vector<std::string> good;
    for (const SetImage& image : m_learntFrom)
        good.push_back(image.file.string());
    m_learnt = LearnFromFiles(good, {}, m_reading, LearnSettings(), m_lanes);
    m_reading = m_learnt->recipe;
    m_recipes = {CheckedRecipe(m_learnt->recipe)};
    return m_learnt;
}

std::string Evaluator::MethodName() const
{
    if (!m_learntFrom.empty())
        return "learnt from " + Counted(m_learntFrom.size(), "image");
    return m_recipes.empty() ? "golden" : "recipe";
}

std::vector<MethodResult> Evaluator::Run(ProgressLine& progress)
{
    int maxBlobs = GoldenSettings().maxBlobs;
    for (const CheckedRecipe& recipe : m_recipes)
        maxBlobs = std::max(maxBlobs, recipe->maxBlobs);
    m_inspector = std::make_unique<Inspector>(m_lanes, maxBlobs);
    std::vector<MethodResult> methods;
    const auto add = [&](const std::string& name, const ScoreOfImage& score)
    {
        methods.push_back(EvaluateMethod(
            name, m_set, Truth(), score, m_rules, m_lanes,
            [&](std::size_t done)
            { progress.Show(name + ": " + std::to_string(done) + " of " + Counted(m_set.images.size(), "image")); }));
        if (!m_options.quiet)
            std::cout << MethodText(methods.back()) << std::flush;
    };
    add(MethodName(), Score());
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

ScoreOfImage Evaluator::Score()
{
    return [this](const SetImage& image, int lane)
    {
        const GreyImage pixels = Load(image.file);
        if (m_recipes.empty())
            return ScoreGolden(*m_inspector, lane,
                               m_model ? *m_model : GoldenModel({Load(image.reference)}, GoldenSettings()), pixels);
        return SweepRegions(*m_inspector, lane, pixels, m_recipes);
    };
}

TruthOfImage Evaluator::Truth() const
{
    return [](const SetImage& image) { return TruthOfSetImage(image, MaxImagePixels()); };
}

GreyImage Evaluator::Load(const std::filesystem::path& file) const
{
    return LoadImage(file, m_reading);
}

std::vector<GreyImage> Evaluator::LoadReferences() const
{
    std::vector<Problem> found;
    std::vector<GreyImage> images;
    for (const std::string& file : m_options.references)
        CollectProblems(found, [&] { images.push_back(Load(file)); });
    ThrowIfAny(std::move(found));
    return images;
}

std::string DescribeLearnt(const std::vector<SetImage>& images, const LearnResult& learnt)
{
    std::string text = "Learnt from " + Counted(images.size(), "good image") +
                       (images.size() == 1 ? ", which is" : ", which are") + " not measured: ";
    for (const SetImage& image : images)
        text += (&image == images.data() ? "" : ", ") + image.name;
    for (const LearnCandidate& candidate : learnt.candidates)
        if (candidate.chosen)
            text += "; " + candidate.description;
    return text + ".";
}

} // namespace narvo::tools
