// The horizontal scan of the float family: rows top down, each from left to right in groups of 8 columns.
#pragma once

#include <algorithm>
#include <cstdint>

#include "narvoassem/fast/derive_rows.h"
#include "narvoassem/fast/float_scan.h"
#include "narvoassem/fast/image_rows.h"
#include "narvoassem/fast/pixel_values.h"

namespace narvo
{

template <CFloatTraits kTraits>
class CFloatRows : CFloatScan<kTraits>
{
    using CBase = CFloatScan<kTraits>;
    using CBase::m_call, CBase::m_pitch, CBase::m_scratch, CBase::m_row;

public:
    using CBase::AppendGroup, CBase::kPairing, CBase::m_records;

    explicit CFloatRows(const CFloatCall& call) : CBase(call), m_nWidth(call.region.nRight - call.region.nLeft)
    {
        const std::int64_t nCompared = (RoundDownTo16(m_nWidth) - m_pitch.nWhole - 1) & ~std::int64_t{7};
        m_nCompared = nCompared;
        m_row.nGroups = std::max<std::int64_t>(nCompared, 0) / kGroupWidth;
    }

    /// @return the new pair count
    int Run()
    {
        const CRegion& region = m_call.region;
        if (region.nTop >= region.nBottom)
            return this->End(region.nBottom + 1);
        if (!Reserve())
            return this->EndWithoutMemory(region.nTop);
        const CBands bands = Bands();
        for (std::int64_t y = region.nTop; y < region.nBottom; ++y)
        {
            if (m_row.nGroups > 0)
            {
                SetRow(y);
                FindSums(kTraits.eFind, m_row);
                this->ForEachGroup(y,
                                   [&](std::int64_t nGroup, const CFoundHit* pHits, int nCount)
                                   {
                                       // The row's first group is taken whatever the capacity.
                                       if (this->IsCut() && nGroup != 0)
                                           return false;
                                       this->AppendGroup(region.nLeft + nGroup * kGroupWidth, pHits, nCount);
                                       return true;
                                   });
            }
            if (this->Pair(bands) == PairingEnd::PairsFull)
                return this->End(y + 1);
        }
        return this->End(region.nBottom + 1);
    }

    CBands Bands() const
    {
        return {.nFirstEnd = m_call.region.nLeft + m_pitch.nWhole,
                .nLastStart = m_call.region.nLeft + m_nCompared - m_pitch.nWhole,
                .nHop = m_pitch.nHop};
    }

    /// Pixel (x, y) is compared where no full hit array cuts its row.
    bool Covers(std::int64_t x, std::int64_t y) const
    {
        const CRegion& region = m_call.region;
        return region.nLeft <= x && x < region.nLeft + Columns() && region.nTop <= y && y < region.nBottom;
    }
    CPitch16 PitchAt(std::int64_t /*x*/, std::int64_t /*y*/) const { return m_pitch; }

    /// The comparison of one pixel that the scan covers. @return false without memory
    bool Compare(std::int64_t x, std::int64_t y, CSumsComparison& result)
    {
        return CompareRow(y, x, x + 1, [&](std::int64_t, const CSumsComparison& found) { result = found; });
    }

    /// Calls onPixel(x, comparison) for the pixels nFirst .. nEnd - 1 of row y. @return false without memory
    template <class TOnPixel>
    bool CompareRow(std::int64_t y, std::int64_t nFirst, std::int64_t nEnd, TOnPixel&& onPixel)
    {
        if (!Reserve())
            return false;
        SetRow(y);
        for (std::int64_t x = nFirst; x < nEnd; ++x)
            onPixel(x, CompareSums<kTraits.eFind>(m_row, x - m_call.region.nLeft));
        return true;
    }
    std::int64_t ScanEnd() const { return m_call.region.nLeft + Columns(); }

private:
    enum Line
    {
        Sums,
        Near,
        Middle,
        Far,
        Parts
    };

