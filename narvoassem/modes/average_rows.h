// SPDX-License-Identifier: MIT
// Row operations of average mode in wide vectors: one row of the table of sums, and the columns of one row whose window
// means differ. What a hit is, in exact arithmetic, is defined in average_roi.cpp.
#pragma once

#include <cstdint>

namespace narvo::engine
{

/// Columns or rows of a window: [nFrom, nTo).
struct CWindowSpan
{
    std::int64_t nFrom;
    std::int64_t nTo;
};

/// The window of nSize round nAt on one axis of a region that spans [nLow, nHigh): shifted inside where it crosses an
/// end, then cut.
inline CWindowSpan FindWindowSpan(std::int64_t nAt, std::int64_t nSize, std::int64_t nLow, std::int64_t nHigh)
{
    const std::int64_t nHalf = nSize / 2;
    CWindowSpan span{nAt - nHalf, nAt + nHalf + 1};
    if (span.nFrom < nLow)
        span = {nLow, nLow + nSize};
    if (span.nTo > nHigh)
        span = {nHigh - nSize, nHigh};
    const auto cut = [=](std::int64_t n) { return n < nLow ? nLow : n > nHigh ? nHigh : n; };
    return {cut(span.nFrom), cut(span.nTo)};
}

/// Entries that rows of sums must have after their last cell: vectors read that far.
constexpr std::int64_t nSumRowSlack = 64;

/// Regions up to these sides keep the sums of one image row, and of a vector of columns, inside 32 bits.
constexpr std::int64_t nSumWidthLimit = std::int64_t{1} << 24;
constexpr std::int64_t nSumHeightLimit = std::int64_t{1} << 20;

/// Windows up to this size change by less than 15 bits per row, so that rows of sums may be kept modulo 2 to the 16
/// (TSum below is std::uint16_t; std::uint32_t for larger windows).
constexpr std::int64_t nShortWindowLimit = 127;

/// A row of the table of sums under construction: cell j + 1 is the cell above plus pixels 0 .. j of the image row. The
/// table itself is written by non-temporal stores.
template <typename TSum>
struct CSumRow
{
    const std::uint8_t* pPixels;
    std::int64_t nWidth;
    TSum* pSums;          ///< low bits of the sums of this image row, nWidth + 1 cells, cell 0 being 0 (likewise below)
    std::uint32_t* pLow;  ///< low halves of the row above, which become those of this row
    std::int64_t* pTable; ///< this row in the table
    std::int64_t x = 0;   ///< columns done
    std::uint32_t nSum = 0;  ///< sum of their pixels
    std::uint32_t nLast = 0; ///< last cell: low half
    std::uint64_t nHigh = 0; ///< last cell: high half, in place
};

/// Appends the columns up to nTo or a little beyond; all with an nTo of nWidth.
void AppendSums(CSumRow<std::uint16_t>& row, std::int64_t nTo);
void AppendSums(CSumRow<std::uint32_t>& row, std::int64_t nTo);
/// Makes the rows written so far visible to other threads.
void FinishSumRows();

/// The image rows between which a window moves down.
template <typename TSum>
struct CWindowMove
{
    const TSum* pEnter; ///< sums of the row that enters the window; a row of zeros where none does
    const TSum* pLeave; ///< the same for the row that leaves it
};

/// A row to test. Of both windows only what the test needs is kept per column: the defect sum times nScale minus the
/// background sum, and the defect sum if there is a limit on it. Both fit into 31 bits.
template <typename TSum>
struct CAverageRow
{
    CWindowMove<TSum> back;
    CWindowMove<TSum> defect;
    std::int64_t nWidth;
    std::int64_t nBack; ///< window sizes
    std::int64_t nDefect;
    std::int32_t nScale; ///< brings the defect sum to the area of the background window; below 15 bits with short sums
    std::int32_t nDark;  ///< limits of the difference
    std::int32_t nBright;
    std::int32_t nLimit; ///< largest defect sum tested
    bool bLimited;       ///< whether any defect sum can exceed it
};

/// Entries of each of the two columns' arrays for a region of nWidth, walked in calls of nRun columns.
constexpr std::int64_t GetColumnEntries(std::int64_t nWidth, std::int64_t nRun)
{
    return (nWidth + (nWidth / nRun + 6) * nSumRowSlack + 15) / 16 * 16;
}

/// The position of the walk along a row in the two arrays; the vector code defines their order, which is the same for
/// every walk in the same steps.
struct CColumnCursor
{
    std::int32_t* pDifference;
    std::int32_t* pDefect;
};

/// Moves both windows of the columns nFrom .. nTo - 1 down and writes the columns that are hits there, ascending.
/// @return their number
std::int64_t FindAverageHits(const CAverageRow<std::uint16_t>& row, std::int64_t nFrom, std::int64_t nTo,
                             CColumnCursor& cursor, std::int32_t* pColumns);
std::int64_t FindAverageHits(const CAverageRow<std::uint32_t>& row, std::int64_t nFrom, std::int64_t nTo,
                             CColumnCursor& cursor, std::int32_t* pColumns);

} // namespace narvo::engine
