// The vertical scan of the float family: strips of 16 columns from left to right, each its left half top down, then its
// right half.
#pragma once

#include <algorithm>
#include <cstdint>

#include "narvoassem/fast/derive_rows.h"
#include "narvoassem/fast/float_scan.h"
#include "narvoassem/fast/image_rows.h"
#include "narvoassem/fast/row_cache.h"

namespace narvo
{

template <CFloatTraits kTraits>
class CFloatStrips : CFloatScan<kTraits>
{
    using CBase = CFloatScan<kTraits>;
    using CBase::m_call, CBase::m_pitch, CBase::m_scratch, CBase::m_row;
    using CSumCache = CRowCache<std::uint16_t>;

public:
    using CBase::AppendGroup, CBase::kPairing, CBase::m_records;

    explicit CFloatStrips(const CFloatCall& call)
        : CBase(call), m_image(call.image),
          m_nStripEnd(call.region.nLeft + RoundDownTo16(call.region.nRight - call.region.nLeft)),
          m_nRowEnd(call.region.nBottom - m_pitch.nWhole - 2)
    {
        // The strip holds the region's rows; windows that reach beyond them find 0.
        m_image.nFilledTop = call.region.nTop;
        m_image.nFilledBottom = call.region.nBottom;
        FindTableStart();
    }

    /// @return the new pair count
    int Run()
    {
        const CRegion& region = m_call.region;
        const CBands bands = Bands();
        // A strip that is cut moves on by 16 in the image and by less in the positions of its hits, which lag behind
        // the image from there on: a deliberate rule.
        std::int64_t x = region.nLeft;
        std::int64_t nImageX = region.nLeft;
        std::int64_t nTileStrips = std::max<std::int64_t>(CSumCache::ColumnsFor(m_pitch.nWhole) / kStripWidth, 32);
        while (x < m_nStripEnd)
        {
            const std::int64_t nMost = m_bTableEntered ? nTileStrips : 1;
            const std::int64_t nStrips = std::min((m_nStripEnd - x + kStripWidth - 1) / kStripWidth, nMost);
            if (!FindTile(nImageX, nStrips))
            {
                // Too many hits to hold, or no memory: look at fewer strips at once.
                if (nStrips == 1)
                    return this->EndWithoutMemory(x);
                nTileStrips = nStrips / 2;
                continue;
            }
            for (std::int64_t nStrip = 0; nStrip < nStrips && x < m_nStripEnd; ++nStrip, nImageX += kStripWidth)
            {
                const std::int64_t nStripX = x;
                x += AppendStrip(x, nStrip);
                if (this->Pair(bands) == PairingEnd::PairsFull)
                    return this->End(nStripX + kStripWidth);
                if (x == nStripX && nImageX >= m_image.nStride)
                    return this->End(x + kStripWidth); // past the image's row, and still no column gained
            }
        }
        return this->End(x + kStripWidth);
    }

    CBands Bands() const
    {
        return {.nFirstEnd = m_call.region.nTop + m_pitch.nWhole,
                .nLastStart = m_call.region.nBottom - 2 * m_pitch.nWhole - 2,
                .nHop = m_pitch.nHop};
    }

    /// Pixel (x, y) is compared where no full hit array cuts its strip.
    bool Covers(std::int64_t x, std::int64_t y) const
    {
        return m_call.region.nLeft <= x && x < m_nStripEnd && m_call.region.nTop <= y && y < m_nRowEnd;
    }

    /// The pitch that places the comparison of pixel (x, y).
    CPitch16 PitchAt(std::int64_t x, std::int64_t y) const
    {
        const bool bBeforeTable = y < m_nTableStart && x < m_call.region.nLeft + kGroupWidth;
        return bBeforeTable ? m_pitch : PitchAt(y);
    }

