// SPDX-License-Identifier: MIT
// How much an input may ask for. What lies beyond is refused before anything is worked out or allocated for it; the
// table for users is docs/limits.md, which a test holds to this file.
#pragma once

#include <cstddef>
#include <cstdint>

namespace narvo
{

/// Pixels of an image file, unless the user allows more: 16384 by 16384.
constexpr std::int64_t nDefaultMaxPixels = 268435456;
/// What the user may allow at most, and the longest side: the decoders go no further.
constexpr std::int64_t nHighestMaxPixels = 1073741824;
constexpr std::int64_t nImageSideLimit = 1048576;
/// Bytes of a decoded image for each pixel that an image may have: colours at full size, wide colours at half of it.
constexpr std::int64_t nBytesPerMaxPixel = 4;

/// Passes over all pixels that a progressive JPEG may take: each may be a few bytes and visits every block.
constexpr int nScanLimit = 100;

constexpr std::size_t nRecipeByteLimit = 16777216; ///< of a recipe's text, of rules, of the boxes of one image
constexpr std::size_t nSetByteLimit = 67108864;    ///< of the boxes of all images of a set in one file
constexpr std::size_t nRegionLimit = 10000;
constexpr std::size_t nCornerLimit = 10000;     ///< of a region that is a polygon
constexpr std::size_t nTableEntryLimit = 65536; ///< one for each 16 pixels of the longest side
constexpr std::size_t nSkippedCellLimit = 100000;
constexpr std::size_t nRecipeEntryLimit =
    1000000; ///< corners, table entries, skipped cells and camera features of all regions

constexpr std::size_t nCameraFeatureLimit = 1000; ///< that a recipe sets

constexpr std::size_t nListedProblems = 100; ///< of one call; the others are counted

constexpr int nLaneLimit = 256;
constexpr int nBlobLimit = 1000000;

/// Images and defects that statistics are made of together.
constexpr std::size_t nLotImageLimit = 10'000'000;
constexpr std::size_t nLotDefectLimit = 10'000'000;

} // namespace narvo
