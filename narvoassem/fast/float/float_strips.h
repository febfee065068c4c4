// SPDX-License-Identifier: MIT
// The rows of a vertical scan of the float family: of each strip first the left half from the top down, then the right.
#pragma once

#include <algorithm>
#include <cstdint>

#include "narvoassem/fast/float/float_source.h"

namespace narvo::engine
{

template <CFloatTraits kTraits>
class CFloatStrips : public CStripWalk, public CFloatSource<kTraits>
{
    using CBase = CFloatSource<kTraits>;
    using CBase::m_scratch, CBase::m_row, CBase::m_bound;

public:
    static constexpr int kChains = 2;

    CFloatStrips(const CFloatCall& call, const CFloatRule<kTraits>& rule)
        : CStripWalk(call.region, CPitch16(call.nPitch16), 2), CBase(rule), m_call(call), m_image(call.image),
          m_nImageX(call.region.nLeft)
    {
        // The strip holds the region's rows; windows that reach beyond them find 0.
        m_image.nFilledTop = call.region.nTop;
        m_image.nFilledBottom = call.region.nBottom;
        FindTableStart();
    }

    bool Enter() const { return !m_bStuck && CStripWalk::Enter(); }
    std::int64_t CountUnits(std::int64_t nMost) const
    {
        return CStripWalk::CountUnits(m_bTableEntered ? std::min(nMost, m_scratch.sums.StripsFor(m_pitch.nWhole)) : 1);
    }
    bool BeginTile(std::int64_t nStrips)
    {
        BeginRows(nStrips);
        m_bound.Begin(nStrips * kStripWidth);
        return Reserve(nStrips) && m_scratch.chains.Begin(2 * nStrips, LineCount());
    }

    bool NextRow(CMarkedRow& row)
    {
        const bool bRightHalf = row.nGroups == 1 && row.nFirst == 0;
        if (!bRightHalf && !StepRow(row.y))
            return false;
        // Until the table is entered, the two halves of a strip are compared at pitches of their own.
        const bool bApart = !m_bTableEntered && row.y < m_nTableStart;
        const CPitch16 pitch = bApart && !bRightHalf ? m_pitch : RowPitch(row.y);
        if (!bApart && ShiftFraction() == 0)
        {
            SetWeights(m_row, pitch);
            if (this->List(BoundPlace(pitch, row.y), 2 * m_nStrips, row))
                return true;
        }
        const std::int64_t nFirst = bRightHalf ? 1 : 0;
        PlaceRows(pitch, m_nImageX, row.y, m_nStrips * kStripWidth, nFirst * kGroupWidth);
        return this->Find(row, nFirst, bApart ? 1 : 2 * m_nStrips);
    }

    /// After a strip that was cut, the scan advances by 16 in the image and by less in the positions of hits, which lag
    /// behind the image from there on: a deliberate rule.
    bool Leave(const CHitsTaken& taken)
    {
        const bool bCut = IsCut(taken.bFull);
        const bool bRightHalf = taken.nGroup % 2 == 1;
        const std::int64_t nFinished = !bCut ? kStripWidth : bRightHalf ? kGroupWidth : 0;
        m_bTableEntered = m_bTableEntered || !bCut || bRightHalf || m_region.nTop + taken.nGroup / 2 >= m_nTableStart;
        // Past the end of the image's row without having advanced by a column.
        m_bStuck = nFinished == 0 && m_nImageX >= m_image.nStride;
        m_x += nFinished;
        m_nImageX += kStripWidth;
        return !m_bStuck;
    }

    /// The pitch that places the comparison of pixel (x, y).
    CPitch16 PitchAt(std::int64_t x, std::int64_t y) const
    {
        return y < m_nTableStart && x < m_region.nLeft + kGroupWidth ? m_pitch : RowPitch(y);
    }

    /// The comparison of one pixel that the scan covers. @return false without memory
    bool ComparePlace(std::int64_t x, std::int64_t y, std::int64_t /*nElement*/, CFoundHit& hit)
    {
        const std::int64_t nStrip = RowLeft(x);
        if (!Reserve(1))
            return false;
        PlaceRows(PitchAt(x, y), nStrip, y, kStripWidth, 0);
        this->CompareStored(x - nStrip, hit);
        return true;
    }

private:
    /// Whole columns and sixteenths that the reference is displaced by along x.
    std::int64_t ShiftWhole() const { return kTraits.bShifted ? m_call.nVtdPitch16 >> 4 : 0; }
    int ShiftFraction() const { return kTraits.bShifted ? static_cast<int>(m_call.nVtdPitch16 & 15) : 0; }
    bool IsShifted() const { return kTraits.bShifted && m_call.nVtdPitch16 != 0; }

    bool Reserve(std::int64_t nStrips)
    {
        const std::int64_t nColumns = nStrips * kStripWidth;
        return this->ReserveRow(nStrips) && m_scratch.sums.Begin(m_pitch.nWhole, nColumns) &&
               (!IsShifted() || m_scratch.shiftedSums.Begin(1, nColumns));
    }