    /// The comparison of one pixel that the scan covers. @return false without memory
    bool Compare(std::int64_t x, std::int64_t y, CSumsComparison& result)
    {
        const std::int64_t nStrip = m_call.region.nLeft + RoundDownTo16(x - m_call.region.nLeft);
        if (!m_scratch.ReserveRow(1) || !m_scratch.sums.Begin(m_pitch.nWhole, kStripWidth) ||
            (IsShifted() && !m_scratch.shiftedSums.Begin(1, kStripWidth)))
            return false;
        SetRow(PitchAt(x, y), nStrip, y, kStripWidth);
        result = CompareSums<kTraits.eFind>(m_row, x - nStrip);
        return true;
    }

private:
    /// Whole columns and sixteenths that the reference is displaced by along x.
    std::int64_t ShiftWhole() const { return kTraits.bShifted ? m_call.nVtdPitch16 >> 4 : 0; }
    int ShiftFraction() const { return kTraits.bShifted ? static_cast<int>(m_call.nVtdPitch16 & 15) : 0; }
    bool IsShifted() const { return kTraits.bShifted && m_call.nVtdPitch16 != 0; }

    /// Finds the hits of nStrips strips from image column x on. @return false when they cannot be held
    bool FindTile(std::int64_t x, std::int64_t nStrips)
    {
        const std::int64_t nColumns = nStrips * kStripWidth;
        if (!m_scratch.ReserveRow(nStrips) || !m_scratch.chains.Begin(2 * nStrips, m_nRowEnd - m_call.region.nTop) ||
            !m_scratch.sums.Begin(m_pitch.nWhole, nColumns) ||
            (IsShifted() && !m_scratch.shiftedSums.Begin(1, nColumns)))
            return false;
        m_row.pMask = reinterpret_cast<std::uint8_t*>(m_scratch.mask.Data());
        m_row.nGroups = 2 * nStrips;
        for (std::int64_t y = m_call.region.nTop; y < m_nRowEnd; ++y)
        {
            const CPitch16 pitch = PitchAt(y);
            if (m_bTableEntered || y >= m_nTableStart)
            {
                if (!FindLine(pitch, x, y, nColumns, 0, m_row.nGroups))
                    return false;
            }
            else if (!FindLine(m_pitch, x, y, nColumns, 0, 1) || !FindLine(pitch, x, y, nColumns, 1, 2))
                return false;
        }
        return true;
    }

    /// Finds the hits of row y and hands those of the groups nFirst .. nEnd - 1 to their chains.
    bool FindLine(const CPitch16& pitch, std::int64_t x, std::int64_t y, std::int64_t nColumns, std::int64_t nFirst,
                  std::int64_t nEnd)
    {
        SetRow(pitch, x, y, nColumns);
        FindSums(kTraits.eFind, m_row);
        return this->ForEachGroup(y,
                                  [&](std::int64_t nGroup, const CFoundHit* pHits, int nCount)
                                  {
                                      for (int n = 0; n < nCount && nFirst <= nGroup && nGroup < nEnd; ++n)
                                          if (!m_scratch.chains.Append(nGroup, pHits[n]))
                                              return false;
                                      return true;
                                  });
    }

    void SetRow(const CPitch16& pitch, std::int64_t x, std::int64_t y, std::int64_t nColumns)
    {
        // Windows of three rows reach one above.
        const std::int64_t nFirst = kTraits.nAlong == 3 ? y - 1 : y;
        const auto sums = [&](std::int64_t nRow, int nSpare)
        {
            return m_scratch.sums.Get(nRow, nFirst, nSpare,
                                      [&](std::int64_t nMade, std::uint16_t* pOut)
                                      { MakeSums(x, 0, nMade, nColumns, pOut); });
        };
        const auto reference = [&](std::int64_t nRow, int nSpare)
        {
            if (!IsShifted())
                return sums(nRow, nSpare);
            return m_scratch.shiftedSums.Get(nRow, nRow, nSpare,
                                             [&](std::int64_t nMade, std::uint16_t* pOut)
                                             { MakeSums(x + ShiftWhole(), ShiftFraction(), nMade, nColumns, pOut); });
        };
        this->SetWeights(pitch);
        m_row.pSrc = sums(nFirst, 0);
        m_row.pNear = reference(nFirst + pitch.nWhole, 0);
        m_row.pFar = reference(nFirst + pitch.nWhole + 1, 1);
    }

