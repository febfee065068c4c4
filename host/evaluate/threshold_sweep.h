// SPDX-License-Identifier: MIT
// A recipe at many thresholds on one image: which pixels the engine still reports as all thresholds grow together. That
// gives every mode scores from the engine's own results, filters and blobs included.
#pragma once

#include <vector>

#include "host/inspect/inspector.h"
#include "host/inspect/score_image.h"
#include "host/recipe/checked_recipe.h"

namespace narvo
{

/// What a method reports: where, and how many pixels.
struct FoundBlob
{
    CRect box; ///< right and bottom exclusive
    int area = 0;
    int peak = 0; ///< how far it rises above its threshold
};

/// One image by one method.
struct ImageScores
{
    ScoreImage scores;
    std::vector<std::vector<FoundBlob>> blobs; ///< for each of the factors; what is not reported any more is empty
};

/// Multiples of a recipe's thresholds, from the highest to the lowest.
const std::vector<double>& SweepFactors();
/// The place of 1 among them.
constexpr std::size_t nFactorOne = 12;

/// The recipe with every threshold multiplied, within the ranges of the fields. Whole-region maps stay as they are.
Recipe ScaleThresholds(const Recipe& recipe, double factor);

/// Inspects at every factor, from the highest down to 1 and on to the lowest that neither fills the engine's stores nor
/// covers a fifth of the image. A pixel's score is the factor up to which it is reported, refined by how far its
/// difference lies above the threshold. @throws HostError where the recipe does not suit the image
ImageScores SweepThresholds(Inspector& inspector, int lane, const GreyView& image, const CheckedRecipe& recipe);

/// The same by all regions of a recipe, at least one: the highest score of each pixel, and the blobs of all.
ImageScores SweepRegions(Inspector& inspector, int lane, const GreyView& image,
                         const std::vector<CheckedRecipe>& recipes);

} // namespace narvo
