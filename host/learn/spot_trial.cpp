// SPDX-License-Identifier: MIT
// Planting, inspection and counting.
#include "host/learn/spot_trial.h"

#include <algorithm>
#include <cstdlib>
#include <map>
#include <utility>

#include "host/capability/planted.h"
#include "host/inspect/for_each.h"
#include "host/inspect/inspector.h"

namespace narvo
{

namespace
{

constexpr std::size_t nTrialPixels = 12000000; // of all images together, but one image at least

} // namespace

std::vector<BatchImage> SpreadOver(const std::vector<BatchImage>& images, std::size_t count)
{
    std::vector<BatchImage> samples;
    count = std::min(count, images.size());
    for (std::size_t i = 0; i < count; ++i)
        samples.push_back(images[i * images.size() / count]);
    return samples;
}

std::vector<LearnSpots> FindPlanted(const std::vector<BatchImage>& images, const Recipe& recipe, std::uint64_t seed)
{
    std::map<std::pair<int, int>, LearnSpots> found;
    Inspector inspector(1, recipe.maxBlobs);
    std::size_t seen = 0;
    for (std::size_t i = 0; i < images.size() && seen < nTrialPixels; ++i)
    {
        const PlantedImage planted = PlantSpots(*images[i].load(), seed + i);
        seen += static_cast<std::size_t>(planted.image.Width()) * static_cast<std::size_t>(planted.image.Height());
        const InspectionResult result = inspector.Inspect(0, planted.image, CheckedRecipe(recipe));
        for (const PlantedDefect& spot : planted.defects)
        {
            LearnSpots& kind = found[{spot.size, std::abs(spot.contrast)}];
            kind.side = spot.size;
            kind.contrast = std::abs(spot.contrast);
            ++kind.planted;
            kind.found += IsFound(spot, result.blobs) ? 1 : 0;
        }
    }
    std::vector<LearnSpots> spots;
    for (const auto& [key, kind] : found)
        spots.push_back(kind);
    return spots;
}

std::vector<LearnFinds> FindDefects(const std::vector<LearnDefective>& images, const Recipe& recipe, int threads)
{
    const CheckedRecipe checked(recipe);
    Inspector inspector(threads, recipe.maxBlobs);
    std::vector<BatchImage> toLoad;
    for (const LearnDefective& image : images)
        toLoad.push_back(image.image);
    std::vector<LearnFinds> finds(images.size());
    ForEachImage(toLoad, threads,
                 [&](std::size_t i, const GreyImage& image, int lane)
                 {
                     inspector.Prepare(lane);
                     const std::vector<Blob> blobs = inspector.Inspect(lane, image, checked).blobs;
                     LearnFinds& of = finds[i];
                     of.name = toLoad[i].name;
                     of.blobs = blobs.size();
                     if (!images[i].defects)
                         return;
                     of.known = true;
                     std::vector<PlantedDefect> defects;
                     for (const CRect& box : *images[i].defects)
                         defects.push_back({Planted_Spot, 0, 0, box});
                     of.defects = defects.size();
                     for (const PlantedDefect& defect : defects)
                         of.found += IsFound(defect, blobs) ? 1 : 0;
                     for (const Blob& blob : blobs)
                         of.falseBlobs +=
                             std::none_of(defects.begin(), defects.end(),
                                          [&](const PlantedDefect& defect) { return IsFound(defect, {blob}); })
                                 ? 1
                                 : 0;
                 });
    return finds;
}

double ShareOf(const std::vector<LearnSpots>& spots)
{
    std::size_t planted = 0;
    std::size_t found = 0;
    for (const LearnSpots& kind : spots)
    {
        planted += kind.planted;
        found += kind.found;
    }
    return planted == 0 ? 0.0 : static_cast<double>(found) / static_cast<double>(planted);
}

} // namespace narvo
