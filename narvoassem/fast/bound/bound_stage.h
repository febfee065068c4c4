// SPDX-License-Identifier: MIT
// Where a scan uses the bound and where the finder: has the candidates of some rows at a time listed, and leaves rows
// to the finder that have no limit or so many candidates that the bound does not pay. What is compared, pixels or
// window sums, and with which limits is left to a bound.
#pragma once

#include <algorithm>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <limits>

#include "narvoassem/base/grow_buffer.h"
#include "narvoassem/fast/bound/candidate_list.h"
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
    CGrowBuffer<std::uint8_t> limits;                ///< of a row
    CGrowBuffer<std::uint8_t> least;                 ///< of the part of a map that some runs share
    CGrowBuffer<std::uint8_t> weights;               ///< of the columns of a row
    CGrowBuffer<std::uint8_t> reference[kBoundRows]; ///< formed by them
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

/// The rows that a limit is wanted for: nColumns columns of row y and some after it.
struct CLimitRows
{
    std::int64_t y = 0;
    std::int64_t nColumns = 0;
    bool bFew = false; ///< few rows may use it
};

/// What the stage needs of a bound. A place is where the rows in reach are; its nLimitEnd is the first row that is not
/// compared, or may have other limits.
// clang-format off
template <class T>
concept RowBound = requires(T bound, typename T::CRows& rows, const typename T::CPlace& place, const CLimitRows& wanted,
                            CBoundScratch& scratch, std::int64_t& nEnd, std::int64_t n)
{
    requires std::derived_from<typename T::CRows, CCandidateList>;
    { T::kBounded } -> std::convertible_to<bool>;
    { T::Gain(n, n) } -> std::same_as<std::int64_t>;                        ///< credit for columns and rows
    { T::RowsOf(place) } -> std::same_as<int>;                              ///< listed together; 0 leaves the row out
    { bound.FormLimits(place, wanted, scratch, nEnd) } -> std::same_as<bool>; ///< for rows before nEnd; false: none
    bound.Place(place, rows);                                               ///< RowsOf(place) rows
    { T::List(rows) } -> std::same_as<bool>;                                ///< false: too dense for the credit
};
// clang-format on

template <RowBound TBound>
class CBoundStage
{
    using CPlace = typename TBound::CPlace;

public:
    CBoundStage(CBoundScratch& scratch, const TBound& bound) : m_scratch(scratch), m_bound(bound) {}

    /// Rows of nColumns columns come from here on. Without memory they are left to the finder.
    void Begin(std::int64_t nColumns)
    {
        m_nColumns = TBound::kBounded && m_scratch.eUse != BoundUse::Never && nColumns >= kBoundColumns &&
                             m_scratch.Reserve(nColumns)
                         ? nColumns
                         : 0;
        m_nListedEnd = m_nFinderEnd = std::numeric_limits<std::int64_t>::min();
        DropLimits();
    }
    /// The following rows have other runs.
    void DropLimits() { m_nLimitEnd = std::numeric_limits<std::int64_t>::min(); }

    /// Puts the candidates of row.y into row; lists those of it and of the rows in reach first, if they are not listed
    /// yet. place() is the place of that row. @return false if the finder has to find its hits
    template <class TPlace>
    bool List(const TPlace& place, CMarkedRow& row)
    {
        if (row.y >= m_nListedEnd && (m_nColumns == 0 || row.y < m_nFinderEnd || !ListAhead(place(), row.y)))
            return false;
        const auto nRow = static_cast<std::size_t>(row.y - m_nListed);
        row.pMask = nullptr;
        row.pWords = m_rows.pWords[nRow];
        row.nWords = m_rows.nWords[nRow];
        return true;
    }

private:
    /// Rows left to the finder after those that were too dense, doubled while the image stays so.
    static constexpr std::int64_t kLeastRest = 64;
    static constexpr std::int64_t kLongestRest = 1024;

    bool ListAhead(const CPlace& place, std::int64_t y)
    {
        const int nReach = TBound::RowsOf(place);
        if (nReach == 0)
            return false;
        // After rows left to the finder, and at the start, few rows may use the limits.
        if (y + nReach > m_nLimitEnd &&
            !m_bound.FormLimits(place, {.y = y, .nColumns = m_nColumns, .bFew = m_nRest > 0}, m_scratch, m_nLimitEnd))
            return GiveUp(y);
        m_bound.Place(place, m_rows);
        m_rows.nColumns = m_nColumns;
        for (int nRow = 0; nRow < nReach; ++nRow)
            m_rows.pWords[nRow] = m_scratch.words[nRow].Data();
        const std::int64_t nGain = TBound::Gain(m_nColumns, nReach);
        m_rows.nCredit = m_scratch.eUse == BoundUse::WherePossible ? std::numeric_limits<std::int64_t>::max()
                                                                   : std::min(m_rows.nCredit + nGain, 4 * nGain + 1024);
        if (!TBound::List(m_rows))
            return GiveUp(y);
        m_nListed = y;
        m_nListedEnd = y + nReach;
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

    CBoundScratch& m_scratch;
    TBound m_bound;
    std::int64_t m_nColumns = 0;   ///< of a row; 0 leaves all to the finder
    typename TBound::CRows m_rows; ///< listed last: rows m_nListed .. m_nListedEnd - 1
    std::int64_t m_nListed = 0;
    std::int64_t m_nListedEnd = 0;
    std::int64_t m_nLimitEnd = 0;      ///< the limits hold for rows before this one
    std::int64_t m_nFinderEnd = 0;     ///< rows before this one are left to the finder
    std::int64_t m_nRest = kLeastRest; ///< how many rows were left to it last; 0 after sparse rows
};

} // namespace narvo::engine
