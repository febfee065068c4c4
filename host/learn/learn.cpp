// SPDX-License-Identifier: MIT
// The choice between the ways of inspecting, and what to expect of it.
#include "host/learn/learn.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <mutex>
#include <optional>
#include <utility>

#include "host/counted.h"
#include "host/image/image_reading.h"
#include "host/learn/candidate.h"
#include "host/learn/extreme_value.h"
#include "host/learn/spot_trial.h"
#include "host/problem.h"
#include "host/statistics/count_bounds.h"

namespace narvo
{

namespace
{

constexpr std::size_t nGroupsMost = 10;
constexpr std::size_t nTrialImages = 3;
constexpr std::uint64_t nPlantSeed = 7;
constexpr std::size_t nImagesWanted = 6;
constexpr std::size_t nChannels = std::size(inspectedChannels);

void Check(const std::vector<BatchImage>& good, const LearnSettings& settings)
{
    std::vector<Problem> found;
    if (good.empty() || good.size() > nLearnImageLimit)
        found.push_back({"images", std::to_string(good.size()), "1 to " + std::to_string(nLearnImageLimit)});
    if (settings.mode < LearnMode_Auto || settings.mode > LearnMode_Lattice)
        found.push_back({"mode", std::to_string(settings.mode), "auto, texture, periodic or lattice"});
    if (!(settings.falseRate >= dFalseRateLow && settings.falseRate <= dFalseRateHigh))
        found.push_back(
            {"false_rate", FormatNumber(settings.falseRate),
             FormatNumber(dFalseRateLow) + " to " + FormatNumber(dFalseRateHigh) + " false blobs an image"});
    ThrowIfAny(std::move(found));
}

/// Texture mode; where another way is open too, nothing for images that do not suit it, and the reason.
std::optional<Candidate> TryTexture(const std::vector<BatchImage>& good, const LearnSettings& settings, int threads,
                                    std::vector<std::string>& reasons)
{
    if (settings.mode != LearnMode_Auto && settings.mode != LearnMode_Texture)
        return std::nullopt;
    try
    {
        return LearnTexture(good, settings, threads);
    }
    catch (const HostError& error)
    {
        if (settings.mode == LearnMode_Texture)
            throw;
        reasons.push_back("Texture mode was not considered: " + error.Problems().front().Text() + ".");
        return std::nullopt;
    }
}

std::string Share(double share)
{
    return Rounded(100.0 * share) + " %";
}

void WarnOfDisagreement(LearnResult& result)
{
    constexpr double dLightRatio = 1.25;    // brightest over darkest image
    constexpr double dContrastRatio = 1.5;  // of the standard deviations
    constexpr double dAreaDifference = 0.2; // of the shares that show pattern
    constexpr double dLeastContrast = 3.0;  // grey levels, standard deviation
    const auto range = [&](double LearnImage::*member)
    {
        const auto [low, high] =
            std::minmax_element(result.images.begin(), result.images.end(),
                                [&](const LearnImage& a, const LearnImage& b) { return a.*member < b.*member; });
        return std::pair(*low, *high);
    };
    if (const auto [low, high] = range(&LearnImage::level); high.level > dLightRatio * low.level)
        result.warnings.push_back("Light differs from image to image: mean grey is " + Rounded(low.level) + " in " +
                                  low.name + " and " + Rounded(high.level) + " in " + high.name + ".");
    if (const auto [low, high] = range(&LearnImage::contrast); high.contrast > dContrastRatio * low.contrast)
        result.warnings.push_back("Contrast differs from image to image: the standard deviation of grey is " +
                                  Rounded(low.contrast) + " in " + low.name + " and " + Rounded(high.contrast) +
                                  " in " + high.name + ".");
    if (const auto [low, high] = range(&LearnImage::contrast); low.contrast < dLeastContrast)
        result.warnings.push_back("There is little to see in " + low.name + ": the standard deviation of grey is " +
                                  Rounded(low.contrast) +
                                  " grey levels. Where a camera's values fill a part of its range only, set levels.");
    if (const auto [low, high] = range(&LearnImage::area); high.area > low.area + dAreaDifference)
        result.warnings.push_back("The pattern fills " + Rounded(100.0 * low.area) + " % of " + low.name + " and " +
                                  Rounded(100.0 * high.area) + " % of " + high.name +
                                  "; check that the margins were found in both.");
}

/// What each way found, the chosen one first.
void TellChoice(std::size_t best, LearnResult& result)
{
    std::string spots;
    std::string known;
    bool tied = false;
    const auto tell = [&](const LearnCandidate& tried)
    {
        spots += (spots.empty() ? "" : ", ") + tried.description + " found " + Share(tried.found);
        known += (known.empty() ? "" : ", ") + tried.description + " found " + std::to_string(tried.defectsFound);
    };
    tell(result.candidates[best]);
    for (std::size_t i = 0; i < result.candidates.size(); ++i)
        if (i != best)
        {
            tell(result.candidates[i]);
            tied = tied || result.candidates[i].defectsFound == result.candidates[best].defectsFound;
        }
    result.reasons.push_back("Of spots planted in good images, of 4 to 32 pixels and 8 to 32 grey levels, " + spots +
                             ".");
    if (result.defects > 0)
        result.reasons.push_back("Of " + Counted(result.defects, "known defect") + ", " + known +
                                 (tied ? "; planted spots decide." : "; that decides."));
}

/// How the images fared whose limits were learnt without them.
void Forecast(const Candidate& candidate, LearnResult& result)
{
    for (const LearnImage& image : result.images)
        result.falseBlobs += image.falseBlobs;
    result.falseBound = PoissonBound(result.falseBlobs) / static_cast<double>(result.images.size());
    const std::string blobs = Counted(result.falseBlobs, "false blob");
    if (candidate.crossValidated)
        result.reasons.push_back("With limits learnt from the others, the " + Counted(result.images.size(), "image") +
                                 " show " + blobs + ": at most " + Rounded(result.falseBound) +
                                 " an image at 95 % confidence.");
    else
        result.reasons.push_back((result.images.size() == 1
                                      ? std::string("One image says nothing of how images differ from each other")
                                      : "The images show too little pattern for limits to be learnt without each") +
                                 "; false blobs on others cannot be forecast.");
    if (result.images.size() < nImagesWanted)
        result.warnings.push_back("Learnt from " + Counted(result.images.size(), "image") + "; take " +
                                  std::to_string(nImagesWanted) +
                                  " or more, from different times, for limits that hold.");
    for (const LearnImage& image : result.images)
        if (image.highest > 1.0 && candidate.crossValidated)
            result.warnings.push_back("Image " + image.name + " stands out from the others (score " +
                                      Rounded(image.highest) + ", limit 1): check that it has no defect.");
}

/// The channels of each image as images of their own, those of an image behind each other.
std::vector<BatchImage> ChannelImages(const std::vector<BatchImage>& images)
{
    std::vector<BatchImage> channels;
    for (const BatchImage& image : images)
        for (std::size_t i = 0; i < nChannels; ++i)
            channels.push_back({image.name, [load = image.load, i]
                                {
                                    const std::shared_ptr<const GreyImage> all = load();
                                    if (all->Channels() == nullptr)
                                        return all;
                                    return std::shared_ptr<const GreyImage>(all->Channels(), &(*all->Channels())[i]);
                                }});
    return channels;
}

/// Tells of each image that is read.
class ReadingTeller
{
public:
    explicit ReadingTeller(const OnLearning& progress) : m_progress(progress) {}

