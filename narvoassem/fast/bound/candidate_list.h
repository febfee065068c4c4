// SPDX-License-Identifier: MIT
// What a bound lists: the few pixels of some rows that can be hits. The plain comparison judges them.
#pragma once

#include <cstddef>
#include <cstdint>

#include "narvoassem/fast/find/marked_row.h"

namespace narvo::engine
{

constexpr int kBoundRows = 4;              ///< rows that are listed together
constexpr std::int64_t kBoundColumns = 64; ///< columns of a word of candidates; no row is shorter

/// The candidates of up to kBoundRows rows.
struct CCandidateList
{
    std::int64_t nColumns = 0; ///< a multiple of 8, at least kBoundColumns

    /// What the candidates may cost before the rows are given up as too dense: kWordCost for each 64 columns of the
    /// rows that have any, and kCandidateCost for each. Receives the remainder.
    static constexpr std::int64_t kWordCost = 24;
    static constexpr std::int64_t kCandidateCost = 8;
    std::int64_t nCredit = 0;

    /// Out: the words of each row that have candidates, and their number; room for one for each 64 columns begun.
    CMarkedWord* pWords[kBoundRows] = {};
    std::size_t nWords[kBoundRows] = {};
};

} // namespace narvo::engine
