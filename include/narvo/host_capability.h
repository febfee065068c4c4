// SPDX-License-Identifier: MIT
// What a recipe can find: defects of graded size, contrast, shape and place are planted in good images and counted.
// docs/capability.md explains the method.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "narvo/host_images.h"
#include "narvo/host_progress.h"
#include "narvo/host_recipe.h"

namespace narvo::v1
{

/// The names of the shapes that can be planted: "spot", "line-x", "line-y", "stain".
NARVOHOST_API const std::vector<std::string>& PlantedShapes();
/// The names of the places: "inside", 16 pixels or more from the region's border, and "border", within 3 pixels of it.
NARVOHOST_API const std::vector<std::string>& PlantedPlaces();

/// Which defects are planted. Nothing is checked before MeasureCapability. One thread at a time may use it.
class NARVOHOST_API CapabilityPlan
{
public:
    CapabilityPlan();
    ~CapabilityPlan();
    /// Copies all settings.
    CapabilityPlan(const CapabilityPlan& other);
    /// The same.
    CapabilityPlan& operator=(const CapabilityPlan& other);

    /// Diameters or lengths in pixels, 1 .. 512, at most 32 of them. Not set: 2, 4, 6, 8, 12, 16, 24, 32. @return this
    CapabilityPlan& SetSizes(const std::vector<int>& sizes);
    /// Grey levels, -255 .. 255 without 0, below 0 darker; at most 32. Not set: -32, -16, 16, 32. @return this
    CapabilityPlan& SetContrasts(const std::vector<int>& contrasts);
    /// Of PlantedShapes. Not set: all but "stain". @return this. @throws Error for another name
    CapabilityPlan& SetShapes(const std::vector<std::string>& shapes);
    /// Of PlantedPlaces. Not set: both. @return this. @throws Error for another name
    CapabilityPlan& SetPlaces(const std::vector<std::string>& places);
    /// Defects of each size, contrast, shape and place, 1 .. 1000; 1000000 in all. Not set: 30. @return this
    CapabilityPlan& SetCount(int count);
    /// What places and order are drawn from: the same seed gives the same defects. Not set: 1. @return this
    CapabilityPlan& SetSeed(std::uint64_t seed);

    struct Content; ///< of the library
    /// For the library itself.
    const Content& GetContent() const noexcept { return *m_content; }

private:
    std::unique_ptr<Content> m_content;
};

/// How many defects of one size were planted, and how many of them the recipe reported.
struct PlantedCount
{
    int size = 0;            ///< pixels
    std::size_t planted = 0; ///< fewer than wanted where no places were left
    std::size_t found = 0;   ///< touched by a report that was not there before
};

/// Defects of one shape, place and contrast.
struct PlantedCurve
{
    std::string shape;                ///< of PlantedShapes
    std::string place;                ///< of PlantedPlaces
    int contrast = 0;                 ///< grey levels
    std::vector<PlantedCount> counts; ///< by ascending size
};

/// What a recipe finds.
struct CapabilityReport
{
    std::vector<PlantedCurve> curves;  ///< by shape, place and contrast
    std::size_t falseBlobs = 0;        ///< reported in the good images as they are
    double megapixels = 0.0;           ///< of the good images that are inspected
    double falseRate = 0.0;            ///< false defects a megapixel
    double falseBound = 0.0;           ///< upper bound of that at 95 % confidence
    std::vector<std::string> warnings; ///< sentences: what makes the figures doubtful
    std::string text;                  ///< all of it as JSON, with the sizes found at 90 % and what was set
};

/// Plants defects in good images, 1 .. 1000 of them, and counts those that the recipe reports, by all of its regions.
/// `threads`, 1 .. 256, changes nothing in the result.
/// @throws Error when the plan or the images are not valid or the recipe does not suit an image, naming it
NARVOHOST_API CapabilityReport MeasureCapability(const Recipe& recipe, const std::vector<NamedPicture>& good,
                                                 const CapabilityPlan& plan = {}, int threads = 1);

/// The same, telling `progress` of the defects that were planted. @throws Error as the other, Stopped where `progress`
/// asks for it
NARVOHOST_API CapabilityReport MeasureCapability(const Recipe& recipe, const std::vector<NamedPicture>& good,
                                                 const CapabilityPlan& plan, int threads, const OnProgress& progress);

} // namespace narvo::v1
