// The horizontal scan: rows top down, each from left to right in blocks of 16 columns.
#pragma once

#include <algorithm>
#include <cstdint>

#include "narvoassem/fast/pixel_values.h"
#include "narvoassem/fast/scan.h"

namespace narvo
{

template <class TRule>
class CRowScan : CScan<TRule>
{
    using CBase = CScan<TRule>;
    using CBase::kScan, CBase::m_call, CBase::m_rule, CBase::m_pitch, CBase::m_scratch, CBase::m_row;
    static constexpr bool kColumnTables =
        kScan.eFind == FindVariant::ColumnMap || kScan.eFind == FindVariant::ColumnScalar;

public:
    using CBase::kPairing;

    CRowScan(const CKernelCall& call, TRule& rule)
        : CBase(call, rule),
          m_nScanEnd(call.region.nLeft + RoundDownTo16(call.region.nRight - call.region.nLeft - m_pitch.nWhole)),
          m_nStrips(std::max<std::int64_t>(m_nScanEnd - call.region.nLeft, 0) / kStripWidth)
    {
    }

    /// @return the new pair count
    int Run()
    {
        const CRegion& region = m_call.region;
        if (region.nTop >= region.nBottom)
            return this->End(region.nBottom + 1);
        if (!this->ReserveRow(m_nStrips) ||
            (kColumnTables &&
             (!ReadDisplacements() || !SpreadColumnWeights(m_call, m_nStrips * kStripWidth, m_scratch, m_row))))
            return this->EndWithoutMemory(region.nTop);
        const CBands bands = Bands();
        m_rule.BeginScan(m_nScanEnd);
        std::int64_t nNextStep = region.nTop;
        for (std::int64_t y = region.nTop; y < region.nBottom; ++y)
        {
            if (y >= nNextStep)
                nNextStep = this->StepRuns(region.nLeft, y, m_nStrips);
            SetRow(y);
            FindRow(kScan.eFind, m_row);
            this->ForEachHit(region.nLeft, y, m_pitch, m_nStrips,
                             [&](std::int64_t nStrip, const CFoundHit& hit) {
                                 return this->AppendHit(region.nLeft + nStrip * kStripWidth, hit,
                                                        2 * nStrip + hit.Column() / kGroupWidth);
                             });
            if (this->Pair(bands) == PairingEnd::PairsFull)
                return this->End(y + 1);
        }
        return this->End(region.nBottom + 1);
    }

    CBands Bands() const
    {
        return {.nFirstEnd = m_call.region.nLeft + m_pitch.nWhole,
                .nLastStart = m_nScanEnd - m_pitch.nWhole,
                .nHop = m_pitch.nHop};
    }

    /// Pixel (x, y) is compared where no full hit array cuts its row.
    bool Covers(std::int64_t x, std::int64_t y) const
    {
        return m_call.region.nLeft <= x && x < m_nScanEnd && m_call.region.nTop <= y && y < m_call.region.nBottom;
    }
    std::int64_t ScanEnd() const { return m_nScanEnd; }
    CPitch16 PitchAt(std::int64_t /*y*/) const { return m_pitch; }

private:
    void SetRow(std::int64_t y)
    {
        const CImageView& image = m_call.image;
        const std::int64_t nLeft = m_call.region.nLeft;
        const std::int64_t nColumns = m_nStrips * kStripWidth;
        m_row.nMapRow = m_rule.MapRow(y);
        m_row.pSrc = ReadRow(image, nLeft, y, nColumns, m_scratch.rowCopy[0].Data());
        if constexpr (kColumnTables)
        {
            m_row.pNear = ReadRow(image, nLeft + m_nReferenceFirst, y, m_nReferenceBytes, m_scratch.rowCopy[1].Data()) -
                          m_nReferenceFirst;
            m_row.pFar = m_row.pNear + 1;
        }
        else
        {
            m_row.pNear = ReadRow(image, nLeft + m_pitch.nWhole, y, nColumns, m_scratch.rowCopy[1].Data());
            // Without a fraction the far sample has no weight and need not exist.
            m_row.pFar = m_pitch.nFraction == 0
                             ? m_row.pNear
                             : ReadRow(image, nLeft + m_pitch.nWhole + 1, y, nColumns, m_scratch.rowCopy[2].Data());
        }
    }

    /// Reads the displacement of every block once. @return false without memory
    bool ReadDisplacements()
    {
        if (!m_scratch.displacement.Reserve(static_cast<std::size_t>(m_nStrips)))
            return false;
        std::int64_t* const pDisplacements = m_scratch.displacement.Data();
        std::int64_t nEnd = 0;
        for (std::int64_t nStrip = 0; nStrip < m_nStrips; ++nStrip)
        {
            pDisplacements[nStrip] = m_rule.BlockDisplacement(m_call.region.nLeft + nStrip * kStripWidth);
            const std::int64_t nPlace = nStrip * kStripWidth + pDisplacements[nStrip];
            m_nReferenceFirst = nStrip == 0 ? nPlace : std::min(m_nReferenceFirst, nPlace);
            nEnd = nStrip == 0 ? nPlace : std::max(nEnd, nPlace);
        }
        m_nReferenceBytes = m_nStrips == 0 ? 0 : nEnd + kStripWidth + 1 - m_nReferenceFirst;
        this->m_runs.Displace(pDisplacements);
        return m_scratch.rowCopy[1].Reserve(static_cast<std::size_t>(m_nReferenceBytes));
    }

    std::int64_t m_nScanEnd;
    std::int64_t m_nStrips;
    std::int64_t m_nReferenceFirst = 0; ///< column tables: first place that a block reads, from the region's left
    std::int64_t m_nReferenceBytes = 0; ///< and how far the places reach
};

} // namespace narvo
