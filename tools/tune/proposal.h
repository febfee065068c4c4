// SPDX-License-Identifier: MIT
// Which value of a sweep to take.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "tools/tune/sweep.h"

namespace narvo::tools
{

struct Proposal
{
    std::size_t point = 0; ///< index of the proposed one
    std::size_t first = 0; ///< ends of the run of values that are as good
    std::size_t last = 0;
    std::string reason;
};

/// With true defects, the middle of the longest run of values with the best score, or with the most defects found among
/// those that report at most `mostFalse` false blobs; values that find nothing are not proposed. Without, the least
/// value from which on no image reports a blob, and a fifth more; where the last value reports some, the middle of the
/// longest run over which the count of blobs stays the same or nearly so. Values that left images incomplete are not
/// proposed. None when there is no such value.
std::optional<Proposal> Propose(const Sweep& sweep, std::optional<long> mostFalse);

/// Why there is none, as the rest of a sentence.
std::string WhyNoProposal(const Sweep& sweep);

} // namespace narvo::tools
