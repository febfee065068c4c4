// SPDX-License-Identifier: MIT
// The bound (bound_stage.h) of single pixels: limits from bases or maps, and the rows of the finder.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>

#include "narvoassem/fast/bound/bound_stage.h"
#include "narvoassem/fast/bound/column_reference.h"
#include "narvoassem/fast/bound/least_offsets.h"
#include "narvoassem/fast/bound/list_candidates.h"
#include "narvoassem/fast/find/find_row.h"

namespace narvo::engine
{

/// The current row, and those that may be listed together with it.
struct CPixelPlace
{
    const CFindRow* pRow = nullptr;        ///< thresholds and weights, as for the finder
    const std::uint8_t* pSource = nullptr; ///< rows of pixels, also where means are compared
    const std::uint8_t* pNear = nullptr;
    const std::uint8_t* pFar = nullptr; ///< of a single row
    int nRows = 1;                      ///< 1 or kBoundRows; 0 leaves the row out
    std::int64_t nRowBytes = 0;         ///< from each of them to the next
    std::int64_t nLimitEnd = 0;         ///< the first row that is not compared, or may have other runs
    std::int64_t nMapStride = 0;        ///< map elements from row to row
};

/// eShape: of several rows. References with weights of their columns are formed first; then they lie in rows.
template <CFindTraits kTraits, BoundShape eShape>
class CPixelBound
{
public:
    static constexpr bool kBounded = true;

    using CRows = CBoundRows;
    using CPlace = CPixelPlace;

    static int RowsOf(const CPlace& place) { return place.nRows; }
    /// About the time that the finder would take longer.
    static std::int64_t Gain(std::int64_t nColumns, std::int64_t nRows)
    {
        return nColumns * nRows / (nRows == 1 ? 16 : 32);
    }

    /// Forms the limits from row y on. @return false if the thresholds have none
    bool FormLimits(const CPlace& place, const CLimitRows& wanted, CBoundScratch& scratch, std::int64_t& nEnd)
    {
        const CFindRow& row = *place.pRow;
        std::uint8_t* const pLimits = scratch.limits.Data();
        m_pLimits = pLimits;
        if (kColumns && !PairWeights(row, wanted.nColumns, scratch))
            return false;
        if constexpr (kTraits.UsesMaps())
        {
            const std::int64_t nLines = std::min(wanted.bFew ? kBoundRows : kLimitRows, place.nLimitEnd - wanted.y);
            std::fill_n(pLimits, wanted.nColumns, std::uint8_t{255});
            for (std::size_t n = 0; n < row.nRunCount;)
                if (!FormSharedLimits(row, n, place.nMapStride, nLines, scratch))
                    return false;
            nEnd = wanted.y + nLines;
        }
        else
        {
            const auto isLimit = [](std::int16_t nBase) { return kLeastLimit <= nBase && nBase <= kGreatestBase; };
            auto nLeast = static_cast<std::int16_t>(row.nBase);
            if (!isLimit(nLeast))
                return false;
            if constexpr (kTraits.eThreshold == FindThreshold::Smaller)
            {
                const auto nBase2 = static_cast<std::int16_t>(row.nBase2);
                if (!isLimit(nBase2))
                    return false;
                nLeast = std::min(nLeast, nBase2);
            }
            std::fill_n(pLimits, wanted.nColumns, static_cast<std::uint8_t>(std::min<std::int16_t>(nLeast, 255)));
            nEnd = std::numeric_limits<std::int64_t>::max();
        }
        return true;
    }

    void Place(const CPlace& place, CBoundRows& rows) const
    {
        const CFindRow& row = *place.pRow;
        rows.nRows = place.nRows;
        // Single rows may be copies, whose far pixels lie apart from the near ones.
        rows.eShape = place.nRows == 1 && eShape == BoundShape::Columns ? BoundShape::Rows : eShape;
        for (int nRow = 0; nRow < kBoundRows + 1; ++nRow)
            rows.pSource[nRow] = place.pSource + nRow * place.nRowBytes;
        for (int nRow = 0; nRow < kBoundRows + 2; ++nRow)
            rows.pReference[nRow] = place.pNear + nRow * place.nRowBytes;
        if (place.nRows == 1)
            rows.pReference[1] = place.pFar;
        rows.pLimit = m_pLimits;
        rows.nFraction = row.nWeightFar;
        rows.nRight = kTraits.eReference == FindReference::Bilinear ? row.nWeightRight : 0;
        rows.nPrefetch = row.nPrefetch;
        if constexpr (kColumns)
            FormReferences(row, rows);
    }

