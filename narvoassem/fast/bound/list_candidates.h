// SPDX-License-Identifier: MIT
// The bound: a test in bytes, over several rows at a time, which every hit passes and few other pixels. Those that pass
// are listed as candidates, and the plain comparison judges them. Its vector code (list_candidates.cc) is compiled once
// per instruction set.
#pragma once

#include <cstddef>
#include <cstdint>

#include "narvoassem/fast/find/marked_row.h"

namespace narvo::engine
{

constexpr int kBoundRows = 4;              ///< rows that are listed together
constexpr std::int64_t kBoundColumns = 64; ///< columns of a word of candidates; no row is shorter

/// The least limit of linear references, with which chain and reference may differ by one, and of bilinear ones.
constexpr std::int16_t kLeastLinearLimit = 1;
constexpr std::int16_t kLeastBilinearLimit = 2;

/// Rows listed together. The reference of row n is interpolated between pReference[n] and pReference[n + 1]: the far
/// row of one is the near row of the next.
///
/// Why no hit is missed: a pixel is a hit if |source - reference| exceeds its threshold; a grey limit on both can only
/// move them closer together. The reference is (near * (16 - fraction) + far * fraction) >> 4, a byte. A chain of
/// rounded averages, one for each bit of the fraction from the lowest set bit up, gives it or one more: each average
/// rounds up by at most one half and halves the error of those before it, so the sum of all errors is below 1. If no
/// threshold of the pixel is below the limit, chain - source > limit or source - chain > limit - 1 for every hit.
///
/// A bilinear reference is the same of two values interpolated along their rows, and so is the chain of two chains.
/// These are at most one too high, which raises the third by at most one, so it is at most two too high, and source -
/// chain > limit - 2 for every hit whose source is the brighter. In saturating bytes this takes a limit of at least 2.
struct CBoundRows
{
    int nRows = 0; ///< 1 or kBoundRows
    const std::uint8_t* pSource[kBoundRows] = {};
    const std::uint8_t* pReference[kBoundRows + 1] = {};
    const std::uint8_t* pLimit = nullptr; ///< a byte for each column, the same for all rows: 1 .. 255
    std::int64_t nColumns = 0;            ///< a multiple of 16, at least kBoundColumns
    int nFraction = 0;                    ///< 0 .. 15
    int nRight = 0;                       ///< 0 .. 15; if not 0, reference rows are bilinear and one byte longer
    std::int64_t nPrefetch = 0;           ///< bytes from one row to the next, which will be listed after these

    /// What the candidates may cost before the rows are given up as too dense: kWordCost for each 64 columns of the
    /// rows that have any, and kCandidateCost for each. Receives the remainder.
    static constexpr std::int64_t kWordCost = 24;
    static constexpr std::int64_t kCandidateCost = 8;
    std::int64_t nCredit = 0;

    /// Out: the words of each row that have candidates, and their number; room for one for each 64 columns begun.
    CMarkedWord* pWords[kBoundRows] = {};
    std::size_t nWords[kBoundRows] = {};
};

/// Lists the candidates of the rows. @return false if they cost more than the credit; the lists are undefined then
bool ListCandidates(CBoundRows& rows);

} // namespace narvo::engine
