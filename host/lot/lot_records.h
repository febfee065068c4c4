// SPDX-License-Identifier: MIT
// A lot: what many images of one pattern showed, as plain records that statistics are made from.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "host/cell/pattern_cell.h"
#include "narvoassem/platform.h"

namespace narvo
{

struct LotDefect
{
    std::uint32_t image = 0;  ///< place in Lot::images
    std::uint32_t region = 0; ///< place among the recipe's regions
    int x = 0;                ///< its centre, pixels of the image
    int y = 0;
};

struct LotImage
{
    std::string name;
    bool refused = false;    ///< not inspected: nothing else is known of it
    bool comparable = false; ///< of the size and regions that most images have
    std::size_t defects = 0; ///< in all regions
    std::int64_t pairs = 0;  ///< pair records of all regions: what the comparison found before blobs were built
    double area = 0.0;       ///< pixels of all regions
    /// Means over its regions, weighted by their areas; none where no region has any.
    std::optional<double> light;  ///< grey levels
    std::optional<double> noise;  ///< standard deviation of a pixel, grey levels
    std::optional<double> pitchX; ///< pixels
    std::optional<double> pitchY; ///< pixels
    /// Means over its defects; none without defects.
    std::optional<double> size;     ///< geometric mean of their areas, pixels
    std::optional<double> grey;     ///< of what they were compared with, grey levels
    std::optional<double> contrast; ///< of their mean differences, grey levels
};

struct LotRegion
{
    std::string name;
    CRect box;
    double area = 0.0; ///< pixels that are inspected: less than the box where the region is no rectangle
    std::optional<PatternCell> cell;
    std::string noCell; ///< why there is none
};

struct Lot
{
    std::string store;             ///< place, without its password
    std::vector<std::string> runs; ///< names, in the order of their images
    std::string recipe;            ///< name of its file
    std::vector<LotRegion> regions;
    std::vector<LotImage> images;   ///< in the order in which they were inspected
    std::vector<LotDefect> defects; ///< of comparable images, in their order
};

} // namespace narvo