    static bool List(CBoundRows& rows) { return ListCandidates(rows); }

private:
    static constexpr bool kColumns = kTraits.eReference == FindReference::Column;
    static constexpr std::int16_t kLeastLimit = GreatestError(eShape);
    /// Rows that share their limits, unless the runs change before.
    static constexpr std::int64_t kLimitRows = 16;

    /// Forms the limits of run nRun and of the following ones as long as their map elements form one interval: the
    /// cells of a grid row mostly use the same ones. nRun becomes the run after them.
    static bool FormSharedLimits(const CFindRow& row, std::size_t& nRun, std::int64_t nMapStride, std::int64_t nLines,
                                 CBoundScratch& scratch)
    {
        const std::size_t nFirst = nRun;
        const auto end = [](const CStripRun& run) { return run.nMapBase + run.nStripCount * kStripWidth; };
        std::int64_t nLow = row.pRuns[nRun].nMapBase;
        std::int64_t nHigh = end(row.pRuns[nRun]);
        for (++nRun; nRun < row.nRunCount && row.pRuns[nRun].nMapBase <= nHigh && nLow <= end(row.pRuns[nRun]); ++nRun)
        {
            nLow = std::min(nLow, row.pRuns[nRun].nMapBase);
            nHigh = std::max(nHigh, end(row.pRuns[nRun]));
        }
        std::uint8_t* const pLeast = scratch.least.Data();
        std::fill_n(pLeast, nHigh - nLow, std::uint8_t{255});
        const auto lower = [&](const std::int16_t* pMap)
        {
            return pMap != nullptr && LowerToLeastOffsets(pMap + row.nMapRow + nLow, nMapStride, nLines, nHigh - nLow,
                                                          kLeastLimit, pLeast);
        };
        if (!lower(row.pOffsetMap) || (kTraits.eThreshold == FindThreshold::Knee && !lower(row.pOffsetMap2)))
            return false;
        for (std::size_t n = nFirst; n < nRun; ++n)
            std::copy_n(pLeast + row.pRuns[n].nMapBase - nLow, row.pRuns[n].nStripCount * kStripWidth,
                        scratch.limits.Data() + row.pRuns[n].nFirstStrip * kStripWidth);
        return true;
    }

    /// @return false without memory, and if a reference might not be a byte
    bool PairWeights(const CFindRow& row, std::int64_t nColumns, CBoundScratch& scratch)
    {
        const auto nBytes = static_cast<std::size_t>(nColumns);
        if (m_nColumns == nColumns)
            return true;
        if (!scratch.weights.Reserve(nBytes) || !PairColumnWeights(row, nColumns, scratch.weights.Data()))
            return false;
        for (int nRow = 0; nRow < kBoundRows; ++nRow)
        {
            if (!scratch.reference[nRow].Reserve(nBytes))
                return false;
            m_pFormed[nRow] = scratch.reference[nRow].Data();
        }
        m_pWeights = scratch.weights.Data();
        m_nColumns = nColumns;
        return true;
    }

    /// Replaces the reference rows by the references, which need no fraction.
    void FormReferences(const CFindRow& row, CBoundRows& rows) const
    {
        for (int nRow = 0; nRow < rows.nRows; ++nRow)
        {
            FormColumnReference(row, rows.pReference[nRow], m_pWeights, m_pFormed[nRow]);
            rows.pReference[nRow] = m_pFormed[nRow];
        }
        // Without a fraction the last far row is only prefetched after.
        rows.pReference[rows.nRows] = rows.pSource[rows.nRows - 1];
        rows.nFraction = 0;
    }

    const std::uint8_t* m_pLimits = nullptr;  ///< of a row, as formed last
    const std::uint8_t* m_pWeights = nullptr; ///< columns: those of a row, in pairs
    std::uint8_t* m_pFormed[kBoundRows] = {}; ///< columns: references of the rows listed last
    std::int64_t m_nColumns = 0;              ///< columns that both have
};

} // namespace narvo::engine
