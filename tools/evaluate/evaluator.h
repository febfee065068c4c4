// SPDX-License-Identifier: MIT
// What `narvo evaluate` measures: a set, the method that is asked about, and the baselines beside it.
#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/evaluate/evaluation.h"
#include "host/golden/golden_model.h"
#include "host/image/image_reading.h"
#include "host/inspect/inspector.h"
#include "host/learn/learn.h"
#include "host/recipe/checked_recipe.h"
#include "tools/progress_line.h"

namespace narvo::tools
{

struct EvaluateOptions
{
    std::string set;
    std::string recipe;                  ///< empty: golden inspection, or a learnt one
    int learn = 0;                       ///< good images to learn a recipe from; 0: none
    std::vector<std::string> references; ///< of golden inspection; empty: those of the pairs
    std::string json;                    ///< empty: none
    std::string page;                    ///< empty: none
    int margin = -1;                     ///< -1: by the kind of truth
    int smallest = 1;
    int patch = 0;
    int lanes = 0; ///< 0: one for each processor
    bool quiet = false;
};

/// The set's own way of being measured, and what it is measured by.
class Evaluator
{
public:
    /// Reads the set, and what it is measured by. The options outlive the object.
    /// @throws HostError where set, recipe and options are not valid or do not go together
    explicit Evaluator(const EvaluateOptions& options);

    /// The images that are measured: those that are learnt from are not among them.
    const EvaluationSet& Set() const { return m_set; }
    const std::vector<SetImage>& LearntFrom() const { return m_learntFrom; }
    const ScoringRules& Rules() const { return m_rules; }
    const std::vector<CheckedRecipe>& Recipes() const { return m_recipes; }

    /// The recipe of the images to learn from, where there are any. Run needs it. @throws HostError as LearnRecipe
    const std::optional<LearnResult>& Learn();

    /// The method that is asked about, then the baselines.
    std::vector<MethodResult> Run(ProgressLine& progress);

    ScoreOfImage Score();
    TruthOfImage Truth() const;
    GreyImage Load(const std::filesystem::path& file) const;

private:
    bool HasPairs() const { return !m_set.images.front().reference.empty(); }
    std::string MethodName() const;
    std::vector<GreyImage> LoadReferences() const;

    const EvaluateOptions& m_options;
    EvaluationSet m_set;
    std::vector<SetImage> m_learntFrom;
    int m_lanes = 1;
    std::vector<CheckedRecipe> m_recipes;
    ImageReading m_reading;
    std::unique_ptr<GoldenModel> m_model; ///< of the references that are named
    std::unique_ptr<Inspector> m_inspector;
    ScoringRules m_rules;
    std::optional<LearnResult> m_learnt;
};

/// "learnt from a.png, b.png" with what the recipe does, in a sentence.
std::string DescribeLearnt(const std::vector<SetImage>& images, const LearnResult& learnt);

} // namespace narvo::tools
