// SPDX-License-Identifier: MIT
// The periodic picture of reference, image, reference, its threshold maps, and the way back of the result.
#include "host/inspect/reference_comparison.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "host/zones/region_maps.h"

namespace narvo
{

namespace
{

constexpr int nReferenceTiles = 3;          // reference, image, reference: the three pitches that a comparison needs
constexpr int nReferenceColumnGroup = 16;   // a horizontal comparison ends at a multiple of 16 columns
constexpr short nNoDifferenceExceeds = 256; // a threshold

/// Recipe of the comparison from tile to tile.
Recipe MakeTileRecipe(int pitch, int height, const Recipe& report, std::shared_ptr<const RegionMaps> maps)
{
    Recipe recipe;
    recipe.name = report.name;
    recipe.mode = Mode_Zone;
    recipe.direction = Direction_Horizontal;
    recipe.pitchX = pitch;
    recipe.pitchY = height;
    recipe.maps = std::move(maps);
    recipe.maxReruns = report.maxReruns;
    recipe.maxBlobs = report.maxBlobs;
    recipe.minArea = report.minArea;
    recipe.label = report.label;
    recipe.mergeDistance = report.mergeDistance;
    recipe.pixelSizeX = report.pixelSizeX;
    recipe.pixelSizeY = report.pixelSizeY;
    // Every difference answers twice, at the reference before the image and at the one behind: none stands alone, and
    // none needs a further reference.
    recipe.keepSingles = false;
    recipe.filters = false;
    return recipe;
}

/// Lays `image` between two copies of `reference`. Columns that fill a tile up are 0.
GreyImage LayTiles(const GreyImage& reference, const GreyImage& image, int pitch)
{
    GreyImage tiles(nReferenceTiles * pitch, image.Height());
    for (int y = 0; y < image.Height(); ++y)
        for (int tile = 0; tile < nReferenceTiles; ++tile)
        {
            const std::uint8_t* source = tile == 1 ? image.Row(y) : reference.Row(y);
            std::copy_n(source, image.Width(), tiles.Row(y) + static_cast<std::ptrdiff_t>(tile) * pitch);
        }
    return tiles;
}

/// Thresholds of the comparisons that begin in the reference and of those that begin in the image: the same.
std::shared_ptr<const RegionMaps> LayMaps(const GreyImage& threshold, int pitch)
{
    const int width = nReferenceTiles * pitch;
    auto maps = std::make_shared<RegionMaps>(width, threshold.Height());
    for (int y = 0; y < threshold.Height(); ++y)
    {
        // Written in place: the values of bytes lie in the map's range.
        short* line = maps->Data(RegionMaps::Map_Offset) + static_cast<std::ptrdiff_t>(y) * maps->Stride();
        std::fill_n(line, width, nNoDifferenceExceeds);
        std::copy_n(threshold.Row(y), threshold.Width(), line);
        std::copy_n(line, pitch, line + pitch);
    }
    return maps;
}

} // namespace

InspectionResult CompareWithReference(Inspector& inspector, int lane, const GreyImage& reference,
                                      const GreyImage& image, const GreyImage& threshold, const Recipe& report)
{
    const int pitch = (image.Width() + nReferenceColumnGroup - 1) / nReferenceColumnGroup * nReferenceColumnGroup;
    const std::shared_ptr<const RegionMaps> maps = LayMaps(threshold, pitch);
    const GreyImage tiles = LayTiles(reference, image, pitch);
    InspectionResult result =
        inspector.Inspect(lane, tiles, CheckedRecipe(MakeTileRecipe(pitch, image.Height(), report, maps)));
    result.region = CRect(0, 0, image.Width(), image.Height());
    result.drift = {}; // that of the tiles says nothing of the image
    for (Blob& blob : result.blobs)
    {
        blob.box.left -= pitch;
        blob.box.right -= pitch;
        blob.center.x -= pitch;
        blob.peakPlace.x -= pitch;
    }
    return result;
}

} // namespace narvo
