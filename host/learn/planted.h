// SPDX-License-Identifier: MIT
// Spots planted in good images, to hold ways of inspecting against each other: what counts is not how low a threshold
// is but what is found with it.
#pragma once

#include <cstdint>
#include <vector>

#include "host/image/grey_image.h"
#include "host/inspect/inspector.h"
#include "host/recipe/recipe.h"

namespace narvo
{

struct PlantedSpot
{
    CRect box;        ///< right and bottom exclusive
    int contrast = 0; ///< grey levels, below 0 darker
};

struct PlantedImage
{
    GreyImage image;
    std::vector<PlantedSpot> spots;
};

/// Discs of 4 to 32 pixels across that are 8 to 32 grey levels brighter or darker, one in each square of 96 pixels, in
/// an order that follows from `seed`; none beside the pattern. @throws std::bad_alloc without memory
PlantedImage PlantSpots(const GreyImage& good, std::uint64_t seed);

/// Whether a blob touches the spot within 3 pixels. Blobs more than 20 times the size of the spot and 16 pixels around
/// it say nothing of its place and do not count.
bool IsFound(const PlantedSpot& spot, const std::vector<Blob>& blobs);

} // namespace narvo
