// SPDX-License-Identifier: MIT
// The rows of a scan over single pixels, or over means of 2 by 2 blocks.
#pragma once

#include <algorithm>
#include <cstdint>
#include <type_traits>

#include "narvoassem/base/image_read.h"
#include "narvoassem/fast/bound/pixel_bound.h"
#include "narvoassem/fast/find/compare_pixel.h"
#include "narvoassem/fast/find/derive_rows.h"
#include "narvoassem/fast/find/row_cache.h"
#include "narvoassem/fast/scan/scan_traits.h"
#include "narvoassem/fast/scan/scan_walk.h"
#include "narvoassem/fast/source/column_tables.h"
#include "narvoassem/fast/source/run_list.h"

namespace narvo::engine
{

/// Further requirements on a rule: thresholds, and the walk over the maps that they come from.
// clang-format off
template <class T>
concept PixelRule = HitRule<T> && requires(T rule, const T& state, CFindRow& row, CRunList& runs, CFoundHit& hit,
                                           std::int64_t n, std::int64_t x, std::int64_t y)
{
    { T::kScan } -> std::convertible_to<CScanTraits>;
    state.SetUpRow(row);                                            ///< fills what stays the same for all rows
    { state.MapRow(y) } -> std::same_as<std::int64_t>;              ///< distance of row y from row 0 in map elements
    { state.BlockDisplacement(x) } -> std::same_as<std::int64_t>;   ///< column tables: of the block of column x
    { state.Inspects(x, y) } -> std::same_as<bool>;                 ///< false drops what is marked there
    state.ReadMaps(n, hit);                                         ///< adds what the maps hold at element n
    rule.BeginScan(n);                                              ///< n: the end of strips or rows
    rule.BeginTile(x, n);                                           ///< n strips from column x on
    rule.LeaveStrip(x);                                             ///< strips are left one after another
    { rule.StepRuns(runs, x, y, n) } -> std::same_as<std::int64_t>; ///< lists runs from row y on; next row to do so
};
// clang-format on

template <PixelRule TRule>
class CPixelSource : public std::conditional_t<TRule::kScan.bHorizontal, CRowWalk, CStripWalk>
{
    static constexpr CScanTraits kScan = TRule::kScan;
    using CWalk = std::conditional_t<kScan.bHorizontal, CRowWalk, CStripWalk>;
    using CBound = CPixelBound<GetFindTraits(kScan.eFind), kScan.Shape()>;
    using CWalk::m_region, CWalk::m_pitch, CWalk::m_x, CWalk::m_nStrips;

public:
    static constexpr int kChains = kScan.bHorizontal ? 0 : 1;
    static constexpr bool kListed = CBound::kBounded;

    CPixelSource(const CKernelCall& call, TRule& rule)
        : CWalk(call.region, CPitch16(call.nPitch16), Extent(call)), m_call(call), m_rule(rule),
          m_scratch(GetScanScratch()), m_runs(m_scratch), m_bound(m_scratch.bound, CBound()),
          m_nNextStep(call.region.nTop)
    {
        m_row.nPrefetch = call.image.nStride;
        m_row.nWeightRight = static_cast<std::uint16_t>(call.nVtdPitch16 & 15);
        m_row.nWeightLeft = static_cast<std::uint16_t>(16 - m_row.nWeightRight);
        m_row.nGrayLimit = static_cast<std::uint16_t>(call.nGrayLimit);
        rule.SetUpRow(m_row);
        if (this->Enter())
            rule.BeginScan(ScanEnd());
    }

    /// Long rows suit the prefetcher; derived rows should stay in the cache.
    std::int64_t CountUnits(std::int64_t nMost) const
    {
        return CWalk::CountUnits(std::min(nMost, kScan.bMeans ? m_scratch.means.StripsFor(m_pitch.nWhole) : 4096));
    }

    bool BeginTile(std::int64_t nUnits)
    {
        this->BeginRows(nUnits);
        if constexpr (kScan.bHorizontal)
        {
            if (m_bReady)
                return true;
            m_bound.Begin(m_nStrips * kStripWidth);
            return Reserve(m_nStrips);
        }
        else
        {
            if (!Reserve(nUnits) || !m_scratch.chains.Begin(nUnits, this->LineCount()))
                return false;
            m_rule.BeginTile(m_x, nUnits);
            m_bound.Begin(nUnits * kStripWidth);
            m_nNextStep = m_region.nTop;
            return true;
        }
    }

