// SPDX-License-Identifier: MIT
// Look-up of a zone cell's origin by a point inside the cell.
#include "narvoassem/narvoassem.h"

#include <cstdint>

#include "narvoassem/base/truncate.h"

using namespace narvo::engine;

namespace
{

/// The cell that an offset from the first origin lies in; below 0 for every offset before it.
int FindCell(double dOffset, double dCell)
{
    const double dIndex = dOffset / dCell;
    return TruncateToInt(dOffset < 0.0 ? dIndex - 1.0 : dIndex);
}

} // namespace

void CGammaPoint::FindOrigin(int* pTable, int nColumns, int nX, int nY, double dCellWidth, double dCellHeight)
{
    if (pTable == nullptr)
        return;
    const double x0 = pTable[0];
    const double y0 = pTable[1];
    if (dCellWidth == -1.0 || dCellHeight == -1.0)
    {
        dCellWidth = pTable[2] - x0;
        dCellHeight = pTable[std::int64_t{nColumns} * 2 + 1] - y0;
    }
    if (!(dCellWidth > 0.0) || !(dCellHeight > 0.0))
    {
        x = 0;
        y = 0;
        return;
    }
    const int nColumn = FindCell(nX - x0, dCellWidth);
    const int nRow = FindCell(nY - y0, dCellHeight);
    if (nColumn >= 0 && nRow >= 0)
    {
        const int* pRecord = pTable + (std::int64_t{nRow} * nColumns + nColumn) * 2;
        if (pRecord[0] != 0 && pRecord[1] != 0)
        {
            x = pRecord[0];
            y = pRecord[1];
            return;
        }
    }
    x = TruncateToInt(x0 + dCellWidth * nColumn);
    y = TruncateToInt(y0 + dCellHeight * nRow);
}
