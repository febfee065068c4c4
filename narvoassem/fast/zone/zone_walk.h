// SPDX-License-Identifier: MIT
// The walk over the zone cells as a scan asks for it: which map elements the strips of a row use.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>

#include "narvoassem/fast/call/kernel_call.h"
#include "narvoassem/fast/scan/cell_walk.h"
#include "narvoassem/fast/source/run_list.h"

namespace narvo::engine
{

inline CZoneGrid MakeGrid(const CZoneCall& call, bool bFlagged)
{
    return {reinterpret_cast<const std::byte*>(call.pOriginTable), call.nRowBytes, call.nCellWidth, call.nCellHeight,
            bFlagged};
}

/// Vertical scans: cells change down the rows, and each strip has a walk of its own.
class CStripZones
{
public:
    CStripZones(const CZoneCall& call, bool bFlagged, CScanScratch& scratch)
        : m_call(call), m_grid(MakeGrid(call, bFlagged)), m_scratch(scratch)
    {
    }

    void BeginScan(std::int64_t nStripEnd) { m_cursor = CStripCursor(m_grid, nStripEnd); }
    void LeaveStrip(std::int64_t x) { m_cursor.Enter(x); }

    /// The cell of one pixel, by a walk of its own from the region's corner; BeginScan comes first.
    CCellOrigin FindCell(std::int64_t x, std::int64_t y) const
    {
        CStripCursor cursor = m_cursor;
        for (std::int64_t nStrip = m_call.region.nLeft; nStrip <= x; nStrip += kStripWidth)
            cursor.Enter(nStrip);
        CCellRows rows(cursor, m_call.region.nTop, m_call.region.nBottom);
        rows.Advance(y);
        return rows.Origin();
    }

    /// Groups the strips of a tile that walk their cells alike: the first of each cell column, and the others of it.
    void BeginTile(std::int64_t x, std::int64_t nStrips)
    {
        CStripCursor cursor = m_cursor;
        m_nWalks = 0;
        bool bAfterFresh = true;
        for (std::int64_t nStrip = 0; nStrip < nStrips; ++nStrip, x += kStripWidth)
        {
            cursor.Enter(x);
            if (cursor.IsFresh() || bAfterFresh)
                m_scratch.walks[m_nWalks++] = {CCellRows(cursor, m_call.region.nTop, m_call.region.nBottom), nStrip, 0};
            ++m_scratch.walks[m_nWalks - 1].nStripCount;
            bAfterFresh = cursor.IsFresh();
        }
    }

    /// Advances all groups to row y and lists the runs of the cells that are not skipped.
    /// @return the next row at which a cell changes
    std::int64_t StepRuns(CRunList& runs, std::int64_t x, std::int64_t y, std::int64_t /*nStrips*/)
    {
        std::int64_t nNextStep = std::numeric_limits<std::int64_t>::max();
        for (std::size_t n = 0; n < m_nWalks; ++n)
        {
            CRunWalk& walk = m_scratch.walks[n];
            walk.rows.Advance(y);
            nNextStep = std::min(nNextStep, walk.rows.NextStep());
            const CCellOrigin& origin = walk.rows.Origin();
            if (origin.nSkip == 0)
                runs.Add(walk.nFirstStrip, walk.nStripCount,
                         origin.MapElement(x + walk.nFirstStrip * kStripWidth, 0, m_call.nMapStride));
        }
        return nNextStep;
    }

private:
    const CZoneCall& m_call;
    CZoneGrid m_grid;
    CScanScratch& m_scratch;
    CStripCursor m_cursor;
    std::size_t m_nWalks = 0;
};

/// Horizontal scans: cells change along the row, alike for all rows of a grid row.
class CRowZones
{
public:
    CRowZones(const CZoneCall& call, bool bFlagged, CScanScratch& /*scratch*/)
        : m_call(call), m_grid(MakeGrid(call, bFlagged))
    {
    }

    void BeginScan(std::int64_t nScanEnd)
    {
        m_cursor = CRowCursor(m_grid, m_call.region.nBottom);
        m_nScanEnd = nScanEnd;
    }

    /// The cell of one pixel, by a walk of its own from the region's corner; BeginScan comes first.
    CCellOrigin FindCell(std::int64_t x, std::int64_t y) const
    {
        CRowCursor cursor = m_cursor;
        for (std::int64_t nRow = m_call.region.nTop; nRow <= y; nRow = std::max(nRow + 1, cursor.CellBottom()))
            cursor.Enter(nRow);
        CCellColumns columns(cursor, m_nScanEnd);
        for (std::int64_t nBlock = m_call.region.nLeft; nBlock <= x; nBlock += kStripWidth)
            columns.Enter(nBlock);
        return columns.Origin();
    }

    void BeginTile(std::int64_t /*x*/, std::int64_t /*nStrips*/) {}
    void LeaveStrip(std::int64_t /*x*/) {}
    /// Lists the runs of row y. @return the next row at which the grid row changes
    std::int64_t StepRuns(CRunList& runs, std::int64_t x, std::int64_t y, std::int64_t nStrips)
    {
        m_cursor.Enter(y);
        CCellColumns columns(m_cursor, m_nScanEnd);
        for (std::int64_t nStrip = 0; nStrip < nStrips; ++nStrip, x += kStripWidth)
        {
            columns.Enter(x);
            runs.Add(nStrip, 1, columns.Origin().MapElement(x, 0, m_call.nMapStride));
        }
        return std::max(y + 1, m_cursor.CellBottom());
    }

private:
    const CZoneCall& m_call;
    CZoneGrid m_grid;
    CRowCursor m_cursor;
    std::int64_t m_nScanEnd = 0;
};

} // namespace narvo::engine
