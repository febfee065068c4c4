// SPDX-License-Identifier: MIT
// Defects planted in good images, to hold ways of inspecting against each other and to see what a recipe can find: what
// counts is not how low a threshold is but what is found with it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "host/image/grey_image.h"
#include "host/inspect/inspector.h"

namespace narvo
{

enum PlantedShape : int
{
    Planted_Spot = 0, ///< a disc; size is its diameter
    Planted_LineX,    ///< a line along x, nPlantedLine pixels wide; size is its length
    Planted_LineY,    ///< the same along y
    Planted_Stain     ///< fades away from its middle; size is the diameter at half of its contrast
};
constexpr int nPlantedShapes = 4;
constexpr int nPlantedLine = 2; ///< pixels

struct PlantedDefect
{
    int shape = Planted_Spot;
    int size = 0;     ///< pixels
    int contrast = 0; ///< grey levels, below 0 darker
    CRect box;        ///< right and bottom exclusive
};

/// "spot", "line-x", "line-y" or "stain".
const std::string& PlantedShapeName(int shape);

/// The box of a defect at 0, 0.
CRect PlantedBox(int shape, int size);
/// Pixels by which a defect fades beyond its box.
int PlantedReach(int shape, int size);

/// Adds the defect to the pixels, not to the channels. Edges are blurred by one pixel, as by a lens, and values end at
/// 0 and 255.
/// @return whether values came to an end, so that the defect is weaker than its contrast says
bool PlantDefect(const PlantedDefect& defect, GreyImage& image);

/// The same defects in the channels of an image that is inspected channel by channel; nothing for others.
void PlantInChannels(const std::vector<PlantedDefect>& defects, GreyImage& image);

/// Whether a blob touches the defect within 3 pixels. Blobs more than 20 times the size of its box and 16 pixels around
/// it say nothing of its place and do not count.
bool IsFound(const PlantedDefect& defect, const std::vector<Blob>& blobs);

struct PlantedImage
{
    GreyImage image;
    std::vector<PlantedDefect> defects;
};

/// Spots of 4 to 32 pixels across that are 8 to 32 grey levels brighter or darker, one in each square of 96 pixels, in
/// an order that follows from `seed`; none beside the pattern. @throws std::bad_alloc without memory
PlantedImage PlantSpots(const GreyImage& good, std::uint64_t seed);

} // namespace narvo
