// SPDX-License-Identifier: MIT
// What a recipe finds: of spots planted in good images, and of known defects.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "host/inspect/batch.h"
#include "host/learn/learn.h"
#include "host/recipe/recipe.h"

namespace narvo
{

/// Up to `count` of the images, spread over all.
std::vector<BatchImage> SpreadOver(const std::vector<BatchImage>& images, std::size_t count);

/// Spots by side and contrast, in that order, planted in each of the images and looked for by the recipe. Once those
/// that were looked at have 12 megapixels together, the others are left out. @throws HostError where the recipe does
/// not suit an image
std::vector<LearnSpots> FindPlanted(const std::vector<BatchImage>& images, const Recipe& recipe, std::uint64_t seed);

/// What the recipe finds in images with defects. @throws HostError where it does not suit one, naming it
std::vector<LearnFinds> FindDefects(const std::vector<LearnDefective>& images, const Recipe& recipe, int threads);

/// Share of all spots that were found; 0 without any.
double ShareOf(const std::vector<LearnSpots>& spots);

} // namespace narvo
