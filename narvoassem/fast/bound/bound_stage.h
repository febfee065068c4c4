// SPDX-License-Identifier: MIT
// Where a scan uses the bound and where the finder: forms the limits of rows, has the candidates of some rows at a time
// listed, and leaves rows to the finder that have no limit or so many candidates that the bound does not pay.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <utility>

#include "narvoassem/base/grow_buffer.h"
#include "narvoassem/fast/bound/least_offsets.h"
#include "narvoassem/fast/bound/list_candidates.h"
#include "narvoassem/fast/find/find_row.h"
#include "narvoassem/fast/find/marked_row.h"

namespace narvo::engine
{

/// Which rows use the bound. The results are the same; tests force either.
enum class BoundUse
{
    WherePaid, ///< where it is faster
    WherePossible,
    Never
};

/// Working memory of a bound stage.
struct CBoundScratch
{
    BoundUse eUse = BoundUse::WherePaid;
    CGrowBuffer<std::uint8_t> limits; ///< of a row
    CGrowBuffer<std::uint8_t> least;  ///< of the part of a map that some runs share
    CGrowBuffer<CMarkedWord> words[kBoundRows];

    /// @return false without memory
    bool Reserve(std::int64_t nColumns)
    {
        bool bRoom =
            limits.Reserve(static_cast<std::size_t>(nColumns)) && least.Reserve(static_cast<std::size_t>(nColumns));
        for (CGrowBuffer<CMarkedWord>& row : words)
            bRoom = bRoom && row.Reserve(static_cast<std::size_t>(nColumns / kBoundColumns + 1));
        return bRoom;
    }
};

/// The rows that may be listed together with the current one.
struct CBoundReach
{
    int nRows = 1;               ///< 1 or kBoundRows
    std::int64_t nRowBytes = 0;  ///< from each of them to the next
    std::int64_t nLimitEnd = 0;  ///< the first row that is not compared, or may have other runs
    std::int64_t nMapStride = 0; ///< map elements from row to row
};

template <CFindTraits kTraits>
class CBoundStage
{
public:
    /// Weights that differ from column to column have no chain of averages.
    static constexpr bool kBounded = kTraits.eReference != FindReference::Column;

    explicit CBoundStage(CBoundScratch& scratch) : m_scratch(scratch) {}

    /// Rows of nColumns columns come from here on. Without memory they are left to the finder.
    void Begin(std::int64_t nColumns)
    {
        m_nColumns =
            kBounded && m_scratch.eUse != BoundUse::Never && nColumns >= kBoundColumns && m_scratch.Reserve(nColumns)
                ? nColumns
                : 0;
        m_nListedEnd = m_nFinderEnd = std::numeric_limits<std::int64_t>::min();
        DropLimits();
    }
    /// The following rows have other runs.
    void DropLimits() { m_nLimitEnd = std::numeric_limits<std::int64_t>::min(); }

    /// Puts the candidates of row.y into row; lists those of it and of the rows in reach first, if they are not listed
    /// yet. place is that row, as for the finder, and reach() its CBoundReach. @return false if the finder has to find
    /// its hits
    template <class TReach>
    bool List(const CFindRow& place, const TReach& reach, CMarkedRow& row)
    {
        if (row.y >= m_nListedEnd && (m_nColumns == 0 || row.y < m_nFinderEnd || !ListAhead(place, reach(), row.y)))
            return false;
        const auto nRow = static_cast<std::size_t>(row.y - m_nListed);
        row.pMask = nullptr;
        row.pWords = m_rows.pWords[nRow];
        row.nWords = m_rows.nWords[nRow];
        return true;
    }

private:
    static constexpr bool kBilinear = kTraits.eReference == FindReference::Bilinear;
    static constexpr std::int16_t kLeastLimit = kBilinear ? kLeastBilinearLimit : kLeastLinearLimit;
    /// Rows that share their limits, unless the runs change before.
    static constexpr std::int64_t kLimitRows = 16;
    /// Rows left to the finder after those that were too dense, doubled while the image stays so.
    static constexpr std::int64_t kLeastRest = 64;
    static constexpr std::int64_t kLongestRest = 1024;

    bool ListAhead(const CFindRow& place, const CBoundReach& reach, std::int64_t y)
    {
        if (y >= m_nLimitEnd && !FormLimits(place, reach, y))
            return GiveUp(y);
        m_rows.nRows = reach.nRows <= m_nLimitEnd - y ? reach.nRows : 1;
        for (int nRow = 0; nRow < m_rows.nRows; ++nRow)
        {
            m_rows.pSource[nRow] = place.pSrc + nRow * reach.nRowBytes;
            m_rows.pReference[nRow] = place.pNear + nRow * reach.nRowBytes;
            m_rows.pReference[nRow + 1] = place.pFar + nRow * reach.nRowBytes;
            m_rows.pWords[nRow] = m_scratch.words[nRow].Data();
        }
        m_rows.pLimit = m_scratch.limits.Data();
        m_rows.nColumns = m_nColumns;
        m_rows.nFraction = place.nWeightFar;
        m_rows.nRight = kBilinear ? place.nWeightRight : 0;
        m_rows.nPrefetch = place.nPrefetch;
        // About the time that the finder would take longer.
        const std::int64_t nGain = m_nColumns * m_rows.nRows / (m_rows.nRows == 1 ? 16 : 32);
        m_rows.nCredit = m_scratch.eUse == BoundUse::WherePossible ? std::numeric_limits<std::int64_t>::max()
                                                                   : std::min(m_rows.nCredit + nGain, 4 * nGain + 1024);
        if (!ListCandidates(m_rows))
            return GiveUp(y);
        m_nListed = y;
        m_nListedEnd = y + m_rows.nRows;
        m_nRest = m_nRest > kLeastRest ? m_nRest / 2 : 0;
        return true;
    }

