// SPDX-License-Identifier: MIT
// What a watch has counted, while it runs and at its end.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "host/problem.h"
#include "sources/frame_source.h"
#include "tools/watch/latency_histogram.h"

namespace narvo::tools
{

/// At the end acquired = inspected + dropped + unreadable; before it, frames that wait or are inspected are missing on
/// the right. At any time inspected = passed + failed + undecided.
struct WatchSummary
{
    std::uint64_t acquired = 0; ///< frames that the source has handed over
    std::uint64_t inspected = 0;
    std::uint64_t passed = 0;
    std::uint64_t failed = 0;
    std::uint64_t undecided = 0;  ///< inspected, but not wholly looked at
    std::uint64_t dropped = 0;    ///< given up for lack of room
    std::uint64_t unreadable = 0; ///< could not be read or inspected; these have a line, too
    sources::FrameLosses losses;  ///< what never became a frame
    std::uint64_t blobs = 0;
    std::size_t waiting = 0;       ///< frames in the queue
    LatencyHistogram latency;      ///< from the arrival of a frame's last row to its acknowledged verdict
    double seconds = 0.0;          ///< since the start
    bool overrun = false;          ///< ended since the queue was full
    std::vector<Problem> problems; ///< by which the source ended; empty: in good order
};

/// The lines on frames, verdicts and latency for a person.
std::string SummaryText(const WatchSummary& summary);

/// The same for machines. `interrupted`: ended on request.
nlohmann::ordered_json SummaryJson(const WatchSummary& summary, bool interrupted);

} // namespace narvo::tools
