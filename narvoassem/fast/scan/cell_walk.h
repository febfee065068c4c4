// SPDX-License-Identifier: MIT
// The walk over the grid of zone cells: which cell's origin a strip, or a row, of a region uses. A map element is
// addressed relative to the origin of its cell, so the walk turns a place in the image into a place in the maps.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace narvo::engine
{

/// Origin of a cell, image pixels, and its skip field (0 where records have none).
struct CCellOrigin
{
    std::int64_t nX = 0;
    std::int64_t nY = 0;
    std::int64_t nSkip = 0;

    /// Element of pixel (x, y) in a map of nStride elements a line.
    std::int64_t MapElement(std::int64_t x, std::int64_t y, std::int64_t nStride) const
    {
        return (y - nY) * nStride + (x - nX);
    }
    friend bool operator==(const CCellOrigin&, const CCellOrigin&) = default;
};

/// The table of origins as a grid: records of two ints, or three with a skip field, nRowBytes from grid row to grid
/// row. Cell sizes are whole pixels and may be as large as an int goes.
struct CZoneGrid
{
    const std::byte* pTable = nullptr;
    std::int64_t nRowBytes = 0;
    std::int64_t nCellWidth = 0;
    std::int64_t nCellHeight = 0;
    bool bFlagged = false;

    std::int64_t RecordBytes() const { return (bFlagged ? 3 : 2) * static_cast<std::int64_t>(sizeof(int)); }
    CCellOrigin Read(const std::byte* pRecord) const
    {
        int nField[3] = {};
        std::memcpy(nField, pRecord, static_cast<std::size_t>(RecordBytes()));
        return {nField[0], nField[1], nField[2]};
    }
};

/// Walks the strips of a vertical scan from left to right and gives the cell column of each. The first used grid row
/// is the one below the table's start.
class CStripCursor
{
public:
    CStripCursor() = default;
    CStripCursor(const CZoneGrid& grid, std::int64_t nStripEnd)
        : m_pGrid(&grid), m_nStripEnd(nStripEnd), m_pColumn(grid.pTable), m_first(ReadFirst()),
          m_nCellRight(m_first.nX + grid.nCellWidth)
    {
    }

    /// Enters the strip at column x: the scan's first one, or one right of the strip before. One cell column at most is
    /// stepped.
    void Enter(std::int64_t x)
    {
        const bool bStep = x >= m_nCellRight;
        m_bFresh = bStep || m_bAtStart;
        m_bAtStart = false;
        if (!bStep)
            return;
        m_pColumn += m_pGrid->RecordBytes();
        m_first = ReadFirst();
        m_nCellRight = m_first.nX + m_pGrid->nCellWidth;
        if (m_pGrid->bFlagged && m_pGrid->Read(m_pColumn + m_pGrid->nRowBytes + m_pGrid->RecordBytes()).nSkip == 1)
            m_nCellRight -= 16; // the change to a skipped cell comes one strip early, in preference to the stretch
        else if (m_first.nX + 2 * m_pGrid->nCellWidth >= m_nStripEnd)
            m_nCellRight += m_pGrid->nCellWidth; // the last cell stretches to the end
    }

    const CZoneGrid& Grid() const { return *m_pGrid; }
    /// The strip is the first of its cell column.
    bool IsFresh() const { return m_bFresh; }
    /// The column's record in the table's first grid row, one above the first used one.
    const std::byte* Column() const { return m_pColumn; }
    /// The column's cell in the first used grid row.
    const CCellOrigin& First() const { return m_first; }

private:
    CCellOrigin ReadFirst() const { return m_pGrid->Read(m_pColumn + m_pGrid->nRowBytes); }

    const CZoneGrid* m_pGrid = nullptr;
    std::int64_t m_nStripEnd = 0;
    const std::byte* m_pColumn = nullptr;
    CCellOrigin m_first;
    std::int64_t m_nCellRight = 0;
    bool m_bAtStart = true;
    bool m_bFresh = false;
};

/// Walks the rows of one strip downward. In a strip that stays in its cell column the first step lands on the first
/// used grid row once more, for a single line, and the next line steps on: a deliberate lag.
class CCellRows
{
public:
    CCellRows() = default;
    CCellRows(const CStripCursor& cursor, std::int64_t nTop, std::int64_t nBottom)
        : m_pGrid(&cursor.Grid()),
          m_pRecord(cursor.IsFresh() ? cursor.Column() + cursor.Grid().nRowBytes : cursor.Column()),
          m_origin(cursor.First()), m_nCellBottom(m_origin.nY + cursor.Grid().nCellHeight), m_nNextRow(nTop),
          m_nBottom(nBottom)
    {
    }

    /// Advances to row y, which lies at or below the row before. Each row on the way steps one grid row at most.
    void Advance(std::int64_t y)
    {
        for (std::int64_t nRow = NextStep(); nRow <= y; nRow = NextStep())
        {
            m_pRecord += m_pGrid->nRowBytes;
            m_origin = m_pGrid->Read(m_pRecord);
            m_nCellBottom = m_origin.nY + m_pGrid->nCellHeight;
            if (m_origin.nY + 2 * m_pGrid->nCellHeight >= m_nBottom - 1)
                m_nCellBottom += m_pGrid->nCellHeight; // the last cell stretches to the end
            m_nNextRow = nRow + 1;
        }
        m_nNextRow = y + 1;
    }

    /// The next row at which the cell changes.
    std::int64_t NextStep() const { return std::max(m_nNextRow, m_nCellBottom); }
    const CCellOrigin& Origin() const { return m_origin; }

private:
    const CZoneGrid* m_pGrid = nullptr;
    const std::byte* m_pRecord = nullptr;
    CCellOrigin m_origin;
    std::int64_t m_nCellBottom = 0;
    std::int64_t m_nNextRow = 0;
    std::int64_t m_nBottom = 0;
};

/// Walks the rows of a horizontal scan downward and gives the grid row of each. The first used grid row is that of the
/// table itself.
class CRowCursor
{
public:
    CRowCursor() = default;
    CRowCursor(const CZoneGrid& grid, std::int64_t nBottom)
        : m_pGrid(&grid), m_pRow(grid.pTable), m_first(grid.Read(m_pRow)), m_nCellBottom(m_first.nY + grid.nCellHeight),
          m_nBottom(nBottom)
    {
    }

    /// Enters row y: the scan's first one, or one at which a step is due. One grid row at most is stepped.
    void Enter(std::int64_t y)
    {
        if (y < m_nCellBottom)
            return;
        m_pRow += m_pGrid->nRowBytes;
        m_first = m_pGrid->Read(m_pRow);
        m_nCellBottom = m_first.nY + m_pGrid->nCellHeight;
        if (m_first.nY + 2 * m_pGrid->nCellHeight > m_nBottom)
            m_nCellBottom += m_pGrid->nCellHeight;
    }

    /// The row from which on a step is due.
    std::int64_t CellBottom() const { return m_nCellBottom; }
    const CZoneGrid& Grid() const { return *m_pGrid; }
    const std::byte* Row() const { return m_pRow; }
    const CCellOrigin& First() const { return m_first; }

private:
    const CZoneGrid* m_pGrid = nullptr;
    const std::byte* m_pRow = nullptr;
    CCellOrigin m_first;
    std::int64_t m_nCellBottom = 0;
    std::int64_t m_nBottom = 0;
};

/// Walks the blocks of 16 columns of one row of a horizontal scan to the right.
class CCellColumns
{
public:
    CCellColumns() = default;
    CCellColumns(const CRowCursor& cursor, std::int64_t nScanEnd)
        : m_pGrid(&cursor.Grid()), m_pRecord(cursor.Row()), m_origin(cursor.First()),
          m_nCellRight(m_origin.nX + cursor.Grid().nCellWidth), m_nScanEnd(nScanEnd)
    {
    }

    /// Enters the block at column x: the row's first one, or the one right of the block before. One cell at most is
    /// stepped.
    void Enter(std::int64_t x)
    {
        if (x < m_nCellRight)
            return;
        m_pRecord += m_pGrid->RecordBytes();
        m_origin = m_pGrid->Read(m_pRecord);
        m_nCellRight = m_origin.nX + m_pGrid->nCellWidth;
        if (m_origin.nX + 2 * m_pGrid->nCellWidth >= m_nScanEnd)
            m_nCellRight += m_pGrid->nCellWidth;
    }

    const CCellOrigin& Origin() const { return m_origin; }

private:
    const CZoneGrid* m_pGrid = nullptr;
    const std::byte* m_pRecord = nullptr;
    CCellOrigin m_origin;
    std::int64_t m_nCellRight = 0;
    std::int64_t m_nScanEnd = 0;
};

} // namespace narvo::engine