    /// What the images are read for from here on.
    void Begin(const char* step) { m_step = step; }
    BatchImage Told(const BatchImage& image)
    {
        if (!m_progress)
            return image;
        return {image.name, [this, load = image.load]
                {
                    {
                        const std::lock_guard lock(m_mutex);
                        m_progress(m_step, m_read++);
                    }
                    return load();
                }};
    }

private:
    const OnLearning& m_progress;
    std::mutex m_mutex;
    const char* m_step = "";
    std::size_t m_read = 0;
};

/// What the channels of an image say of it: the highest score, and false blobs of all.
void MergeChannels(std::vector<LearnImage>& images)
{
    std::vector<LearnImage> merged;
    for (std::size_t i = 0; i < images.size(); ++i)
    {
        if (i % nChannels == 0)
        {
            merged.push_back(images[i]);
            continue;
        }
        merged.back().highest = std::max(merged.back().highest, images[i].highest);
        merged.back().falseBlobs += images[i].falseBlobs;
    }
    images = std::move(merged);
}

} // namespace

std::string Rounded(double value)
{
    const double scale = std::abs(value) < 10.0 ? 100.0 : 1.0;
    return FormatNumber(std::round(value * scale) / scale);
}

std::vector<std::size_t> LeaveOutGroups(std::size_t images, bool eachChannel)
{
    const std::size_t together = eachChannel ? nChannels : 1;
    std::vector<std::size_t> groups(images);
    for (std::size_t i = 0; i < images; ++i)
        groups[i] = i / together % std::min(nGroupsMost, images / together);
    return groups;
}

LearnResult LearnRecipe(const std::vector<BatchImage>& images, const LearnSettings& given, int threads,
                        const std::vector<LearnDefective>& defectiveImages, const OnLearning& progress)
{
    Check(images, given);
    ReadingTeller teller(progress);
    std::vector<BatchImage> good;
    for (const BatchImage& image : images)
        good.push_back(teller.Told(image));
    std::vector<LearnDefective> defective = defectiveImages;
    for (LearnDefective& image : defective)
        image.image = teller.Told(image.image);
    const std::vector<BatchImage> learnt = given.eachChannel ? ChannelImages(good) : good;
    LearnSettings settings = given;
    settings.falseRate = given.falseRate / static_cast<double>(given.eachChannel ? nChannels : 1);
    LearnResult result;
    std::vector<Candidate> candidates;
    teller.Begin("learning limits of texture");
    if (std::optional<Candidate> texture = TryTexture(learnt, settings, threads, result.reasons))
        candidates.push_back(std::move(*texture));
    const auto tryAnother = [&](int mode, auto learn)
    {
        if (settings.mode != LearnMode_Auto && settings.mode != mode)
            return;
        Candidate candidate = learn(learnt, settings, threads);
        if (!candidate.description.empty())
            candidates.push_back(std::move(candidate));
        else
            for (const std::string& reason : candidate.reasons)
                result.reasons.push_back(reason);
    };
    teller.Begin("learning a comparison at the pitch");
    tryAnother(LearnMode_Periodic, LearnPeriodic);
    teller.Begin("learning a comparison of lattice neighbours");
    tryAnother(LearnMode_Lattice, LearnLattice);
    teller.Begin("trying the recipes");
    if (candidates.empty())
        throw HostError({{"images", result.reasons.empty() ? "no way to inspect them" : result.reasons.back(),
                          "images with a period, or mode texture for others"}});

    std::size_t best = 0;
    std::vector<std::vector<LearnSpots>> spots;
    std::vector<std::vector<LearnFinds>> finds;
    for (const LearnDefective& image : defective)
        result.defects += image.defects ? image.defects->size() : 0;
    for (std::size_t i = 0; i < candidates.size(); ++i)
    {
        spots.push_back(FindPlanted(SpreadOver(good, nTrialImages), candidates[i].recipe, nPlantSeed));
        finds.push_back(FindDefects(defective, candidates[i].recipe, threads));
        LearnCandidate& tried = result.candidates.emplace_back();
        tried.description = candidates[i].description;
        tried.found = ShareOf(spots[i]);
        for (const LearnFinds& image : finds[i])
            tried.defectsFound += image.found;
        const LearnCandidate& first = result.candidates[best];
        if (std::pair(tried.defectsFound, tried.found) > std::pair(first.defectsFound, first.found))
            best = i;
    }
    result.candidates[best].chosen = true;
    result.spots = spots[best];
    result.finds = finds[best];
    if (candidates.size() > 1)
        TellChoice(best, result);
    Candidate& chosen = candidates[best];
    result.recipe = std::move(chosen.recipe);
    result.images = std::move(chosen.images);
    if (given.eachChannel)
        MergeChannels(result.images);
    for (std::string& reason : chosen.reasons)
        result.reasons.push_back(std::move(reason));
    result.warnings = std::move(chosen.warnings);
    WarnOfDisagreement(result);
    Forecast(chosen, result);
    return result;
}

} // namespace narvo
