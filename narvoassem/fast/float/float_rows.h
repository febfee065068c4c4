// SPDX-License-Identifier: MIT
// The rows of a horizontal scan of the float family, in groups of 8 columns.
#pragma once

#include <algorithm>
#include <cstdint>

#include "narvoassem/fast/float/float_source.h"
#include "narvoassem/fast/source/column_tables.h"

namespace narvo::engine
{

template <CFloatTraits kTraits>
class CFloatRows : public CRowWalk, public CFloatSource<kTraits>
{
    using CBase = CFloatSource<kTraits>;
    using CBase::m_scratch, CBase::m_row, CBase::m_bound;

public:
    CFloatRows(const CFloatCall& call, const CFloatRule<kTraits>& rule)
        : CRowWalk(call.region, CPitch16(call.nPitch16), ComparedColumns(call)), CBase(rule), m_call(call)
    {
        SetWeights(m_row, m_pitch);
    }

    bool BeginTile(std::int64_t nRows)
    {
        BeginRows(nRows);
        if (m_bReady || m_nColumns <= 0)
            return true;
        m_bound.Begin(m_nColumns);
        m_bReady = Reserve();
        return m_bReady;
    }

    bool NextRow(CMarkedRow& row)
    {
        if (!StepRow(row.y))
            return false;
        if (!kTraits.HasColumnTables() && this->List(BoundPlace(row.y), m_nColumns / kGroupWidth, row))
            return true;
        PlaceRows(row.y);
        return this->Find(row, 0, m_nColumns / kGroupWidth);
    }

    /// The comparison of one pixel that the scan covers. @return false without memory
    bool ComparePlace(std::int64_t x, std::int64_t y, std::int64_t /*nElement*/, CFoundHit& hit)
    {
        if (!Reserve())
            return false;
        PlaceRows(y);
        this->CompareStored(x - m_x, hit);
        return true;
    }

private:
    enum Line
    {
        Sums,
        Near,
        Middle,
        Far,
        Parts
    };

    static std::int64_t ComparedColumns(const CFloatCall& call)
    {
        const std::int64_t nWidth = RoundDownTo16(call.region.nRight - call.region.nLeft);
        return (nWidth - CPitch16(call.nPitch16).nWhole - 1) & ~std::int64_t{7};
    }
    /// Columns whose sums down the lines a row forms; those beyond count as 0.
    std::int64_t FormedColumns() const { return ((m_region.nRight - m_x) / kStripWidth + 1) * kStripWidth; }

    bool Reserve()
    {
        const std::int64_t nColumns = std::max(FormedColumns(), m_nColumns) + 2 * kStripWidth;
        if (!this->ReserveRow(nColumns / kStripWidth + 1))
            return false;
        for (CGrowBuffer<std::uint16_t>& line : m_scratch.lineSums)
            if (!line.Reserve(static_cast<std::size_t>(nColumns)))
                return false;
        return !kTraits.HasColumnTables() || SpreadColumnWeights(m_call, m_nColumns, m_scratch, m_row);
    }

    /// Row y, and those that the bound may list together with it.
    CSumPlace BoundPlace(std::int64_t y) const
    {
        CSumPlace place;
        place.nRowBytes = m_call.image.nStride;
        place.nReference = m_pitch.nWhole;
        place.pSource = m_call.image.pPixels + y * place.nRowBytes + m_x;
        place.nFraction = static_cast<int>(m_pitch.nFraction);
        const std::int64_t nLast = y + kBoundRows - 1;
        // Rows that are copied do not follow one another in memory.
        const std::int64_t nPixels = m_nColumns + m_pitch.nWhole + kTraits.nAlong;
        if (m_pitch.nWhole >= 0 && nLast < m_region.nBottom && IsRowInside(m_call.image, m_x, y, nPixels) &&
            IsRowInside(m_call.image, m_x, nLast + kTraits.nAcross - 1, nPixels))
            place.nRows = kBoundRows;
        return place;
    }

    void PlaceRows(std::int64_t y)
    {
        // The longer side of a window is along the row.
        const std::int64_t nSums = m_nColumns + (kTraits.HasColumnTables() ? 0 : m_pitch.nWhole + 1);
        MakeSumRow(ReadRows(m_call.image, m_x, y, kTraits.nAcross, nSums + kTraits.nAlong - 1, m_scratch.rowCopy),
                   kTraits.nAlong, kTraits.nAcross, nSums, m_scratch.lineSums[Sums].Data());
        m_row.pSrc = m_scratch.lineSums[Sums].Data();
        if constexpr (kTraits.HasColumnTables())
            GatherReference(y);
        else
        {
            m_row.pNear = m_row.pSrc + m_pitch.nWhole;
            m_row.pFar = m_row.pNear + 1;
        }
    }

    /// Column tables: forms the sums down the lines and places the weighted parts of each displaced block side by side.
    void GatherReference(std::int64_t y)
    {
        const std::int64_t nFormed = FormedColumns();
        std::uint16_t* const pParts = m_scratch.lineSums[Parts].Data();
        const CSourceRows rows = ReadRows(m_call.image, m_x, y, 2, nFormed, m_scratch.rowCopy);
        for (std::int64_t n = 0; n < nFormed; ++n)
            pParts[n] = static_cast<std::uint16_t>(rows.pRow[0][n] + rows.pRow[1][n]);
        const auto part = [&](std::int64_t n) { return n < nFormed ? pParts[n] : std::uint16_t{0}; };
        for (std::int64_t n = 0; n < m_nColumns; ++n)
        {
            const std::int64_t nAt = n + m_call.pConvPitchTable[ColumnBlockIndex(m_x, n)];
            const auto nColumn = static_cast<std::size_t>(n);
            m_scratch.lineSums[Near][nColumn] = part(nAt);
            m_scratch.lineSums[Middle][nColumn] =
                static_cast<std::uint16_t>(part(nAt + 1) + (kTraits.nAlong == 3 ? part(nAt + 2) : 0));
            m_scratch.lineSums[Far][nColumn] = part(nAt + kTraits.nAlong);
        }
        m_row.pNear = m_scratch.lineSums[Near].Data();
        m_row.pMiddle = m_scratch.lineSums[Middle].Data();
        m_row.pFar = m_scratch.lineSums[Far].Data();
    }

    const CFloatCall& m_call;
    bool m_bReady = false;
};

} // namespace narvo::engine