    bool NextRow(CMarkedRow& row)
    {
        if (!this->StepRow(row.y))
            return false;
        if (row.y >= m_nNextStep)
        {
            std::fill_n(m_row.pMask, m_nStrips + kSpareMasks, std::uint16_t{0});
            m_runs.Clear();
            m_nNextStep = m_rule.StepRuns(m_runs, m_x, row.y, m_nStrips);
            m_runs.PutInto(m_row, m_nStrips);
            m_bound.DropLimits();
        }
        m_row.nMapRow = m_rule.MapRow(row.y);
        const CPitch16 pitch = PitchAt(m_x, row.y);
        // Means are formed for the finder only.
        if constexpr (kScan.bMeans)
            PointAtMeans(pitch, row.y);
        else
            PlaceRows(pitch, m_x, row.y, m_nStrips * kStripWidth);
        m_bCandidates = m_bound.List([&] { return BoundPlace(pitch, row.y); }, row);
        if (!m_bCandidates)
        {
            if constexpr (kScan.bMeans)
                PlaceRows(pitch, m_x, row.y, m_nStrips * kStripWidth);
            FindRow(kScan.eFind, m_row);
            row.nGroups = 2 * m_nStrips;
            row.pMask = reinterpret_cast<const std::uint8_t*>(m_row.pMask);
        }
        m_y = row.y;
        return true;
    }

    bool Compare(std::int64_t nColumn, CFoundHit& hit)
    {
        const CStripRun* const pRun = m_runs.Find(nColumn / kStripWidth);
        // Candidates may lie outside the runs.
        if (pRun == nullptr || !m_rule.Inspects(m_x + nColumn, m_y))
            return false;
        const std::int64_t nElement = m_row.nMapRow + pRun->nMapBase + nColumn - pRun->nFirstStrip * kStripWidth;
        if (kScan.bMeans && m_bCandidates)
        {
            m_aMeans[0] = MeanAt(m_means.pSource + nColumn);
            m_aMeans[1] = MeanAt(m_means.pNear + nColumn);
            m_aMeans[2] = MeanAt(m_means.pNear + nColumn + m_means.nRowBytes);
            return CompareAt(0, nElement, 0, hit);
        }
        return CompareAt(nColumn, nElement, pRun->nDisplacement, hit) || !m_bCandidates;
    }

    bool Leave(const CHitsTaken& taken)
    {
        if constexpr (kScan.bHorizontal)
            return CWalk::Leave(taken);
        else
        {
            m_rule.LeaveStrip(m_x);
            const bool bOverrun = kScan.eCut == StripCut::Overruns && this->IsCut(taken.bFull);
            m_x += kStripWidth + (bOverrun ? kGroupWidth * (1 + taken.nGroup % 2) : 0);
            return !bOverrun;
        }
    }

    /// Strips that do not overrun end with the region, even if it has none.
    std::int64_t EndPosition() const
    {
        if constexpr (!kScan.bHorizontal && kScan.eCut == StripCut::Stays)
            return ScanEnd() + kStripWidth;
        else
            return CWalk::EndPosition();
    }

    /// The pitch that places the comparison of row y. A row table is read at the region's top and then every 16
    /// rows from there; bands and pairing keep the pitch of the call.
    CPitch16 PitchAt(std::int64_t /*x*/, std::int64_t y) const
    {
        if (!kScan.bRowTable || m_call.pScanPitchTable == nullptr)
            return m_pitch;
        return CPitch16(m_call.pScanPitchTable[(m_region.nTop >> 4) + (y - m_region.nTop) / 16]);
    }

    /// The comparison of one pixel that the scan covers, at an element of the maps. @return false without memory
    bool ComparePlace(std::int64_t x, std::int64_t y, std::int64_t nElement, CFoundHit& hit)
    {
        const std::int64_t nLeft = this->RowLeft(x);
        const std::int64_t nStrips = kScan.bHorizontal ? m_nStrips : 1;
        if (!Reserve(nStrips))
            return false;
        PlaceRows(PitchAt(x, y), nLeft, y, nStrips * kStripWidth);
        CompareAt(x - nLeft, nElement, kScan.HasColumnTables() ? m_rule.BlockDisplacement(x) : 0, hit);
        return true;
    }

private:
    /// Rows not compared below strips, or compared columns of rows.
    static std::int64_t Extent(const CKernelCall& call)
    {
        if (!kScan.bHorizontal)
            return kScan.nFreeRows;
        return RoundDownTo16(call.region.nRight - call.region.nLeft - CPitch16(call.nPitch16).nWhole);
    }
    std::int64_t ScanEnd() const
    {
        if constexpr (kScan.bHorizontal)
            return m_x + this->m_nColumns;
        else
            return this->m_nStripEnd;
    }

