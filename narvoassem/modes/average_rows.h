// Row operations of average mode in wide vectors: one row of the table of sums, and the columns of one row whose window
// means differ. What a hit is, in exact arithmetic, stands in average_roi.cpp.
#pragma once

#include <cstdint>

namespace narvo
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

/// Entries that a row of low halves must have behind its last cell: vectors read that far.
constexpr std::int64_t nSumRowSlack = 64;

/// Table widths up to this keep the sum of one image row inside 32 bits.
constexpr std::int64_t nFastWidthLimit = std::int64_t{1} << 24;

/// Appends the sums of one image row to the table: cell j + 1 is the cell above plus pixels 0 .. j. pAbove and pRow
/// hold the low 32 bits of the rows above and new, pRunning the row above in full, which becomes the new row, pTable
/// the place of the new row in the table; all have nWidth + 1 cells, cell 0 being 0.
void AppendSumRow(const std::uint8_t* pPixels, std::int64_t nWidth, const std::uint32_t* pAbove, std::uint32_t* pRow,
                  std::int64_t* pRunning, std::int64_t* pTable);
/// Makes the rows written so far visible to other threads: table rows are stored past the cache.
void FinishSumRows();

/// One row to test. Rows are low halves of table rows; the window sums themselves fit into 31 bits.
struct CAverageRow
{
    const std::uint32_t* pBackTop;
    const std::uint32_t* pBackBottom;
    const std::uint32_t* pDefectTop;
    const std::uint32_t* pDefectBottom;
    std::int64_t nWidth;
    std::int64_t nBack; ///< window sizes
    std::int64_t nDefect;
    std::int32_t nScale; ///< brings the defect sum to the area of the background window
    std::int32_t nDark;  ///< limits in units of that area
    std::int32_t nBright;
    std::int32_t nLimit;
};

/// Writes the columns that are hits, ascending. @return their number, at most nWidth
std::int64_t FindAverageHits(const CAverageRow& row, std::int32_t* pColumns);

} // namespace narvo
