// SPDX-License-Identifier: MIT
// Derived rows kept for as long as a scan needs them: a row made as the far reference is the source one pitch later.
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <limits>

#include "narvoassem/base/grow_buffer.h"
#include "narvoassem/fast/find/find_row.h"

namespace narvo::engine
{

/// Rows by index, each in the slot of its low bits; a new row replaces the one in its slot.
template <class TElement>
class CRowCache
{
public:
    /// Memory that the rows of one tile should not exceed, so that they stay in the cache.
    static constexpr std::int64_t kBytes = 1 << 20;
    /// Maximum of rows kept: for longer distances, rows are computed again.
    static constexpr std::int64_t kRowLimit = 8192;

    /// Rows to keep so that a row is still there nDistance rows later.
    static std::int64_t RowsFor(std::int64_t nDistance)
    {
        const std::int64_t nWanted = std::clamp<std::int64_t>(nDistance + 3, 4, kRowLimit);
        return static_cast<std::int64_t>(std::bit_ceil(static_cast<std::uint64_t>(nWanted)));
    }
    /// Columns of a tile whose rows fit into kBytes.
    static std::int64_t ColumnsFor(std::int64_t nDistance)
    {
        return kBytes / (RowsFor(nDistance) * static_cast<std::int64_t>(sizeof(TElement)));
    }

    /// Strips of a tile that fits into it; rows too short gain nothing from it.
    static std::int64_t StripsFor(std::int64_t nDistance)
    {
        return std::max<std::int64_t>(ColumnsFor(nDistance) / kStripWidth, 32);
    }

    /// Empties the cache. @return false without memory
    bool Begin(std::int64_t nDistance, std::int64_t nColumns)
    {
        m_nRows = RowsFor(nDistance);
        m_nColumns = nColumns;
        const auto nSlots = static_cast<std::size_t>(m_nRows + kSpareRows);
        if (!m_rows.Reserve(nSlots * static_cast<std::size_t>(nColumns)) || !m_index.Reserve(nSlots))
            return false;
        std::fill_n(m_index.Data(), nSlots, kNone);
        return true;
    }

    /// Row nRow, made by make(nRow, pOut) where it is not held. Row nKeep, got before, stays where it is. nSpare, 0 or
    /// 1, differs between rows that are used together with it.
    template <class TMake>
    const TElement* Get(std::int64_t nRow, std::int64_t nKeep, int nSpare, TMake&& make)
    {
        std::int64_t nSlot = nRow & (m_nRows - 1);
        if (nRow > nKeep + m_nRows - 3 || nRow < nKeep - m_nRows + 3)
            nSlot = m_nRows + nSpare;
        const auto n = static_cast<std::size_t>(nSlot);
        TElement* pRow = m_rows.Data() + nSlot * m_nColumns;
        if (m_index[n] != nRow)
        {
            make(nRow, pRow);
            m_index[n] = nRow;
        }
        return pRow;
    }

private:
    static constexpr std::int64_t kSpareRows = 2;
    static constexpr std::int64_t kNone = std::numeric_limits<std::int64_t>::min();

    CGrowBuffer<TElement> m_rows;
    CGrowBuffer<std::int64_t> m_index;
    std::int64_t m_nRows = 0;
    std::int64_t m_nColumns = 0;
};

} // namespace narvo::engine