    /// Room for rows of nStrips strips; the finder's row points into it from here on.
    bool Reserve(std::int64_t nStrips)
    {
        if (!m_scratch.ReserveRow(nStrips) || (kScan.HasColumnTables() && !ReadTables()) ||
            (kScan.bMeans && !m_scratch.means.Begin(m_pitch.nWhole, nStrips * kStripWidth)))
            return false;
        m_row.pMask = m_scratch.mask.Data();
        m_row.pZeroMap = m_scratch.zeroMap.Data();
        m_bReady = true;
        return true;
    }

    /// Vertical: the column that column x is compared with. The zone kernels use only the fraction of their shift.
    std::int64_t ReferenceLeft(std::int64_t x) const { return x + (kScan.bShifted ? m_call.nVtdPitch16 >> 4 : 0); }

    /// Points the finder at row y from column x on.
    void PlaceRows(const CPitch16& pitch, std::int64_t x, std::int64_t y, std::int64_t nColumns)
    {
        SetWeights(m_row, pitch);
        if constexpr (kScan.HasColumnTables())
        {
            m_row.pSrc = Row(x, y, y, 0, nColumns);
            m_row.pNear = Row(x + m_nReferenceFirst, y, y, 1, m_nReferenceBytes) - m_nReferenceFirst;
            m_row.pFar = m_row.pNear + 1;
        }
        else if constexpr (kScan.bHorizontal)
        {
            m_row.pSrc = Row(x, y, y, 0, nColumns);
            m_row.pNear = Row(x + pitch.nWhole, y, y, 1, nColumns);
            // Without a fraction the far sample has no weight and need not exist.
            m_row.pFar = pitch.nFraction == 0 ? m_row.pNear : Row(x + pitch.nWhole + 1, y, y, 2, nColumns);
        }
        else
        {
            const std::int64_t nReference = ReferenceLeft(x);
            nColumns += kScan.ReadsOneMore() ? 1 : 0;
            m_row.pSrc = Row(x, y, y, 0, nColumns);
            m_row.pNear = Row(nReference, y + pitch.nWhole, y, 1, nColumns);
            m_row.pFar = Row(nReference, y + pitch.nWhole + 1, y, 2, nColumns);
        }
    }

    /// Where the pixels of the means of row y lie, and weights; the row points at the three means of a candidate.
    void PointAtMeans(const CPitch16& pitch, std::int64_t y)
    {
        SetWeights(m_row, pitch);
        m_means.nRowBytes = m_call.image.nStride;
        m_means.pSource = m_call.image.pPixels + y * m_means.nRowBytes + m_x;
        m_means.pNear = m_call.image.pPixels + (y + pitch.nWhole) * m_means.nRowBytes + ReferenceLeft(m_x);
        m_row.pSrc = &m_aMeans[0];
        m_row.pNear = &m_aMeans[1];
        m_row.pFar = &m_aMeans[2];
    }
    std::uint8_t MeanAt(const std::uint8_t* p) const
    {
        const std::uint8_t* const pBelow = p + m_means.nRowBytes;
        return static_cast<std::uint8_t>((p[0] + p[1] + pBelow[0] + pBelow[1]) >> 2);
    }

    /// Row y, which the finder's row is, and those that the bound may list together with it.
    CPixelPlace BoundPlace(const CPitch16& pitch, std::int64_t y) const
    {
        CPixelPlace place = {.pRow = &m_row, .pSource = m_row.pSrc, .pNear = m_row.pNear, .pFar = m_row.pFar};
        if constexpr (kScan.bMeans)
        {
            place.pSource = m_means.pSource;
            place.pNear = m_means.pNear;
        }
        if constexpr (kScan.bHorizontal)
            place.nLimitEnd = std::min(m_nNextStep, m_region.nBottom);
        else
            place.nLimitEnd = std::min(m_nNextStep, this->m_nRowEnd);
        place.nMapStride = m_rule.MapRow(1) - m_rule.MapRow(0);
        place.nRowBytes = m_call.image.nStride;
        // Rows that are copied do not follow one another in memory.
        const std::int64_t nLast = y + kBoundRows - 1;
        const bool bSeveral = nLast < place.nLimitEnd && PitchAt(m_x, nLast) == pitch && AreInside(pitch, y, nLast);
        place.nRows = bSeveral ? kBoundRows : kScan.bMeans ? 0 : 1;
        return place;
    }

