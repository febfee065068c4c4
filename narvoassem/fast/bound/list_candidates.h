// SPDX-License-Identifier: MIT
// The bound of single pixels: a test in bytes, over several rows at a time, which every hit passes and few other
// pixels. Its vector code (list_candidates.cc) is compiled once per instruction set.
#pragma once

#include <cstdint>

#include "narvoassem/fast/bound/candidate_list.h"

namespace narvo::engine
{

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
struct CBoundRows : CCandidateList
{
    int nRows = 0; ///< 1 or kBoundRows
    const std::uint8_t* pSource[kBoundRows] = {};
    const std::uint8_t* pReference[kBoundRows + 1] = {};
    const std::uint8_t* pLimit = nullptr; ///< a byte for each column, the same for all rows: 1 .. 255
    int nFraction = 0;                    ///< 0 .. 15
    int nRight = 0;                       ///< 0 .. 15; if not 0, reference rows are bilinear and one byte longer
    std::int64_t nPrefetch = 0;           ///< bytes from one row to the next, which will be listed after these
};

/// Lists the candidates of the rows. @return false if they cost more than the credit; the lists are undefined then
bool ListCandidates(CBoundRows& rows);

} // namespace narvo::engine
