// SPDX-License-Identifier: MIT
// Places in the pattern's cell where defects lie in more cells than chance explains.
#pragma once

#include <cstddef>
#include <vector>

#include "host/lot/lot_marks.h"
#include "host/lot/lot_records.h"

namespace narvo
{

struct CellFind
{
    CRect box; ///< pixels from the corner of the cell along its vectors, right and bottom exclusive
    std::vector<std::size_t> marks; ///< places among the marks
    std::size_t cells = 0;
    double expected = 0.0; ///< cells
    double tail = 0.0;     ///< probability at this place
};

struct CellTest
{
    std::size_t windows = 0;
    std::vector<CellFind> found; ///< the least probable first; no mark is in two of them
};

/// Windows of a cell that do not tell one place from another give none.
std::size_t CountCellWindows(const LotRegion& region, int side);

/// Each cell of the pattern counts once, in however many images a place of it shows a mark. Places whose tail is not
/// above `level`.
CellTest TestCell(const LotRegion& region, const std::vector<LotMark>& marks, int side, double level);

} // namespace narvo
