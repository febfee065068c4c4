// SPDX-License-Identifier: MIT
// The bound of single pixels and of means: a test in bytes, over several rows at a time, which every hit passes and few
// other pixels. Its vector code (list_candidates.cc) is compiled once per instruction set.
#pragma once

#include <cstdint>

#include "narvoassem/fast/bound/candidate_list.h"

namespace narvo::engine
{

/// What is compared, and where its reference lies.
enum class BoundShape
{
    Rows,     ///< pixels; between two rows
    Bilinear, ///< pixels; also between two neighbours of each of them
    Columns,  ///< pixels; between two neighbours of one row
    Means     ///< means of 2 by 2 pixels; between two rows of them
};

/// How much a reference as the bound forms it may be too high at any fraction. Limits are not below it.
constexpr std::int16_t GreatestError(BoundShape eShape)
{
    return eShape == BoundShape::Bilinear || eShape == BoundShape::Means ? 2 : 1;
}

/// Rows listed together. The reference of row n is interpolated between pReference[n] and pReference[n + 1]: the far
/// row of one is the near row of the next. Columns: between pReference[n] and the same one byte further. Means: row n
/// holds those of pSource[n] and pSource[n + 1], and its near reference those of pReference[n] and pReference[n + 1].
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
///
/// A mean is a quarter of the sum of four pixels, rounded down. The rounded average of two rounded averages is that
/// quarter or up to one more, so it is the mean or one more. References formed of them are at most two too high, and a
/// source that is one too high takes one from chain - source: that exceeds limit - 1 for every hit.
struct CBoundRows : CCandidateList
{
    BoundShape eShape = BoundShape::Rows;
    int nRows = 0; ///< kBoundRows; rows and bilinear: also 1
    const std::uint8_t* pSource[kBoundRows + 1] = {};
    const std::uint8_t* pReference[kBoundRows + 2] = {};
    const std::uint8_t* pLimit = nullptr; ///< a byte for each column, the same for all rows: 1 .. 255
    int nFraction = 0;                    ///< 0 .. 15
    int nRight = 0;                       ///< bilinear: 0 .. 15; reference rows are one byte longer
    std::int64_t nPrefetch = 0;           ///< bytes from one row to the next, which will be listed after these
};

/// Lists the candidates of the rows. @return false if they cost more than the credit; the lists are undefined then
bool ListCandidates(CBoundRows& rows);

} // namespace narvo::engine
