// SPDX-License-Identifier: MIT
// A comparison at the pitch from good images: direction, periods that it spans, kernel and threshold.
#include <algorithm>
#include <cmath>
#include <functional>
#include <memory>
#include <optional>

#include "host/counted.h"
#include "host/inspect/for_each.h"
#include "host/inspect/inspector.h"
#include "host/learn/candidate.h"
#include "host/learn/spot_trial.h"
#include "host/learn/threshold_rule.h"
#include "host/pitch/pitch_recipe.h"
#include "host/pitch/pitch_search.h"
#include "host/problem.h"

namespace narvo
{

namespace
{

constexpr std::size_t nSampleImages = 4;  // on which the settings are chosen
constexpr int nSearchSide = 1536;         // pixels: middle of an image that is searched for the pitch
constexpr int nMultipleHigh = 3;          // periods that a comparison may span
constexpr int nTrialBlobs = 2000;         // room while thresholds are tried
constexpr double dPitchDiffers = 0.02;    // of the pitch, from image to image
constexpr double dPitchUnusable = 0.05;   // the same, where one pitch does not serve all
constexpr double dThresholdUseless = 200; // grey levels
constexpr std::uint64_t nTrialSeed = 11;

/// A way of comparing whose threshold is still to be found: how the recipe changes with it.
struct Comparison
{
    Recipe recipe;
    std::string description;
    int highest = 255;                                        ///< of the threshold's scale
    double greyLevels = 1.0;                                  ///< that one step means
    std::function<void(Recipe& recipe, int threshold)> apply; ///< sets the threshold
};

PitchResult SearchMiddle(const GreyImage& image)
{
    const int width = std::min(nSearchSide, image.Width());
    const int height = std::min(nSearchSide, image.Height());
    const int left = (image.Width() - width) / 2;
    const int top = (image.Height() - height) / 2;
    return SearchPitch(image, CRect(left, top, left + width, top + height));
}

/// One axis over the sample images.
struct CommonPitch
{
    bool found = false;
    double pitch = 0.0;      ///< to the nearest 1/16 pixel
    double difference = 0.0; ///< largest from the median, share of it
    std::string reason;      ///< why it is not found
};

CommonPitch CommonOf(const std::vector<PitchResult>& results, AxisPitch PitchResult::*axis, const char* name,
                     const char* noun)
{
    std::vector<double> pitches;
    for (const PitchResult& result : results)
        if ((result.*axis).found)
            pitches.push_back((result.*axis).pitch);
    CommonPitch common;
    if (pitches.size() < results.size())
    {
        common.reason = "along " + std::string(name) + " a period was found in " + std::to_string(pitches.size()) +
                        " of " + Counted(results.size(), noun);
        return common;
    }
    std::sort(pitches.begin(), pitches.end());
    const double median = pitches[pitches.size() / 2];
    common.difference = std::max(pitches.back() - median, median - pitches.front()) / median;
    common.pitch = std::round(median * 16.0) / 16.0;
    common.found = common.difference <= dPitchUnusable;
    if (!common.found)
        common.reason = "along " + std::string(name) + " the pitch goes from " + Rounded(pitches.front()) + " to " +
                        Rounded(pitches.back()) + " pixels from image to image";
    return common;
}

/// The lowest threshold that leaves the image empty; nothing where even the highest does not.
std::optional<int> LowestEmpty(Inspector& inspector, int lane, const GreyImage& image, const Comparison& comparison)
{
    Recipe recipe = comparison.recipe;
    recipe.maxBlobs = nTrialBlobs;
    recipe.maxReruns = 0;
    const auto isEmpty = [&](int threshold)
    {
        comparison.apply(recipe, threshold);
        const InspectionResult result = inspector.Inspect(lane, image, CheckedRecipe(recipe));
        return result.blobs.empty() && result.warnings.empty();
    };
    if (!isEmpty(comparison.highest))
        return std::nullopt;
    int low = 0;
    int high = comparison.highest;
    while (high - low > 1)
    {
        const int middle = (low + high) / 2;
        (isEmpty(middle) ? high : low) = middle;
    }
    return high;
}

/// The same for every image, in grey levels; empty where one has none.
std::vector<double> ThresholdsNeeded(const std::vector<BatchImage>& images, const Comparison& comparison, int threads)
{
    Inspector inspector(threads, nTrialBlobs);
    std::vector<double> needed(images.size());
    std::vector<char> lacking(images.size(), 0);
    ForEachImage(images, threads,
                 [&](std::size_t i, const GreyImage& image, int lane)
                 {
                     inspector.Prepare(lane);
                     const std::optional<int> threshold = LowestEmpty(inspector, lane, image, comparison);
                     lacking[i] = threshold ? 0 : 1;
                     needed[i] = threshold.value_or(0) * comparison.greyLevels;
                 });
    if (std::find(lacking.begin(), lacking.end(), 1) != lacking.end())
        needed.clear();
    return needed;
}

int StepsFor(double threshold, const Comparison& comparison)
{
    return std::min(comparison.highest, static_cast<int>(std::ceil(threshold / comparison.greyLevels)));
}

Comparison PixelComparison(const LearnSettings& settings, int direction, double pitchX, double pitchY, int multiple)
{
    Comparison made;
    Recipe& recipe = made.recipe;
    recipe.name = settings.name;
    recipe.mode = Mode_Pixel;
    recipe.direction = direction;
    recipe.pitchX = pitchX;
    recipe.pitchY = pitchY;
    (direction == Direction_Horizontal ? recipe.multipleX : recipe.multipleY) = multiple;
    made.description = "pixel mode";
    made.apply = [](Recipe& changed, int threshold) { changed.thresholdBase = threshold; };
    return made;
}

Comparison FloatComparison(const Comparison& pixels)
{
    Comparison made = pixels;
    made.recipe.mode = Mode_Float;
    made.description = "float mode, windows of 2 by 2";
    made.highest = 1020; // four pixels of 255
    made.greyLevels = 0.25;
    return made;
}

/// Zones by what each place of the cell leaves as differences in one image; all their thresholds go up and down
/// together.
std::optional<Comparison> ZoneComparison(const Comparison& pixels, const GreyImage& image, const PitchResult& pitch)
{
    constexpr double dSteps = 16.0; // to the zones' own thresholds
    Comparison made;
    try
    {
        made.recipe = MakePitchRecipe(image, CRect(0, 0, image.Width(), image.Height()), pitch);
    }
    catch (const HostError&)
    {
        return std::nullopt; // no valid zones come of this image
    }
    if (made.recipe.direction != pixels.recipe.direction || pixels.recipe.multipleX * pixels.recipe.multipleY != 1)
        return std::nullopt;
    made.recipe.name = pixels.recipe.name;
    made.recipe.pitchX = pixels.recipe.pitchX;
    made.recipe.pitchY = pixels.recipe.pitchY;
    made.description = "zone mode";
    int lowest = 255;
    for (const ZoneSettings& zone : made.recipe.zones)
        lowest = std::min(lowest, std::max(1, zone.offset));
    made.greyLevels = lowest / dSteps;
    made.highest = static_cast<int>(255.0 / lowest * dSteps);
    const std::vector<ZoneSettings> zones = made.recipe.zones;
    made.apply = [zones](Recipe& changed, int threshold)
    {
        for (std::size_t i = 0; i < zones.size(); ++i)
            changed.zones[i].offset =
                std::clamp(static_cast<int>(std::lround(zones[i].offset * threshold / dSteps)), 1, 255);
    };
    return made;
}

/// What one comparison needs and finds on the samples.
struct Trial
{
    Comparison comparison;
    double threshold = 0.0; ///< grey levels
    double found = 0.0;
};

std::optional<Trial> Try(const std::vector<BatchImage>& samples, const Comparison& comparison, double rate, int threads)
{
    const std::vector<double> needed = ThresholdsNeeded(samples, comparison, threads);
    if (needed.empty())
        return std::nullopt;
    return Trial{comparison, ThresholdFor(needed, rate), 0.0};
}

/// Direction and multiple by the lowest threshold that single pixels need.
std::optional<Trial> ChooseGeometry(const std::vector<BatchImage>& samples, const LearnSettings& settings,
                                    const CommonPitch& x, const CommonPitch& y, const GreyImage& first, int threads,
                                    std::vector<std::string>& tried)
{
    std::optional<Trial> best;
    for (const int direction : {Direction_Vertical, Direction_Horizontal})
    {
        const CommonPitch& along = direction == Direction_Vertical ? y : x;
        const int side = direction == Direction_Vertical ? first.Height() : first.Width();
        for (int multiple = 1; along.found && multiple <= nMultipleHigh; ++multiple)
        {
            if (3.0 * multiple * along.pitch > side)
                break;
            const double pitchX = x.found ? x.pitch : std::min(y.pitch, std::floor(first.Width() / 3.0));
            const double pitchY = y.found ? y.pitch : std::min(x.pitch, std::floor(first.Height() / 3.0));
            std::optional<Trial> trial;
            try
            {
                trial = Try(samples, PixelComparison(settings, direction, pitchX, pitchY, multiple), settings.falseRate,
                            threads);
            }
            catch (const HostError&)
            {
                continue; // the pitch does not fit into every image
            }
            const std::string name = std::string(direction == Direction_Vertical ? "vertically" : "horizontally") +
                                     " over " + std::to_string(multiple) + (multiple == 1 ? " period" : " periods");
            tried.push_back(name + ": " + (trial ? Rounded(trial->threshold) + " grey levels" : "never empty"));
            if (trial && (!best || trial->threshold < best->threshold))
                best = trial;
        }
    }
    return best;
}

std::string Joined(const std::vector<std::string>& parts, const char* between)
{
    std::string text;
    for (const std::string& part : parts)
        text += (text.empty() ? "" : between) + part;
    return text;
}

} // namespace

Candidate LearnPeriodic(const std::vector<BatchImage>& good, const LearnSettings& settings, int threads)
{
    Candidate candidate;
    const std::vector<BatchImage> samples = SpreadOver(good, nSampleImages);
    std::vector<PitchResult> pitches(samples.size());
    ForEachImage(samples, threads,
                 [&](std::size_t i, const GreyImage& image, int)
                 {
                     if (std::min(image.Width(), image.Height()) >= nPitchSearchSide)
                         pitches[i] = SearchMiddle(image);
                 });
    const CommonPitch x = CommonOf(pitches, &PitchResult::x, "x", ImageNoun(settings));
    const CommonPitch y = CommonOf(pitches, &PitchResult::y, "y", ImageNoun(settings));
    if (!x.found && !y.found)
    {
        candidate.reasons.push_back("There is no common period: " + x.reason + ", " + y.reason + ".");
        return candidate;
    }
    const std::shared_ptr<const GreyImage> loaded = samples.front().load();
    const GreyImage& first = *loaded;
    std::vector<std::string> tried;
    const std::optional<Trial> geometry = ChooseGeometry(samples, settings, x, y, first, threads, tried);
    if (!geometry || geometry->threshold > dThresholdUseless)
    {
        candidate.reasons.push_back("A comparison at the pitch does not leave the good images empty (" +
                                    Joined(tried, "; ") + ").");
        return candidate;
    }
    std::vector<Comparison> comparisons = {geometry->comparison, FloatComparison(geometry->comparison)};
    if (const std::optional<Comparison> zones = ZoneComparison(geometry->comparison, first, pitches.front()))
        comparisons.push_back(*zones);
    std::optional<Trial> best;
    std::vector<std::string> shares;
    for (const Comparison& comparison : comparisons)
    {
        std::optional<Trial> trial;
        try
        {
            trial = Try(samples, comparison, settings.falseRate, threads);
            if (trial)
            {
                Recipe recipe = comparison.recipe;
                comparison.apply(recipe, StepsFor(trial->threshold, comparison));
                trial->found = ShareOf(FindPlanted(samples, recipe, nTrialSeed));
            }
        }
        catch (const HostError&)
        {
            continue; // this kernel does not suit the pitch or the images' size
        }
        if (!trial)
            continue;
        shares.push_back(comparison.description + " " + Rounded(100.0 * trial->found) + " %");
        if (!best || trial->found > best->found)
            best = trial;
    }
    if (!best)
        return candidate;

    const std::vector<double> needed = ThresholdsNeeded(good, best->comparison, threads);
    if (needed.empty())
    {
        candidate.reasons.push_back("A comparison at the pitch leaves some good images with blobs at any threshold.");
        return candidate;
    }
    candidate.images = DescribeImages(good, threads);
    const double threshold = ThresholdFor(needed, settings.falseRate);
    candidate.recipe = best->comparison.recipe;
    best->comparison.apply(candidate.recipe, StepsFor(threshold, best->comparison));
    CrossValidateThreshold(needed, settings.falseRate, settings.eachChannel, candidate);

    const bool vertical = candidate.recipe.direction == Direction_Vertical;
    const CommonPitch& along = vertical ? y : x;
    const int multiple = vertical ? candidate.recipe.multipleY : candidate.recipe.multipleX;
    candidate.description = best->comparison.description + (vertical ? ", vertically at " : ", horizontally at ") +
                            (multiple == 1 ? "" : std::to_string(multiple) + " times ") + FormatNumber(along.pitch) +
                            " pixels";
    candidate.reasons.push_back("The pattern repeats " +
                                (x.found ? "every " + FormatNumber(x.pitch) + " pixels along x" : std::string()) +
                                (x.found && y.found ? " and " : "") +
                                (y.found ? "every " + FormatNumber(y.pitch) + " pixels along y" : std::string()) + ".");
    candidate.reasons.push_back("Direction and distance are those that need the lowest threshold (" +
                                Joined(tried, "; ") + ").");
    candidate.reasons.push_back("Of spots planted in the good images, " + Joined(shares, ", ") +
                                " were found at thresholds that leave the good images empty.");
    candidate.reasons.push_back("The good images need thresholds from " +
                                Rounded(*std::min_element(needed.begin(), needed.end())) + " to " +
                                Rounded(*std::max_element(needed.begin(), needed.end())) +
                                " grey levels to stay empty; the recipe takes " + Rounded(threshold) + ".");
    if (along.difference > dPitchDiffers)
        candidate.warnings.push_back("The pitch differs by " + Rounded(100.0 * along.difference) +
                                     " % from image to image; a comparison at one pitch loses sharpness by that.");
    return candidate;
}

} // namespace narvo
