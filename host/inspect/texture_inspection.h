// SPDX-License-Identifier: MIT
// Texture mode: no pixel is compared with another one a pitch away; each measure of the recipe is compared with what is
// typical of the image itself. The engine does that as it compares golden images: scores of all measures, as an 8-bit
// image around 128, between two copies of constant 128.
#pragma once

#include <memory>

#include "host/image/grey_image.h"
#include "host/inspect/inspector.h"
#include "host/inspect/score_image.h"
#include "host/recipe/checked_recipe.h"

namespace narvo
{

class InspectionPlan;
struct TextureScores;

/// Grey levels of the compared image that make a score of 1.
constexpr int nTextureScoreUnit = 32;

/// The scores of one image, to inspect by at any multiple of the limits. The plan outlives it.
class ScoredTexture
{
public:
    /// @throws HostError for an image of another size than the plan's; std::bad_alloc without memory
    ScoredTexture(const GreyView& image, const InspectionPlan& plan);
    ~ScoredTexture();
    ScoredTexture(const ScoredTexture&) = delete;
    ScoredTexture& operator=(const ScoredTexture&) = delete;

    /// Of the whole image where the recipe has a region, with 0 outside.
    ScoreImage Scores() const;

    /// Inspects on a lane as InspectTexture does; `factor` multiplies how far limits lie above what is typical.
    InspectionResult Inspect(Inspector& inspector, int lane, double factor = 1.0) const;

private:
    const InspectionPlan& m_plan;
    int m_width;
    int m_height;
    std::unique_ptr<TextureScores> m_scores;
    double m_milliseconds = 0.0; ///< that they took
};

/// Scores of an image by a recipe in texture mode; of the whole image where the recipe has a region, with 0 outside.
/// @throws HostError when the recipe does not suit the image
ScoreImage ScoreTexture(const GreyView& image, const CheckedRecipe& recipe);

/// Inspects on a lane. In the result a blob's scale is the reduction whose measure stands out most in it, its
/// polarity says to which side; peak and differences are in units of 1/32 of the threshold, and so are mean grey and
/// mean reference, around 128. @throws HostError as Inspector::Inspect
InspectionResult InspectTexture(Inspector& inspector, int lane, const GreyView& image, const InspectionPlan& plan);

} // namespace narvo
