// SPDX-License-Identifier: MIT
// Zone maps and origin tables from a simple description: size and place of the cell, the painted zones of one cell,
// numbers for each zone. Only geometry and lookup live here; inspection_plan.h says which maps an inspection needs.
#pragma once

#include <array>
#include <cstddef>
#include <set>
#include <utility>
#include <vector>

#include "host/image/grey_image.h"
#include "narvoassem/platform.h"

namespace narvo
{

inline constexpr int nStripWidth = 16; ///< columns that the kernels compare at a time

/// The zone cell: real-valued size and place, so that neighbouring cells start at distances that differ by one pixel.
struct CellGeometry
{
    double width;   ///< pixels, at least 16: the kernels step one cell for each 16 columns
    double height;  ///< pixels, at least 2
    double originX; ///< left side of cell column 0
    double originY; ///< top side of cell row 0

    /// First pixel column of a cell column.
    int Left(int column) const;
    /// First pixel row of a cell row.
    int Top(int row) const;
    /// The cell column that holds pixel column x.
    int ColumnOf(int x) const;
    /// The cell row that holds pixel row y.
    int RowOf(int y) const;
};

/// A map of shorts laid out over one cell and continued periodically to all places where a kernel may read it. Places
/// are counted from the origin record in force, and a kernel leaves its cell on every side:
///   - to the left by a whole cell, since a band begins with the first record right of its left side, and by up to 17
///     pixels where a cell starts a pixel late or the next cell is skipped;
///   - to the right by a second cell, which the last cell stretches over, and by the 15 columns of a strip begun in it;
///   - below by a second cell for the same reason, which also covers the line that lags behind at a new strip.
/// With the pattern continued there, a place counted from the wrong one of two neighbouring records finds the same
/// zone.
class CellMap
{
public:
    /// `painted` holds a value below 16 for each pixel of the cell, or is empty for value 0 everywhere; `values` is
    /// what the map holds for each of them.
    CellMap(const CellGeometry& cell, const GreyImage& painted, const std::array<short, 16>& values);
    /// The same over `extent` in place of Extent(cell), for kernels whose cells are unbounded along an axis.
    CellMap(const CellGeometry& cell, const GreyImage& painted, const std::array<short, 16>& values,
            const CRect& extent);

    /// The element of the cell's own first pixel.
    short* Data() { return m_values.data() + m_first; }
    /// Elements from line to line.
    int Stride() const { return m_stride; }

    /// Places that the map holds, counted from the cell's first pixel: left and top at most 0, right and bottom
    /// exclusive.
    static CRect Extent(const CellGeometry& cell);

private:
    int m_stride;
    std::size_t m_first;
    std::vector<short> m_values;
};

/// The grid of cell origins over a region: one spare grid row above, and spare columns and rows behind, which the walk
/// of the kernels and the search for a re-run's entry step onto.
class OriginTable
{
public:
    /// `skipped` names cells by column and row; with any, records hold three ints.
    OriginTable(const CellGeometry& cell, const CRect& region, const std::vector<std::pair<int, int>>& skipped);

    /// Fills the grid anew for another region, with its rows counted from `firstRow`; memory is taken only for a grid
    /// larger than any before.
    void Move(const CellGeometry& cell, const CRect& region, int firstRow = 0);

    int Columns() const { return m_columns; }
    int Rows() const { return m_rows; }
    /// Ints in a record, 2 or 3.
    int RecordInts() const { return m_recordInts; }
    /// The record to hand to the engine. Vertical kernels begin a whole grid row below it, horizontal ones at it.
    int* Entry(bool vertical);

    /// Grid rows that a region needs, spare ones included.
    static int RowsFor(const CellGeometry& cell, const CRect& region);
    /// Grid columns that a region needs, spare ones included.
    static int ColumnsFor(const CellGeometry& cell, const CRect& region);

private:
    int m_columns = 0;
    int m_rows = 0;
    int m_recordInts;
    std::set<std::pair<int, int>> m_skipped;
    std::vector<int> m_records;
};

} // namespace narvo