    /// The first row of the window at row y: windows of three rows reach one above.
    static std::int64_t WindowTop(std::int64_t y) { return kTraits.nAlong == 3 ? y - 1 : y; }

    /// Row y, and those that the bound may list together with it.
    CSumPlace BoundPlace(const CPitch16& pitch, std::int64_t y) const
    {
        const std::int64_t nStride = m_image.nStride;
        CSumPlace place;
        place.nRowBytes = nStride;
        place.nReference = ShiftWhole() + pitch.nWhole * nStride;
        place.pSource = m_image.pPixels + WindowTop(y) * nStride + m_nImageX;
        place.nFraction = static_cast<int>(pitch.nFraction);
        // Rows that are copied do not follow one another in memory.
        const std::int64_t nLast = y + kBoundRows - 1;
        const auto isInside = [&](std::int64_t x, std::int64_t nRow)
        { return IsRowInside(m_image, x, nRow, m_nStrips * kStripWidth + kTraits.nAcross - 1); };
        const std::int64_t nEnd = WindowTop(nLast) + kTraits.nAlong - 1;
        if (nLast < m_nRowEnd && RowPitch(nLast) == pitch && isInside(m_nImageX, WindowTop(y)) &&
            isInside(m_nImageX, nEnd) && isInside(m_nImageX + ShiftWhole(), WindowTop(y) + pitch.nWhole) &&
            isInside(m_nImageX + ShiftWhole(), nEnd + pitch.nWhole + 1))
            place.nRows = kBoundRows;
        return place;
    }

    /// Points the finder's row at row y of a tile of nColumns columns from x on, after the first nSkipped of them.
    void PlaceRows(const CPitch16& pitch, std::int64_t x, std::int64_t y, std::int64_t nColumns, std::int64_t nSkipped)
    {
        const std::int64_t nFirst = WindowTop(y);
        const auto sums = [&](std::int64_t nRow, int nSpare)
        {
            return m_scratch.sums.Get(nRow, nFirst, nSpare,
                                      [&](std::int64_t nMade, std::uint16_t* pOut)
                                      { MakeSums(x, 0, nMade, nColumns, pOut); }) +
                   nSkipped;
        };
        const auto reference = [&](std::int64_t nRow, int nSpare)
        {
            if (!IsShifted())
                return sums(nRow, nSpare);
            return m_scratch.shiftedSums.Get(nRow, nRow, nSpare,
                                             [&](std::int64_t nMade, std::uint16_t* pOut)
                                             { MakeSums(x + ShiftWhole(), ShiftFraction(), nMade, nColumns, pOut); }) +
                   nSkipped;
        };
        SetWeights(m_row, pitch);
        m_row.pSrc = sums(nFirst, 0);
        m_row.pNear = reference(nFirst + pitch.nWhole, 0);
        m_row.pFar = reference(nFirst + pitch.nWhole + 1, 1);
    }

    /// Window sums from row y down.
    void MakeSums(std::int64_t x, int nFraction, std::int64_t y, std::int64_t nColumns, std::uint16_t* pOut)
    {
        const CSourceRows rows = ReadRows(m_image, x, y, kTraits.nAlong,
                                          nColumns + kTraits.nAcross - (nFraction == 0 ? 1 : 0), m_scratch.rowCopy);
        if (nFraction == 0)
            MakeSumRow(rows, kTraits.nAcross, kTraits.nAlong, nColumns, pOut);
        else
            MakeShiftedSumRow(rows, nFraction, nColumns, pOut);
    }

    bool HasTable() const { return kTraits.bShifted && m_call.pScanPitchTable != nullptr; }

    /// An entry of the row table replaces the pitch when it differs from the entry before; the first one is compared
    /// with 0. So entries of 0 at the region's top leave the call's pitch in force, until another has been read.
    void FindTableStart()
    {
        m_nTableStart = m_region.nTop;
        while (HasTable() && m_nTableStart < m_nRowEnd && m_call.pScanPitchTable[m_nTableStart >> 4] == 0)
            m_nTableStart = ((m_nTableStart >> 4) + 1) << 4;
        m_bTableEntered = m_nTableStart <= m_region.nTop;
    }

    /// The pitch that places the comparison of row y; bands and pairing keep the pitch of the call.
    CPitch16 RowPitch(std::int64_t y) const
    {
        if (!HasTable() || m_nTableStart >= m_nRowEnd)
            return m_pitch;
        return CPitch16(m_call.pScanPitchTable[y >> 4]);
    }

    const CFloatCall& m_call;
    CImageView m_image;
    std::int64_t m_nImageX;         ///< column in the image of the current strip
    std::int64_t m_nTableStart = 0; ///< first row whose table entry is not 0
    bool m_bTableEntered = true;    ///< such an entry has been read
    bool m_bStuck = false;
};

} // namespace narvo::engine