    /// All that rows nFirst .. nLast compare is read in the image.
    bool AreInside(const CPitch16& pitch, std::int64_t nFirst, std::int64_t nLast) const
    {
        const std::int64_t nColumns = m_nStrips * kStripWidth;
        const auto isInside = [&](std::int64_t x, std::int64_t nAbove, std::int64_t nBelow, std::int64_t nCount)
        { return IsRowInside(m_call.image, x, nAbove, nCount) && IsRowInside(m_call.image, x, nBelow, nCount); };
        if constexpr (kScan.HasColumnTables())
            return isInside(m_x, nFirst, nLast, nColumns) &&
                   isInside(m_x + m_nReferenceFirst, nFirst, nLast, m_nReferenceBytes);
        else if constexpr (kScan.bHorizontal)
            return isInside(m_x, nFirst, nLast, nColumns) && isInside(m_x + pitch.nWhole, nFirst, nLast, nColumns + 1);
        else
        {
            const std::int64_t nCount = nColumns + (kScan.bMeans || kScan.ReadsOneMore() ? 1 : 0);
            const std::int64_t nBelow = nLast + (kScan.bMeans ? 1 : 0);
            return isInside(m_x, nFirst, nBelow, nCount) &&
                   isInside(ReferenceLeft(m_x), nFirst + pitch.nWhole, nBelow + pitch.nWhole + 1, nCount);
        }
    }

    /// Row y from column x on. Of the rows that are used together with row nSource, each has its own nCopy.
    const std::uint8_t* Row(std::int64_t x, std::int64_t y, std::int64_t nSource, int nCopy, std::int64_t nColumns)
    {
        if constexpr (kScan.bMeans)
            return m_scratch.means.Get(
                y, nSource, nCopy / 2,
                [&](std::int64_t nMade, std::uint8_t* pOut)
                { MakeMeanRow(ReadRows(m_call.image, x, nMade, 2, nColumns + 1, m_scratch.rowCopy), nColumns, pOut); });
        else
            return ReadRow(m_call.image, x, y, nColumns, m_scratch.rowCopy[nCopy].Data());
    }

    /// The comparison at column nColumn of the finder's row.
    /// @return whether it is a hit
    bool CompareAt(std::int64_t nColumn, std::int64_t nElement, std::int64_t nDisplacement, CFoundHit& hit) const
    {
        const CPixelComparison found =
            ComparePixel<GetFindTraits(kScan.eFind)>(m_row, nColumn, nElement, nDisplacement);
        hit.Set(found);
        m_rule.ReadMaps(nElement, hit);
        return found.IsHit();
    }

    /// Reads displacement and weights of every block once. @return false without memory
    bool ReadTables()
    {
        if (!m_scratch.displacement.Reserve(static_cast<std::size_t>(m_nStrips)))
            return false;
        std::int64_t* const pDisplacements = m_scratch.displacement.Data();
        std::int64_t nEnd = 0;
        for (std::int64_t nStrip = 0; nStrip < m_nStrips; ++nStrip)
        {
            pDisplacements[nStrip] = m_rule.BlockDisplacement(m_x + nStrip * kStripWidth);
            const std::int64_t nPlace = nStrip * kStripWidth + pDisplacements[nStrip];
            m_nReferenceFirst = nStrip == 0 ? nPlace : std::min(m_nReferenceFirst, nPlace);
            nEnd = nStrip == 0 ? nPlace : std::max(nEnd, nPlace);
        }
        m_nReferenceBytes = nEnd + kStripWidth + 1 - m_nReferenceFirst;
        m_runs.Displace(pDisplacements);
        return m_scratch.rowCopy[1].Reserve(static_cast<std::size_t>(m_nReferenceBytes)) &&
               SpreadColumnWeights(m_call, m_nStrips * kStripWidth, m_scratch, m_row);
    }

    const CKernelCall& m_call;
    TRule& m_rule;
    CScanScratch& m_scratch;
    CRunList m_runs;
    CBoundStage<CBound> m_bound;
    CFindRow m_row;
    CPixelPlace m_means;                ///< where the pixels of means lie
    std::uint8_t m_aMeans[3] = {};      ///< of a candidate: source, near and far reference
    std::int64_t m_y = 0;               ///< of the finder's row
    bool m_bCandidates = false;         ///< its marked pixels are candidates, not hits
    std::int64_t m_nNextStep;           ///< the row from which on the runs are others
    bool m_bReady = false;              ///< horizontal: memory and tables are
    std::int64_t m_nReferenceFirst = 0; ///< first place that a block reads, from the region's left
    std::int64_t m_nReferenceBytes = 0; ///< and how far the places reach
};

} // namespace narvo::engine
