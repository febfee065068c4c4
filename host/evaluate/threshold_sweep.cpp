// SPDX-License-Identifier: MIT
// Scaled recipes, and the pixels that they report.
#include "host/evaluate/threshold_sweep.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <tuple>
#include <utility>

#include "host/evaluate/baselines.h"
#include "host/inspect/channel_inspection.h"
#include "host/inspect/inspection_plan.h"
#include "host/inspect/lattice_inspection.h"
#include "host/inspect/texture_inspection.h"

namespace narvo
{

namespace
{

constexpr int nGreyHigh = 255;
constexpr int nGainHigh = 256;
constexpr int nOffsetHigh = 32512;
constexpr double dCoveredHigh = 0.2; ///< share of the image in pairs, beyond which a threshold says nothing

int Scaled(int value, double factor, int low, int high)
{
    return value == 0 ? 0 : static_cast<int>(std::clamp(std::round(value * factor), double(low), double(high)));
}

/// Raises the scores of the pixels in reported blobs to what their pairs stand for. At the factor before, `ceiling`,
/// they were not reported, or have a higher score from there.
void PaintPairs(const InspectionResult& result, double factor, double ceiling, ScoreImage& scores)
{
    std::vector<std::uint8_t> reported(scores.values.size(), 0);
    for (const Blob& blob : result.blobs)
        for (int y = std::max(0, blob.box.top); y < std::min(scores.height, blob.box.bottom); ++y)
            for (int x = std::max(0, blob.box.left); x < std::min(scores.width, blob.box.right); ++x)
                reported[static_cast<std::size_t>(y) * scores.width + x] = 1;
    for (const Pair& pair : result.pairRecords)
    {
        const auto [x, y] = std::pair(pair.place.x, pair.place.y);
        if (pair.removed || x < 0 || y < 0 || x >= scores.width || y >= scores.height)
            continue;
        const std::size_t place = static_cast<std::size_t>(y) * scores.width + x;
        if (reported[place] == 0)
            continue;
        const double above =
            pair.threshold > 0 ? 1.0 + std::max(0, pair.peak) / static_cast<double>(pair.threshold) : 1.0;
        scores.values[place] = std::max(scores.values[place], static_cast<float>(std::min(factor * above, ceiling)));
    }
}

/// A score for each pixel of an image of that size.
ScoreImage ByPixels(const ScoreImage& scores, int width, int height)
{
    ScoreImage made;
    made.width = width;
    made.height = height;
    made.values.reserve(static_cast<std::size_t>(width) * height);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            made.values.push_back(scores.At(x, y));
    return made;
}

/// Takes the higher score of each place. In texture mode the places of each region, and of each channel, have a size of
/// their own.
void RaiseScores(ScoreImage& all, const ScoreImage& other, const GreyView& image)
{
    if (all.step != other.step)
    {
        all = ByPixels(all, image.Width(), image.Height());
        return RaiseScores(all, ByPixels(other, image.Width(), image.Height()), image);
    }
    for (std::size_t i = 0; i < all.values.size(); ++i)
        all.values[i] = std::max(all.values[i], other.values[i]);
}

/// Texture mode has scores of its own, from which blobs follow at every factor.
ImageScores SweepTexture(Inspector& inspector, int lane, const GreyView& image, const CheckedRecipe& recipe)
{
    const InspectionPlan plan(recipe, image.Width(), image.Height());
    const ScoredTexture scored(image, plan);
    ImageScores found;
    found.scores = scored.Scores();
    const std::vector<double>& factors = SweepFactors();
    found.blobs.resize(factors.size());
    for (std::size_t i = 0; i < factors.size(); ++i)
    {
        const auto covered = std::count_if(found.scores.values.begin(), found.scores.values.end(),
                                           [&](float score) { return score > factors[i]; });
        if (i > nFactorOne &&
            static_cast<double>(covered) > dCoveredHigh * static_cast<double>(found.scores.values.size()))
            break;
        const InspectionResult result = scored.Inspect(inspector, lane, factors[i]);
        if (i > nFactorOne && result.overflowed)
            break;
        for (const Blob& blob : result.blobs)
            found.blobs[i].push_back({blob.box, blob.area, blob.peak});
    }
    return found;
}

/// How far differences from the reference rise above their thresholds; at the recipe's own thresholds the blobs of the
/// inspection stand.
ImageScores SweepLattice(Inspector& inspector, int lane, const GreyView& image, const CheckedRecipe& recipe)
{
    const InspectionPlan plan(recipe, image.Width(), image.Height());
    const LatticeComparison compared = CompareLattice(image, plan);
    const CRect& region = plan.Region();
    ImageScores found;
    found.scores.width = image.Width();
    found.scores.height = image.Height();
    found.scores.values.assign(static_cast<std::size_t>(image.Width()) * image.Height(), 0.0F);
    for (int y = 0; y < region.Height(); ++y)
        for (int x = 0; x < region.Width(); ++x)
            if (const int threshold = compared.threshold.Row(y)[x]; threshold < nGreyHigh)
                found.scores.values[static_cast<std::size_t>(region.top + y) * image.Width() + region.left + x] =
                    static_cast<float>(std::abs(compared.image.Row(y)[x] - compared.reference.Row(y)[x])) /
                    static_cast<float>(threshold + 1);
    found.blobs = BlobsOf(found.scores);
    found.blobs[nFactorOne].clear();
    for (const Blob& blob : InspectCompared(inspector, lane, compared, plan).blobs)
        found.blobs[nFactorOne].push_back({blob.box, blob.area, blob.peak});
    return found;
}

/// Each channel by itself: the highest score of each pixel, and blobs as inspections join them.
ImageScores SweepChannels(Inspector& inspector, int lane, const std::vector<GreyImage>& channels,
                          const CheckedRecipe& recipe)
{
    std::vector<ImageScores> byChannel;
    byChannel.reserve(channels.size());
    for (const GreyImage& channel : channels)
        byChannel.push_back(SweepThresholds(inspector, lane, channel, recipe));
    ImageScores found = byChannel.front();
    for (std::size_t i = 1; i < byChannel.size(); ++i)
        RaiseScores(found.scores, byChannel[i].scores, channels.front());
    for (std::size_t i = 0; i < found.blobs.size(); ++i)
    {
        std::vector<std::vector<FoundBlob>> blobs;
        blobs.reserve(byChannel.size());
        for (const ImageScores& one : byChannel)
            blobs.push_back(one.blobs[i]);
        found.blobs[i] = JoinFound(blobs, [](const FoundBlob& a, const FoundBlob& b)
                                   { return std::tuple(a.peak, a.area) > std::tuple(b.peak, b.area); });
    }
    return found;
}

} // namespace

const std::vector<double>& SweepFactors()
{
    static const std::vector<double> factors = []
    {
        std::vector<double> list;
        for (int i = 0; i <= 24; ++i)
            list.push_back(std::exp2((12 - i) / 4.0)); // 8 .. 1 .. 1/8
        list[nFactorOne] = 1.0;
        return list;
    }();
    return factors;
}

Recipe ScaleThresholds(const Recipe& recipe, double factor)
{
    Recipe scaled = recipe;
    const bool sums = recipe.GetKind() == Kind_Float || recipe.GetKind() == Kind_Trapezium;
    scaled.thresholdBase = Scaled(recipe.thresholdBase, factor, 1, sums ? nGreyHigh * 9 : nGreyHigh);
    scaled.thresholdGain = Scaled(recipe.thresholdGain, factor, 0, nGainHigh);
    scaled.thresholdExtra = Scaled(recipe.thresholdExtra, factor, 0, nGreyHigh);
    scaled.darkFilterBase = Scaled(recipe.darkFilterBase, factor, 1, nGreyHigh);
    scaled.darkFilterGain = Scaled(recipe.darkFilterGain, factor, 0, nGainHigh);
    if (recipe.twicePitch != 0.0)
    {
        scaled.twiceBase = Scaled(recipe.twiceBase, factor, 1, nGreyHigh);
        scaled.twiceGain = Scaled(recipe.twiceGain, factor, 0, nGainHigh);
    }
    // Binarise mode reports what is darker than its limit.
    scaled.binariseLimit = Scaled(recipe.binariseLimit, 1.0 / factor, 2, nGreyHigh);
    scaled.averageBright = Scaled(recipe.averageBright, factor, 1, nGreyHigh);
    scaled.averageDark = Scaled(recipe.averageDark, factor, 1, nGreyHigh);
    if (recipe.mode != Mode_Zone && recipe.mode != Mode_Asg)
        return scaled;
    for (ZoneSettings& zone : scaled.zones)
    {
        for (int* const offset : {&zone.offset, &zone.upperOffset})
            *offset = Scaled(*offset, factor, 0, nOffsetHigh);
        for (int* const gain :
             {&zone.gain, &zone.upperGain, &zone.darkFilterGain, &zone.brightFilterGain, &zone.tableGain})
            *gain = Scaled(*gain, factor, 0, nGainHigh);
        for (int* const grey : {&zone.darkFilterOffset, &zone.brightFilterOffset, &zone.tableOffset})
            *grey = Scaled(*grey, factor, 0, nGreyHigh);
    }
    return scaled;
}

ImageScores SweepThresholds(Inspector& inspector, int lane, const GreyView& image, const CheckedRecipe& recipe)
{
    if (image.Channels() != nullptr)
        return SweepChannels(inspector, lane, *image.Channels(), recipe);
    if (recipe->GetKind() == Kind_Texture)
        return SweepTexture(inspector, lane, image, recipe);
    if (recipe->GetKind() == Kind_Lattice)
        return SweepLattice(inspector, lane, image, recipe);
    ImageScores found;
    found.scores.width = image.Width();
    found.scores.height = image.Height();
    found.scores.values.assign(static_cast<std::size_t>(image.Width()) * image.Height(), 0.0F);
    const std::vector<double>& factors = SweepFactors();
    found.blobs.resize(factors.size());
    for (std::size_t i = 0; i < factors.size(); ++i)
    {
        const CheckedRecipe scaled = i == nFactorOne ? recipe : CheckedRecipe(ScaleThresholds(*recipe, factors[i]));
        const InspectionResult result = inspector.Inspect(lane, image, scaled, true);
        const double covered =
            static_cast<double>(result.pairRecords.size()) / (double(image.Width()) * image.Height());
        if (i > nFactorOne && (result.overflowed || !result.warnings.empty() || covered > dCoveredHigh))
            break;
        const double ceiling = i == 0 ? 2.0 * factors[0] : factors[i - 1];
        PaintPairs(result, factors[i], std::nextafter(static_cast<float>(ceiling), 0.0F), found.scores);
        for (const Blob& blob : result.blobs)
            found.blobs[i].push_back({blob.box, blob.area, blob.peak});
    }
    return found;
}

ImageScores SweepRegions(Inspector& inspector, int lane, const GreyView& image,
                         const std::vector<CheckedRecipe>& recipes)
{
    ImageScores all;
    for (const CheckedRecipe& recipe : recipes)
    {
        ImageScores region = SweepThresholds(inspector, lane, image, recipe);
        if (all.blobs.empty())
        {
            all = std::move(region);
            continue;
        }
        RaiseScores(all.scores, region.scores, image);
        for (std::size_t i = 0; i < all.blobs.size(); ++i)
            all.blobs[i].insert(all.blobs[i].end(), region.blobs[i].begin(), region.blobs[i].end());
    }
    return all;
}

} // namespace narvo