    std::int64_t Columns() const { return m_row.nGroups * kGroupWidth; }
    /// Columns whose sums down the lines a row forms; those beyond count as 0.
    std::int64_t FormedColumns() const { return (m_nWidth / kStripWidth + 1) * kStripWidth; }

    bool Reserve()
    {
        const std::int64_t nColumns = std::max(FormedColumns(), Columns()) + 2 * kStripWidth;
        if (!m_scratch.ReserveRow(nColumns / kStripWidth + 1))
            return false;
        for (CGrowBuffer<std::uint16_t>& line : m_scratch.lineSums)
            if (!line.Reserve(static_cast<std::size_t>(nColumns)))
                return false;
        m_row.pMask = reinterpret_cast<std::uint8_t*>(m_scratch.mask.Data());
        m_row.pSrc = m_scratch.lineSums[Sums].Data();
        return !kTraits.HasColumnTables() || SpreadColumnWeights(m_call, Columns(), m_scratch, m_row);
    }

    void SetRow(std::int64_t y)
    {
        // Windows lie with their longer side along the row.
        const std::int64_t nSums = Columns() + (kTraits.HasColumnTables() ? 0 : m_pitch.nWhole + 1);
        CSourceRows rows;
        rows.nPrefetch = m_call.image.nStride;
        for (int nLine = 0; nLine < kTraits.nAcross; ++nLine)
            rows.pRow[nLine] = ReadRow(m_call.image, m_call.region.nLeft, y + nLine, nSums + kTraits.nAlong - 1,
                                       m_scratch.rowCopy[nLine].Data());
        MakeSumRow(rows, kTraits.nAlong, kTraits.nAcross, nSums, m_scratch.lineSums[Sums].Data());
        if constexpr (kTraits.HasColumnTables())
            GatherReference(y);
        else
        {
            m_row.pNear = m_row.pSrc + m_pitch.nWhole;
            m_row.pFar = m_row.pNear + 1;
        }
    }

    /// Column tables: forms the sums down the lines and lays the weighted parts of each displaced block side by side.
    void GatherReference(std::int64_t y)
    {
        const std::int64_t nFormed = FormedColumns();
        std::uint16_t* pParts = m_scratch.lineSums[Parts].Data();
        const std::uint8_t* pUpper =
            ReadRow(m_call.image, m_call.region.nLeft, y, nFormed, m_scratch.rowCopy[0].Data());
        const std::uint8_t* pLower =
            ReadRow(m_call.image, m_call.region.nLeft, y + 1, nFormed, m_scratch.rowCopy[1].Data());
        for (std::int64_t n = 0; n < nFormed; ++n)
            pParts[n] = static_cast<std::uint16_t>(pUpper[n] + pLower[n]);
        const auto part = [&](std::int64_t n) { return n < nFormed ? pParts[n] : std::uint16_t{0}; };
        for (std::int64_t n = 0; n < Columns(); ++n)
        {
            const std::int64_t nAt = n + m_call.pConvPitchTable[ColumnBlockIndex(m_call.region.nLeft, n)];
            m_scratch.lineSums[Near][static_cast<std::size_t>(n)] = part(nAt);
            m_scratch.lineSums[Middle][static_cast<std::size_t>(n)] =
                static_cast<std::uint16_t>(part(nAt + 1) + (kTraits.nAlong == 3 ? part(nAt + 2) : 0));
            m_scratch.lineSums[Far][static_cast<std::size_t>(n)] = part(nAt + kTraits.nAlong);
        }
        m_row.pNear = m_scratch.lineSums[Near].Data();
        m_row.pMiddle = m_scratch.lineSums[Middle].Data();
        m_row.pFar = m_scratch.lineSums[Far].Data();
    }

    std::int64_t m_nWidth;
    std::int64_t m_nCompared = 0; ///< columns compared; negative where the pitch leaves none
};

} // namespace narvo
