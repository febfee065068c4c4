// SPDX-License-Identifier: MIT
// Scores of all measures on one grid, the comparison of that grid, and the way back to the image's pixels.
#include "host/inspect/texture_inspection.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <memory>
#include <vector>

#include <opencv2/imgproc.hpp>

#include "host/image/cv_image.h"
#include "host/input/texture_deviations.h"
#include "host/inspect/elapsed.h"
#include "host/inspect/inspection_plan.h"
#include "host/inspect/reference_comparison.h"

namespace narvo
{

/// Scores on the grid of the finest measure (CV_32F), and what made each (CV_8U): twice the measure's number, plus 1
/// where it lies above its typical value.
struct TextureScores
{
    cv::Mat scores;
    cv::Mat causes;
    int fold = 1;
    bool skippedEdge = false; ///< places beside margins for which the recipe has no limits
    double area = 0.0;        ///< share of the image that shows pattern
};

namespace
{

constexpr std::uint8_t nTypicalGrey = 128; // of the compared image, where nothing stands out
constexpr float fSmallArea = 0.05F;        // share of pattern below which an image is hardly inspected

/// A polarity of a measure with its limits.
struct Limits
{
    double typical;
    double limit;
    double edgeTypical;
    double edgeLimit;
};

/// Raises scores to those of one measure and polarity where these are larger.
void RaiseScores(const cv::Mat& deviations, const cv::Mat& edge, const Limits& limits, int times, int cause,
                 TextureScores& result)
{
    const auto scoreOf = [](double deviation, double typical, double limit)
    { return limit > typical ? static_cast<float>((deviation - typical) / (limit - typical)) : 0.0F; };
    for (int y = 0; y < result.scores.rows; ++y)
    {
        const float* source = deviations.ptr<float>(y / times);
        const std::uint8_t* isEdge = edge.ptr<std::uint8_t>(y / times);
        float* score = result.scores.ptr<float>(y);
        std::uint8_t* causes = result.causes.ptr<std::uint8_t>(y);
        for (int x = 0; x < result.scores.cols; ++x)
        {
            const int at = x / times;
            if (source[at] <= 0.0F)
                continue;
            const float found = isEdge[at] != 0 ? scoreOf(source[at], limits.edgeTypical, limits.edgeLimit)
                                                : scoreOf(source[at], limits.typical, limits.limit);
            if (found > score[x])
            {
                score[x] = found;
                causes[x] = static_cast<std::uint8_t>(cause);
            }
        }
    }
}

TextureScores ComputeScores(const GreyView& region, const Recipe& recipe)
{
    const TextureDeviations deviations(region, recipe.Texture(), recipe.textureFeatures);
    const std::vector<TextureFeature>& features = recipe.textureFeatures;
    TextureScores result;
    result.fold = std::min_element(features.begin(), features.end(),
                                   [](const TextureFeature& a, const TextureFeature& b) { return a.fold < b.fold; })
                      ->fold;
    result.scores = cv::Mat::zeros(deviations.SizeAt(result.fold), CV_32F);
    result.causes = cv::Mat::zeros(result.scores.size(), CV_8U);
    bool edgeLimits = false;
    for (std::size_t i = 0; i < features.size(); ++i)
    {
        const TextureFeature& feature = features[i];
        const TextureDeviation found = deviations.Of(feature);
        const cv::Mat edge = deviations.EdgeAt(feature.fold);
        const int times = feature.fold / result.fold;
        const int cause = 2 * static_cast<int>(i);
        RaiseScores(found.bright, edge,
                    {feature.brightTypical, feature.brightLimit, feature.edgeBrightTypical, feature.edgeBrightLimit},
                    times, cause + 1, result);
        RaiseScores(found.dark, edge,
                    {feature.darkTypical, feature.darkLimit, feature.edgeDarkTypical, feature.edgeDarkLimit}, times,
                    cause, result);
        edgeLimits = edgeLimits || feature.edgeBrightLimit > 0.0 || feature.edgeDarkLimit > 0.0;
    }
    result.skippedEdge = !edgeLimits && cv::countNonZero(deviations.Edge()) != 0;
    result.area =
        static_cast<double>(cv::countNonZero(deviations.Area())) / static_cast<double>(deviations.Area().total());
    return result;
}

/// @throws std::bad_alloc without memory
TextureScores ScoreRegion(const GreyView& region, const Recipe& recipe)
{
    return WithinMemory([&] { return ComputeScores(region, recipe); });
}

/// The part of an image that is inspected; rows are a multiple of 4 wide only where it is the whole.
GreyImage CutOut(const GreyView& image, const CRect& region)
{
    return {image.Row(region.top) + region.left, region.Width(), region.Height(), image.Stride()};
}

/// The scores as grey levels. A score above `factor` lies more than the unit above what is typical.
GreyImage ShowScores(const cv::Mat& scores, double factor)
{
    const auto unit = static_cast<float>(nTextureScoreUnit / factor);
    GreyImage shown(scores.cols, scores.rows);
    for (int y = 0; y < scores.rows; ++y)
    {
        const float* source = scores.ptr<float>(y);
        std::uint8_t* target = shown.Row(y);
        for (int x = 0; x < scores.cols; ++x)
            target[x] = static_cast<std::uint8_t>(
                nTypicalGrey + static_cast<int>(std::min(255.0F - nTypicalGrey, std::ceil(source[x] * unit))));
    }
    return shown;
}

/// What is reported of the comparison, in places of the score grid.
Recipe ReportOf(const Recipe& recipe, int fold)
{
    Recipe report;
    report.name = recipe.name;
    report.maxBlobs = recipe.maxBlobs;
    report.maxReruns = 0;
    report.label = recipe.label;
    report.mergeDistance = recipe.mergeDistance / fold;
    report.pixelSizeX = recipe.pixelSizeX * fold;
    report.pixelSizeY = recipe.pixelSizeY * fold;
    return report;
}

/// From places of the score grid to pixels of the image.
void MoveIntoImage(Blob& blob, const TextureScores& scores, const Recipe& recipe, const CRect& region)
{
    const int fold = scores.fold;
    const std::uint8_t cause = scores.causes.at<std::uint8_t>(blob.peakPlace.y, blob.peakPlace.x);
    blob.bright = cause % 2 != 0;
    blob.scale = recipe.textureFeatures[cause / 2U].fold;
    const auto x = [&](int place) { return region.left + place * fold; };
    const auto y = [&](int place) { return region.top + place * fold; };
    blob.box = {x(blob.box.left), y(blob.box.top), std::min(x(blob.box.right), static_cast<int>(region.right)),
                std::min(y(blob.box.bottom), static_cast<int>(region.bottom))};
    const auto middle = [&](const CPoint& place)
    {
        return CPoint(std::min(x(place.x) + fold / 2, static_cast<int>(region.right) - 1),
                      std::min(y(place.y) + fold / 2, static_cast<int>(region.bottom) - 1));
    };
    blob.center = middle(blob.center);
    blob.peakPlace = middle(blob.peakPlace);
    blob.area *= fold * fold;
    blob.majorAxis *= fold;
    blob.minorAxis *= fold;
}

} // namespace

ScoredTexture::ScoredTexture(const GreyView& image, const InspectionPlan& plan)
    : m_plan(plan), m_width(image.Width()), m_height(image.Height()), m_scores(std::make_unique<TextureScores>())
{
    plan.CheckSize(image);
    const auto start = std::chrono::steady_clock::now();
    *m_scores = ScoreRegion(CutOut(image, plan.Region()), plan.GetRecipe());
    m_milliseconds = MillisecondsSince(start);
}

ScoredTexture::~ScoredTexture() = default;

ScoreImage ScoredTexture::Scores() const
{
    const TextureScores& found = *m_scores;
    ScoreImage scores;
    scores.step = found.fold;
    // A region need not begin at a multiple of the step; places are rounded down then.
    scores.width = (m_width + scores.step - 1) / scores.step;
    scores.height = (m_height + scores.step - 1) / scores.step;
    scores.values.assign(static_cast<std::size_t>(scores.width) * static_cast<std::size_t>(scores.height), 0.0F);
    const int left = m_plan.Region().left / scores.step;
    const int top = m_plan.Region().top / scores.step;
    for (int y = 0; y < std::min(found.scores.rows, scores.height - top); ++y)
        std::copy_n(found.scores.ptr<float>(y), std::min(found.scores.cols, scores.width - left),
                    scores.values.begin() + static_cast<std::ptrdiff_t>(top + y) * scores.width + left);
    return scores;
}

InspectionResult ScoredTexture::Inspect(Inspector& inspector, int lane, double factor) const
{
    const auto start = std::chrono::steady_clock::now();
    const TextureScores& scores = *m_scores;
    const Recipe& recipe = m_plan.GetRecipe();
    const CRect& region = m_plan.Region();
    const int width = scores.scores.cols;
    const int height = scores.scores.rows;
    InspectionResult result = CompareWithReference(
        inspector, lane, GreyImage(width, height, nTypicalGrey), ShowScores(scores.scores, factor),
        GreyImage(width, height, static_cast<std::uint8_t>(nTextureScoreUnit)), ReportOf(recipe, scores.fold));
    result.region = region;
    for (Blob& blob : result.blobs)
        MoveIntoImage(blob, scores, recipe, region);
    std::erase_if(result.blobs, [&](const Blob& blob) { return blob.area < recipe.minArea; });
    DropDeadBlobs(recipe, result);
    if (scores.skippedEdge)
        result.warnings.push_back("the recipe has no limits for places beside margins: these were not inspected");
    if (scores.area < fSmallArea)
        result.warnings.push_back("pattern was found on " + std::to_string(static_cast<int>(100.0 * scores.area)) +
                                  " % of the region only; the rest was not inspected");
    result.inspectMilliseconds += m_milliseconds;
    result.totalMilliseconds = m_milliseconds + MillisecondsSince(start);
    return result;
}

ScoreImage ScoreTexture(const GreyView& image, const CheckedRecipe& recipe)
{
    const InspectionPlan plan(recipe, image.Width(), image.Height());
    return ScoredTexture(image, plan).Scores();
}

InspectionResult InspectTexture(Inspector& inspector, int lane, const GreyView& image, const InspectionPlan& plan)
{
    return ScoredTexture(image, plan).Inspect(inspector, lane);
}

} // namespace narvo
