// SPDX-License-Identifier: MIT
// The bound of window sums: which windows of some rows differ from their reference by more than the least threshold.
// It forms the sums in registers, from one row to the next, and stores none. Its vector code (list_sum_candidates.cc)
// is compiled once per instruction set.
#pragma once

#include <cstdint>

#include "narvoassem/fast/bound/candidate_list.h"

namespace narvo::engine
{

/// kBoundRows rows listed together; all that their windows hold lies in one image.
///
/// The difference of a window is 16 times its source sum, minus (16 - nFraction) times the sum nReference bytes
/// further, minus nFraction times that of the next row (bHorizontal: of the next column). It is a sum over the window's
/// rows of what each row adds, and each row is part of the windows of nLines rows.
///
/// Why no hit is missed: the difference is exact, and a window is a hit only if its absolute value exceeds a threshold
/// that is not below nLimit; a grey limit can only move the two values closer together. What a row adds is at most
/// 255 * 16 * 3 = 12240, so only the third row of a window may exceed 16 bits, and it is added with saturation:
/// differences beyond 32767 count as 32767. The comparison of hits reads these as negative, and they are none.
struct CSumBoundRows : CCandidateList
{
    const std::uint8_t* pSource = nullptr; ///< the first pixel of the first window
    std::int64_t nReference = 0;           ///< bytes from the source to the reference
    std::int64_t nRowBytes = 0;
    int nFraction = 0;        ///< 0 .. 15
    std::int16_t nLimit = 0;  ///< at least 0
    int nWidth = 2;           ///< columns of a window: 2 or 3, horizontal at least its rows
    int nLines = 2;           ///< its rows: 2 or 3, vertical at least its columns
    bool bHorizontal = false; ///< the reference lies along the row
};

/// Lists the candidates of the rows. @return false if they cost more than the credit; the lists are undefined then
bool ListSumCandidates(CSumBoundRows& rows);

} // namespace narvo::engine