    bool GiveUp(std::int64_t y)
    {
        m_rows.nCredit = 0;
        m_nRest = std::clamp(2 * m_nRest, kLeastRest, kLongestRest);
        if (m_scratch.eUse == BoundUse::WherePaid)
            m_nFinderEnd = y + m_nRest;
        return false;
    }

    /// Forms the limits from row y on. @return false if the thresholds have none
    bool FormLimits(const CFindRow& place, const CBoundReach& reach, std::int64_t y)
    {
        std::uint8_t* const pLimits = m_scratch.limits.Data();
        if constexpr (kTraits.UsesMaps())
        {
            // After rows left to the finder, and at the start, few rows may use them.
            const std::int64_t nLines = std::min(m_nRest > 0 ? kBoundRows : kLimitRows, reach.nLimitEnd - y);
            std::fill_n(pLimits, m_nColumns, std::uint8_t{255});
            for (std::size_t n = 0; n < place.nRunCount;)
                if (!FormSharedLimits(place, n, reach.nMapStride, nLines))
                    return false;
            m_nLimitEnd = y + nLines;
        }
        else
        {
            const auto isLimit = [](std::int16_t nBase) { return kLeastLimit <= nBase && nBase <= kGreatestBase; };
            auto nLeast = static_cast<std::int16_t>(place.nBase);
            if (!isLimit(nLeast))
                return false;
            if constexpr (kTraits.eThreshold == FindThreshold::Smaller)
            {
                const auto nBase2 = static_cast<std::int16_t>(place.nBase2);
                if (!isLimit(nBase2))
                    return false;
                nLeast = std::min(nLeast, nBase2);
            }
            std::fill_n(pLimits, m_nColumns, static_cast<std::uint8_t>(std::min<std::int16_t>(nLeast, 255)));
            m_nLimitEnd = std::numeric_limits<std::int64_t>::max();
        }
        return true;
    }

    /// Forms the limits of run nRun and of the following ones as long as their map elements form one interval: the
    /// cells of a grid row mostly use the same ones. nRun becomes the run after them.
    bool FormSharedLimits(const CFindRow& place, std::size_t& nRun, std::int64_t nMapStride, std::int64_t nLines)
    {
        const std::size_t nFirst = nRun;
        const auto end = [](const CStripRun& run) { return run.nMapBase + run.nStripCount * kStripWidth; };
        std::int64_t nLow = place.pRuns[nRun].nMapBase;
        std::int64_t nHigh = end(place.pRuns[nRun]);
        for (++nRun; nRun < place.nRunCount && place.pRuns[nRun].nMapBase <= nHigh && nLow <= end(place.pRuns[nRun]);
             ++nRun)
        {
            nLow = std::min(nLow, place.pRuns[nRun].nMapBase);
            nHigh = std::max(nHigh, end(place.pRuns[nRun]));
        }
        std::uint8_t* const pLeast = m_scratch.least.Data();
        std::fill_n(pLeast, nHigh - nLow, std::uint8_t{255});
        const auto lower = [&](const std::int16_t* pMap)
        {
            return pMap != nullptr && LowerToLeastOffsets(pMap + place.nMapRow + nLow, nMapStride, nLines, nHigh - nLow,
                                                          kLeastLimit, pLeast);
        };
        if (!lower(place.pOffsetMap) || (kTraits.eThreshold == FindThreshold::Knee && !lower(place.pOffsetMap2)))
            return false;
        for (std::size_t n = nFirst; n < nRun; ++n)
            std::copy_n(pLeast + place.pRuns[n].nMapBase - nLow, place.pRuns[n].nStripCount * kStripWidth,
                        m_scratch.limits.Data() + place.pRuns[n].nFirstStrip * kStripWidth);
        return true;
    }

    CBoundScratch& m_scratch;
    std::int64_t m_nColumns = 0; ///< of a row; 0 leaves all to the finder
    CBoundRows m_rows;           ///< listed last: rows m_nListed .. m_nListedEnd - 1
    std::int64_t m_nListed = 0;
    std::int64_t m_nListedEnd = 0;
    std::int64_t m_nLimitEnd = 0;      ///< the limits hold for rows before this one
    std::int64_t m_nFinderEnd = 0;     ///< rows before this one are left to the finder
    std::int64_t m_nRest = kLeastRest; ///< how many rows were left to it last; 0 after sparse rows
};

} // namespace narvo::engine
