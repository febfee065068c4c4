// The vertical scan: strips of 16 columns from left to right, each top down.
#pragma once

#include <algorithm>
#include <cstdint>

#include "narvoassem/fast/derive_rows.h"
#include "narvoassem/fast/pixel_values.h"
#include "narvoassem/fast/row_cache.h"
#include "narvoassem/fast/scan.h"

namespace narvo
{

template <class TRule>
class CStripScan : CScan<TRule>
{
    using CBase = CScan<TRule>;
    using CBase::kScan, CBase::m_call, CBase::m_rule, CBase::m_pitch, CBase::m_scratch, CBase::m_row;

public:
    using CBase::kPairing;

    CStripScan(const CKernelCall& call, TRule& rule)
        : CBase(call, rule), m_nStripEnd(call.region.nLeft + RoundDownTo16(call.region.nRight - call.region.nLeft)),
          m_nRowEnd(call.region.nBottom - kScan.nFreeRows - m_pitch.nWhole)
    {
    }

    /// @return the new pair count
    int Run()
    {
        const CRegion& region = m_call.region;
        const CBands bands = Bands();
        std::int64_t x = region.nLeft;
        if (x < m_nStripEnd)
            m_rule.BeginScan(m_nStripEnd);
        std::int64_t nMostStrips = TileStrips();
        std::int64_t nTileStrips = nMostStrips;
        while (x < m_nStripEnd)
        {
            nTileStrips = std::min(nTileStrips, nMostStrips);
            const std::int64_t nStrips = std::min((m_nStripEnd - x + kStripWidth - 1) / kStripWidth, nTileStrips);
            if (!FindTile(x, nStrips))
            {
                // Too many hits to hold, or no memory: look at fewer strips at once.
                if (nStrips == 1)
                    return this->EndWithoutMemory(x);
                nMostStrips = nStrips / 2;
                continue;
            }
            bool bInTile = true;
            std::int64_t nStrip = 0;
            for (; nStrip < nStrips && bInTile; ++nStrip)
            {
                m_rule.EnterStrip(x);
                AppendStrip(x, nStrip);
                const std::int64_t nAdvance = StripAdvance();
                if (this->Pair(bands) == PairingEnd::PairsFull)
                    return this->End(x + kStripWidth);
                x += nAdvance;
                bInTile = nAdvance == kStripWidth;
            }
            // A cut moves the strips behind it, and what was found there is lost: where one strip is cut, look at
            // fewer.
            nTileStrips = bInTile ? 2 * nTileStrips : nStrip;
        }
        // Strips that stay where they are end with the region, even where it has none.
        return this->End((kScan.eCut == StripCut::Stays ? m_nStripEnd : x) + kStripWidth);
    }

    CBands Bands() const
    {
        return {.nFirstEnd = m_call.region.nTop + m_pitch.nWhole,
                .nLastStart = m_call.region.nBottom - kScan.nFreeRows - 2 * m_pitch.nWhole,
                .nHop = m_pitch.nHop};
    }

    /// Pixel (x, y) is compared where no full hit array cuts its strip.
    bool Covers(std::int64_t x, std::int64_t y) const
    {
        return m_call.region.nLeft <= x && x < m_nStripEnd && m_call.region.nTop <= y && y < m_nRowEnd;
    }
    std::int64_t ScanEnd() const { return m_nStripEnd; }

    /// The pitch that places the comparison of row y. A row table is entered at the region's top and read on every 16
    /// rows counted from there; bands and pairing keep the pitch of the call.
    CPitch16 PitchAt(std::int64_t y) const
    {
        if (!kScan.bRowTable || m_call.pScanPitchTable == nullptr)
            return m_pitch;
        return CPitch16(m_call.pScanPitchTable[(m_call.region.nTop >> 4) + (y - m_call.region.nTop) / 16]);
    }

private:
    /// Strips of a tile at the most. Long rows suit the prefetcher; derived rows should stay near the processor.
    std::int64_t TileStrips() const
    {
        if (!kScan.bMeans)
            return 4096;
        return std::max<std::int64_t>(CRowCache<std::uint8_t>::ColumnsFor(m_pitch.nWhole) / kStripWidth, 32);
    }

