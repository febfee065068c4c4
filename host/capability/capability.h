// SPDX-License-Identifier: MIT
// What a recipe can find: defects of graded size, contrast, shape and place planted in good images, and how many of
// them the recipe reports.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "host/capability/planted.h"
#include "host/capability/planting.h"
#include "host/inspect/batch.h"
#include "host/recipe/checked_recipe.h"
#include "host/statistics/detection_fit.h"

namespace narvo
{

/// "inside" or "border".
const std::string& PlantedPlaceName(int place);

struct CapabilitySettings
{
    std::vector<int> sizes = {2, 4, 6, 8, 12, 16, 24, 32}; ///< pixels
    std::vector<int> contrasts = {-32, -16, 16, 32};       ///< grey levels
    std::vector<int> shapes = {Planted_Spot, Planted_LineX, Planted_LineY};
    std::vector<int> places = {Place_Inside, Place_Border};
    int count = 30; ///< defects of each size, contrast, shape and place
    std::uint64_t seed = 1;
};

constexpr int nPlantedSizeHigh = 512;
constexpr int nPlantedContrastHigh = 255;
constexpr int nPlantedCountHigh = 1000;
constexpr std::size_t nPlantedListHigh = 32; ///< sizes or contrasts
constexpr std::size_t nPlantedHigh = 1000000;
constexpr std::size_t nCapabilityImageLimit = 1000;

/// Everything that is wrong with the settings.
std::vector<Problem> CheckCapability(const CapabilitySettings& settings);

/// Defects of one shape, contrast and place.
struct CapabilityCurve
{
    int shape = Planted_Spot;
    int contrast = 0;
    int place = Place_Inside;
    std::vector<SizeCount> counts; ///< by ascending size
    DetectionFit fit;
};

/// A good image as it is.
struct CapabilityImage
{
    std::string name;
    int width = 0;
    int height = 0;
    double megapixels = 0.0;    ///< that are inspected
    std::size_t falseBlobs = 0; ///< reported although nothing was planted
};

struct CapabilityResult
{
    CapabilitySettings settings; ///< lists in ascending order
    std::vector<CapabilityCurve> curves;
    std::vector<CapabilityImage> images;
    std::size_t falseBlobs = 0;
    double megapixels = 0.0;
    double falseRate = 0.0;            ///< false blobs a megapixel
    double falseBound = 0.0;           ///< upper bound of that at 95 % confidence
    std::vector<std::string> warnings; ///< sentences
};

/// Called after each round of inspections with how many defects are planted and how many are wanted.
using OnPlanted = std::function<void(std::size_t planted, std::size_t wanted)>;

/// Plants and inspects on `threads` threads, whose number changes nothing in the result. Images are loaded several
/// times.
/// @throws HostError when settings or images are not valid or the recipes do not suit an image, naming it
CapabilityResult MeasureCapability(const std::vector<CheckedRecipe>& recipes, const std::vector<BatchImage>& good,
                                   const CapabilitySettings& settings, int threads, const OnPlanted& progress = {});

/// Settings, counts and figures as JSON.
nlohmann::ordered_json CapabilityToJson(const CapabilityResult& result);

} // namespace narvo
