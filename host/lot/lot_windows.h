// SPDX-License-Identifier: MIT
// Windows of one size over one region, and in which of them more images show defects than chance explains.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "host/lot/lot_marks.h"
#include "host/lot/lot_records.h"

namespace narvo
{

/// How the windows of a test lie. A square of the grid that is as wide or high as the region is the only one that way.
struct WindowGrid
{
    int width = 0; ///< of a square, pixels
    int height = 0;
    /// Whether what is expected follows how often marks lie around the window, in the same column, row, and place of
    /// other cells, where that is more often than in the whole region.
    bool local = true;
};

struct WindowFind
{
    CRect box; ///< of its marks, pixels from the corner of the region's box, right and bottom exclusive
    std::vector<std::size_t> marks; ///< places among the marks
    std::size_t images = 0;
    double expected = 0.0; ///< images
    double tail = 0.0;     ///< probability at this window
};

struct WindowTest
{
    std::size_t windows = 0;
    std::vector<WindowFind> found; ///< the least probable first; no mark is in two of them
};

/// How many windows there are.
std::size_t CountWindows(const LotRegion& region, const WindowGrid& grid);

/// Windows whose tail is not above `level`. `images` are the comparable ones of the lot, each mark is of one of them.
WindowTest TestWindows(const LotRegion& region, const std::vector<LotMark>& marks, std::size_t images,
                       const WindowGrid& grid, double level);

} // namespace narvo
