// SPDX-License-Identifier: MIT
// How far good material goes: the largest deviation of every measure in each place of an image.
#pragma once

#include <cstddef>
#include <vector>

#include "host/image/grey_image.h"
#include "host/recipe/texture_settings.h"

namespace narvo
{

/// Of one measure and polarity.
struct FeatureMaxima
{
    std::vector<double> inside; ///< one for each place
    double rest = 0.0;          ///< largest in places that show too little of the pattern to count
    double edge = 0.0;          ///< largest beside the margins; 0 where there are none
};

/// Of one image.
struct PlaceMaxima
{
    std::vector<FeatureMaxima> bright; ///< by measure
    std::vector<FeatureMaxima> dark;   ///< by measure
    std::size_t places = 0;            ///< that show pattern over more than half of their area
    double area = 0.0;                 ///< share of the image that shows pattern
    bool hasEdge = false;
    double level = 0.0;    ///< mean grey of the pattern
    double contrast = 0.0; ///< standard deviation of its grey
};

/// Cuts the image into places of about `side` by `side` pixels.
PlaceMaxima MeasurePlaces(const GreyView& image, const TextureSettings& settings,
                          const std::vector<TextureFeature>& features, int side);

/// How an image fares under limits.
struct PlaceScore
{
    double highest = 0.0;        ///< 1 is at the limit
    std::size_t placesAbove = 0; ///< with a score above 1; what lies beside margins, and the rest, are a place each
};
PlaceScore ScorePlaces(const PlaceMaxima& image, const std::vector<TextureFeature>& features);

} // namespace narvo