    /// Window sums from row y down.
    void MakeSums(std::int64_t x, int nFraction, std::int64_t y, std::int64_t nColumns, std::uint16_t* pOut)
    {
        const std::int64_t nPixels = nColumns + kTraits.nAcross - (nFraction == 0 ? 1 : 0);
        CSourceRows rows;
        rows.nPrefetch = m_image.nStride;
        for (int nLine = 0; nLine < kTraits.nAlong; ++nLine)
            rows.pRow[nLine] = ReadRow(m_image, x, y + nLine, nPixels, m_scratch.rowCopy[nLine].Data());
        if (nFraction == 0)
            MakeSumRow(rows, kTraits.nAcross, kTraits.nAlong, nColumns, pOut);
        else
            MakeShiftedSumRow(rows, nFraction, nColumns, pOut);
    }

    bool HasTable() const { return kTraits.bShifted && m_call.pScanPitchTable != nullptr; }

    /// An entry of the row table replaces the pitch when it differs from the entry before, and the first one is held
    /// against 0. So entries of 0 at the region's top leave the call's pitch in force, until another has been read.
    void FindTableStart()
    {
        m_nTableStart = m_call.region.nTop;
        while (HasTable() && m_nTableStart < m_nRowEnd && m_call.pScanPitchTable[m_nTableStart >> 4] == 0)
            m_nTableStart = ((m_nTableStart >> 4) + 1) << 4;
        m_bTableEntered = m_nTableStart <= m_call.region.nTop;
    }

    /// The pitch that places the comparison of row y; bands and pairing keep the pitch of the call.
    CPitch16 PitchAt(std::int64_t y) const
    {
        if (!HasTable() || m_nTableStart >= m_nRowEnd)
            return m_pitch;
        return CPitch16(m_call.pScanPitchTable[y >> 4]);
    }

    /// Fills the hit arrays from the chains of one strip, up to their capacity.
    /// @return columns finished: 16, or 0 or 8 when the left or the right half filled the arrays
    std::int64_t AppendStrip(std::int64_t x, std::int64_t nStrip)
    {
        std::int64_t nLastHalf = 0;
        std::int64_t nLastRow = m_call.region.nTop;
        bool bFull = false;
        for (std::int64_t nHalf = 0; nHalf < 2 && !bFull; ++nHalf)
        {
            CHitChains::CCursor hit = m_scratch.chains.Hits(2 * nStrip + nHalf);
            while (hit)
            {
                const std::int64_t nRow = hit->Row();
                // The strip's first group is taken whatever the capacity.
                bFull = this->IsCut() && !(nHalf == 0 && nRow == m_call.region.nTop);
                if (bFull)
                    break;
                CFoundHit group[kGroupWidth];
                int nCount = 0;
                for (; hit && hit->Row() == nRow; ++hit)
                    group[nCount++] = *hit;
                this->AppendGroup(x + nHalf * kGroupWidth, group, nCount);
                nLastHalf = nHalf;
                nLastRow = nRow;
            }
        }
        const bool bCut = this->IsCut() && m_nRowEnd > m_call.region.nTop;
        m_bTableEntered = m_bTableEntered || !bCut || nLastHalf == 1 || nLastRow >= m_nTableStart;
        return bCut ? nLastHalf * kGroupWidth : kStripWidth;
    }

    CImageView m_image;
    std::int64_t m_nStripEnd;
    std::int64_t m_nRowEnd;
    std::int64_t m_nTableStart = 0; ///< first row whose table entry is not 0
    bool m_bTableEntered = true;    ///< such an entry has been read
};

} // namespace narvo