    /// Finds the hits of nStrips strips from column x on. @return false when they cannot be held
    bool FindTile(std::int64_t x, std::int64_t nStrips)
    {
        const std::int64_t nTop = m_call.region.nTop;
        if (!this->ReserveRow(nStrips) || !m_scratch.chains.Begin(nStrips, m_nRowEnd - nTop))
            return false;
        if (kScan.bMeans && !m_scratch.means.Begin(m_pitch.nWhole, nStrips * kStripWidth))
            return false;
        m_rule.BeginTile(x, nStrips);
        std::int64_t nNextStep = nTop;
        for (std::int64_t y = nTop; y < m_nRowEnd; ++y)
        {
            if (y >= nNextStep)
                nNextStep = this->StepRuns(x, y, nStrips);
            const CPitch16 pitch = PitchAt(y);
            SetRow(pitch, x, y, nStrips);
            FindRow(kScan.eFind, m_row);
            if (!this->ForEachHit(x, y, pitch, nStrips,
                                  [&](std::int64_t nStrip, const CFoundHit& hit)
                                  { return m_scratch.chains.Append(nStrip, hit); }))
                return false;
        }
        return true;
    }

    void SetRow(const CPitch16& pitch, std::int64_t x, std::int64_t y, std::int64_t nStrips)
    {
        m_row.nMapRow = m_rule.MapRow(y);
        this->SetWeights(pitch);
        const std::int64_t nColumns = nStrips * kStripWidth + (kScan.ReadsOneMore() ? 1 : 0);
        if constexpr (kScan.bMeans)
        {
            const auto read = [&](std::int64_t nRow, int nSpare)
            {
                return m_scratch.means.Get(nRow, y, nSpare,
                                           [&](std::int64_t nMade, std::uint8_t* pOut)
                                           { MakeMeans(x, nMade, nColumns, pOut); });
            };
            m_row.pSrc = read(y, 0);
            m_row.pNear = read(y + pitch.nWhole, 0);
            m_row.pFar = read(y + pitch.nWhole + 1, 1);
        }
        else
        {
            const auto read = [&](std::int64_t nColumn, std::int64_t nRow, int nCopy)
            { return ReadRow(m_call.image, nColumn, nRow, nColumns, m_scratch.rowCopy[nCopy].Data()); };
            const std::int64_t nReference = x + ReferenceShift<kScan>(m_call);
            m_row.pSrc = read(x, y, 0);
            m_row.pNear = read(nReference, y + pitch.nWhole, 1);
            m_row.pFar = read(nReference, y + pitch.nWhole + 1, 2);
        }
    }

    /// Means of the blocks at row y and the row below.
    void MakeMeans(std::int64_t x, std::int64_t y, std::int64_t nColumns, std::uint8_t* pOut)
    {
        CSourceRows rows;
        rows.nPrefetch = m_call.image.nStride;
        for (int nLine = 0; nLine < 2; ++nLine)
            rows.pRow[nLine] = ReadRow(m_call.image, x, y + nLine, nColumns + 1, m_scratch.rowCopy[nLine].Data());
        MakeMeanRow(rows, nColumns, pOut);
    }

    /// Fills the hit arrays from the chain of one strip, up to their capacity.
    void AppendStrip(std::int64_t x, std::int64_t nStrip)
    {
        for (CHitChains::CCursor hit = m_scratch.chains.Hits(nStrip); hit; ++hit)
            if (!this->AppendHit(x, *hit, 2 * (hit->Row() - m_call.region.nTop) + hit->Column() / kGroupWidth))
                return;
    }

    /// Columns from this strip to the next.
    std::int64_t StripAdvance() const
    {
        if (kScan.eCut == StripCut::Stays || !this->IsCut() || m_nRowEnd <= m_call.region.nTop)
            return kStripWidth;
        return kStripWidth + kGroupWidth * (1 + this->CutGroup() % 2);
    }

    std::int64_t m_nStripEnd;
    std::int64_t m_nRowEnd;
};

} // namespace narvo
