// SPDX-License-Identifier: MIT
// The bound (bound_stage.h) of window sums: one limit for all of them, the least threshold.
#pragma once

#include <cstdint>
#include <limits>

#include "narvoassem/fast/bound/bound_stage.h"
#include "narvoassem/fast/bound/list_sum_candidates.h"
#include "narvoassem/fast/find/compare_sums.h"
#include "narvoassem/fast/find/find_sums.h"

namespace narvo::engine
{

/// The current row, and those that may be listed together with it.
struct CSumPlace
{
    int nRows = 0;                         ///< 0 or kBoundRows
    const std::uint8_t* pSource = nullptr; ///< the first pixel of the first window
    std::int64_t nReference = 0;           ///< bytes from there to the reference
    std::int64_t nRowBytes = 0;
    int nFraction = 0;
};

/// nAcross and nAlong: window, across the scan and along it.
template <SumsVariant kVariant, int nAcross, int nAlong, bool kHorizontal>
class CSumBound
{
public:
    /// Weights that differ from column to column may have any sign and sum.
    static constexpr bool kBounded = !HasColumnWeights(kVariant);

    using CRows = CSumBoundRows;
    using CPlace = CSumPlace;

    /// The row has the thresholds. It has to last.
    explicit CSumBound(const CSumsRow& row) : m_row(row) {}

    static int RowsOf(const CSumPlace& place) { return place.nRows; }
    /// About the time that the finder, which needs stored sums, would take longer.
    static std::int64_t Gain(std::int64_t nColumns, std::int64_t nRows) { return nColumns * nRows / 8; }

    /// The same for all rows. @return false if a threshold is below 0, since the test has no negative limit
    bool FormLimits(const CSumPlace& /*place*/, const CLimitRows& /*wanted*/, CBoundScratch& /*scratch*/,
                    std::int64_t& nEnd)
    {
        m_nLimit = LeastSumsThreshold<kVariant>(m_row);
        nEnd = std::numeric_limits<std::int64_t>::max();
        return m_nLimit >= 0;
    }

    void Place(const CSumPlace& place, CSumBoundRows& rows) const
    {
        rows.pSource = place.pSource;
        rows.nReference = place.nReference;
        rows.nRowBytes = place.nRowBytes;
        rows.nFraction = place.nFraction;
        rows.nLimit = m_nLimit;
        rows.nWidth = kHorizontal ? nAlong : nAcross;
        rows.nLines = kHorizontal ? nAcross : nAlong;
        rows.bHorizontal = kHorizontal;
    }

    static bool List(CSumBoundRows& rows) { return ListSumCandidates(rows); }

private:
    const CSumsRow& m_row;
    std::int16_t m_nLimit = 0;
};

} // namespace narvo::engine
