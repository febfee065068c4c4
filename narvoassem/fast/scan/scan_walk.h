// SPDX-License-Identifier: MIT
// The order in which a scan goes through a region, and its bands: what row sources (scan.h) share.
#pragma once

#include <algorithm>
#include <cstdint>
#include <utility>

#include "narvoassem/fast/call/kernel_call.h"
#include "narvoassem/fast/scan/pitch16.h"
#include "narvoassem/fast/scan/scan.h"

namespace narvo::engine
{

/// Places the finder's reference between two rows or columns.
template <class TRow>
void SetWeights(TRow& row, const CPitch16& pitch)
{
    row.nWeightFar = static_cast<std::uint16_t>(pitch.nFraction);
    row.nWeightNear = static_cast<std::uint16_t>(16 - pitch.nFraction);
}

/// Strips from left to right, each compared from the region's top down, less nFreeRows and the pitch at the bottom.
class CStripWalk
{
public:
    static constexpr bool kHorizontal = false;

    CStripWalk(const CRegion& region, const CPitch16& pitch, std::int64_t nFreeRows)
        : m_region(region), m_pitch(pitch), m_nStripEnd(region.nLeft + RoundDownTo16(region.nRight - region.nLeft)),
          m_nRowEnd(region.nBottom - nFreeRows - pitch.nWhole), m_x(region.nLeft)
    {
    }

    bool Enter() const { return m_x < m_nStripEnd; }
    std::int64_t CountUnits(std::int64_t nMost) const
    {
        return std::min((m_nStripEnd - m_x + kStripWidth - 1) / kStripWidth, nMost);
    }
    CScanUnit Unit() const
    {
        return {.nPosition = m_x,
                .nFirstLine = m_region.nTop,
                .bands = {m_region.nTop + m_pitch.nWhole, m_nRowEnd - m_pitch.nWhole, m_pitch.nHop}};
    }
    std::int64_t EndPosition() const { return m_x + kStripWidth; }

    /// Pixel (x, y) is compared where no full hit array cuts its strip.
    bool Covers(std::int64_t x, std::int64_t y) const
    {
        return m_region.nLeft <= x && x < m_nStripEnd && m_region.nTop <= y && y < m_nRowEnd;
    }
    /// First column of the strip that holds column x.
    std::int64_t RowLeft(std::int64_t x) const { return m_region.nLeft + RoundDownTo16(x - m_region.nLeft); }

protected:
    void BeginRows(std::int64_t nStrips)
    {
        m_nStrips = nStrips;
        m_nRow = m_region.nTop;
    }
    /// The next row of the tile. @return false when there is none
    bool StepRow(std::int64_t& y)
    {
        y = m_nRow++;
        return y < m_nRowEnd;
    }
    std::int64_t LineCount() const { return m_nRowEnd - m_region.nTop; }
    /// The arrays were filled by rows of the strip.
    bool IsCut(bool bFull) const { return bFull && m_nRowEnd > m_region.nTop; }

    CRegion m_region;
    CPitch16 m_pitch;
    std::int64_t m_nStripEnd;
    std::int64_t m_nRowEnd;
    std::int64_t m_x;           ///< of the current strip
    std::int64_t m_nStrips = 0; ///< of the current tile
    std::int64_t m_nRow = 0;    ///< next row of the tile
};

/// Rows top down, each compared over its first nColumns columns.
class CRowWalk
{
public:
    static constexpr bool kHorizontal = true;
    static constexpr int kChains = 0;

    CRowWalk(const CRegion& region, const CPitch16& pitch, std::int64_t nColumns)
        : m_region(region), m_pitch(pitch), m_nColumns(nColumns), m_x(region.nLeft),
          m_nStrips((std::max<std::int64_t>(nColumns, 0) + kStripWidth - 1) / kStripWidth), m_nRow(region.nTop)
    {
    }

    bool Enter() const { return m_nRow < m_region.nBottom; }
    std::int64_t CountUnits(std::int64_t /*nMost*/) const { return 1; }
    CScanUnit Unit() const
    {
        return {.nPosition = m_nRow,
                .nLeft = m_x,
                .bands = {m_x + m_pitch.nWhole, m_x + m_nColumns - m_pitch.nWhole, m_pitch.nHop}};
    }
    bool Leave(const CHitsTaken& /*taken*/)
    {
        ++m_nRow;
        return true;
    }
    std::int64_t EndPosition() const { return m_region.nBottom + 1; }

    /// Pixel (x, y) is compared where no full hit array cuts its row.
    bool Covers(std::int64_t x, std::int64_t y) const
    {
        return m_x <= x && x < m_x + m_nColumns && m_region.nTop <= y && y < m_region.nBottom;
    }
    std::int64_t RowLeft(std::int64_t /*x*/) const { return m_x; }
    CPitch16 PitchAt(std::int64_t /*x*/, std::int64_t /*y*/) const { return m_pitch; }

protected:
    void BeginRows(std::int64_t /*nRows*/) { m_bPending = m_nColumns > 0; }
    bool StepRow(std::int64_t& y)
    {
        y = m_nRow;
        return std::exchange(m_bPending, false);
    }

    CRegion m_region;
    CPitch16 m_pitch;
    std::int64_t m_nColumns; ///< negative where the pitch leaves none
    std::int64_t m_x;        ///< the row's first column
    std::int64_t m_nStrips;  ///< blocks of a row
    std::int64_t m_nRow;     ///< current row
    bool m_bPending = false; ///< it has not been found yet
};

} // namespace narvo::engine
