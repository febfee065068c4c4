// SPDX-License-Identifier: MIT
// Lattice mode from good images: the vectors that they have in common, how they are made ready, and the threshold.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <optional>

#include "host/counted.h"
#include "host/inspect/for_each.h"
#include "host/inspect/inspection_plan.h"
#include "host/inspect/inspector.h"
#include "host/inspect/lattice_inspection.h"
#include "host/lattice/lattice_search.h"
#include "host/learn/candidate.h"
#include "host/learn/spot_trial.h"
#include "host/learn/threshold_rule.h"
#include "host/pitch/lattice_recipe.h"
#include "host/problem.h"

namespace narvo
{

namespace
{

constexpr std::size_t nLatticeSamples = 4; // images on which the settings are chosen
constexpr int nLatticeMinArea = 5;         // pixels
constexpr int nLatticeMerge = 4;           // pixels
constexpr int nLatticeTrialBlobs = 2000;   // room while thresholds are tried
constexpr int nLatticeUseless = 200;       // grey levels of threshold
constexpr double dVectorDiffers = 0.08;    // of the vectors' length, from image to image, where one lattice serves all
constexpr std::uint64_t nLatticeTrialSeed = 13;

/// How an image is made ready.
struct Preparation
{
    int flatten;
    double tolerance;
    const char* words;
};

constexpr Preparation preparations[] = {
    {0, 1.0, "edges within a pixel"}, {0, 0.0, "no play at edges"}, {97, 0.0, "light and contrast taken out"}};

double Distance(const LatticeVector& a, const LatticeVector& b)
{
    return std::hypot(a.x - b.x, a.y - b.y);
}

/// The lattice that all images show, from the one whose first vector lies in the middle; nothing where they differ.
std::optional<Lattice> CommonLattice(const std::vector<LatticeSearch>& found, const char* noun, std::string& reason)
{
    std::vector<const LatticeSearch*> sorted;
    for (const LatticeSearch& one : found)
        if (!one.lattice.vectors.empty())
            sorted.push_back(&one);
    if (sorted.size() < found.size())
    {
        reason = "a lattice was found in " + std::to_string(sorted.size()) + " of " + Counted(found.size(), noun);
        return std::nullopt;
    }
    std::stable_sort(sorted.begin(), sorted.end(),
                     [](const LatticeSearch* a, const LatticeSearch* b)
                     { return a->lattice.vectors.front().Length() < b->lattice.vectors.front().Length(); });
    const Lattice& middle = sorted[sorted.size() / 2]->lattice;
    for (const LatticeSearch* other : sorted)
    {
        if (other->lattice.vectors.size() != middle.vectors.size())
        {
            reason = "some images repeat along two directions, some along one";
            return std::nullopt;
        }
        // Two vectors of nearly the same length may have changed places.
        for (const LatticeVector& vector : middle.vectors)
            if (std::none_of(other->lattice.vectors.begin(), other->lattice.vectors.end(),
                             [&](const LatticeVector& at)
                             { return Distance(at, vector) <= std::max(1.0, dVectorDiffers * vector.Length()); }))
            {
                reason = "the lattice goes from " + LatticeText(middle) + " to " + LatticeText(other->lattice) +
                         " from image to image";
                return std::nullopt;
            }
    }
    return middle;
}

/// The lowest threshold that leaves the image empty, grey levels.
int LowestEmptyThreshold(Inspector& inspector, int lane, const GreyImage& image, const InspectionPlan& plan)
{
    LatticeComparison compared = CompareLattice(image, plan);
    int low = 0;
    int high = 255; // which no difference exceeds
    while (high - low > 1)
    {
        const int middle = (low + high) / 2;
        SetThreshold(compared, middle);
        const InspectionResult result = InspectCompared(inspector, lane, compared, plan);
        (result.blobs.empty() && !result.overflowed ? high : low) = middle;
    }
    return high;
}

std::vector<double> ThresholdsOf(const std::vector<BatchImage>& images, Recipe recipe, int threads)
{
    recipe.maxBlobs = nLatticeTrialBlobs;
    const CheckedRecipe checked(recipe);
    Inspector inspector(threads, nLatticeTrialBlobs);
    std::vector<double> needed(images.size());
    ForEachImage(images, threads,
                 [&](std::size_t i, const GreyImage& image, int lane)
                 {
                     inspector.Prepare(lane);
                     needed[i] = LowestEmptyThreshold(inspector, lane, image,
                                                      InspectionPlan(checked, image.Width(), image.Height()));
                 });
    return needed;
}

int ThresholdOf(const std::vector<double>& needed, double rate)
{
    return std::min(255, static_cast<int>(std::ceil(ThresholdFor(needed, rate))));
}

} // namespace

Candidate LearnLattice(const std::vector<BatchImage>& good, const LearnSettings& settings, int threads)
{
    Candidate candidate;
    const std::vector<BatchImage> samples = SpreadOver(good, nLatticeSamples);
    std::vector<LatticeSearch> searches(samples.size());
    ForEachImage(samples, threads,
                 [&](std::size_t i, const GreyImage& image, int) { searches[i] = SearchLattice(image); });
    std::string reason;
    const std::optional<Lattice> lattice = CommonLattice(searches, ImageNoun(settings), reason);
    if (!lattice)
    {
        candidate.reasons.push_back("There is no common lattice: " + reason + ".");
        return candidate;
    }
    Recipe recipe;
    recipe.name = settings.name;
    recipe.mode = Mode_Lattice;
    recipe.minArea = nLatticeMinArea;
    recipe.mergeDistance = nLatticeMerge;
    SetLattice(*lattice, recipe);
    std::optional<Recipe> best;
    double bestFound = -1.0;
    std::string tried;
    for (const Preparation& preparation : preparations)
    {
        recipe.latticeFlatten = preparation.flatten;
        recipe.latticeTolerance = preparation.tolerance;
        try
        {
            recipe.latticeThreshold = 0;
            recipe.latticeThreshold = ThresholdOf(ThresholdsOf(samples, recipe, threads), settings.falseRate);
            if (recipe.latticeThreshold > nLatticeUseless)
                continue;
            const double found = ShareOf(FindPlanted(samples, recipe, nLatticeTrialSeed));
            tried += (tried.empty() ? "" : ", ") + std::string(preparation.words) + " " + Rounded(100.0 * found) + " %";
            if (found > bestFound)
            {
                best = recipe;
                bestFound = found;
            }
        }
        catch (const HostError& error)
        {
            candidate.reasons.push_back("Lattice mode was not considered: " + error.Problems().front().Text() + ".");
            return candidate;
        }
    }
    if (!best)
    {
        candidate.reasons.push_back("A comparison with lattice neighbours does not leave the good images empty.");
        return candidate;
    }
    candidate.recipe = *best;
    candidate.recipe.latticeThreshold = 0;
    const std::vector<double> needed = ThresholdsOf(good, candidate.recipe, threads);
    candidate.recipe.latticeThreshold = ThresholdOf(needed, settings.falseRate);
    candidate.images = DescribeImages(good, threads);
    CrossValidateThreshold(needed, settings.falseRate, settings.eachChannel, candidate);
    candidate.description = "lattice mode, vectors " + LatticeText(*lattice);
    candidate.reasons.push_back("The pattern repeats after " + LatticeText(*lattice) +
                                " pixels, and a pixel is compared with the median of " +
                                std::to_string(candidate.recipe.latticeNeighbours) + " neighbours.");
    candidate.reasons.push_back("Of spots planted in the good images, were found with " + tried +
                                ", at thresholds that leave the good images empty.");
    candidate.reasons.push_back(
        "The good images need thresholds from " + Rounded(*std::min_element(needed.begin(), needed.end())) + " to " +
        Rounded(*std::max_element(needed.begin(), needed.end())) + " grey levels to stay empty; the recipe takes " +
        std::to_string(candidate.recipe.latticeThreshold) + ".");
    return candidate;
}

} // namespace narvo
