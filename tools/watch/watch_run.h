// SPDX-License-Identifier: MIT
// Frames from a source through the lanes to verdicts.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <stop_token>
#include <vector>

#include "host/recipe/checked_recipe.h"
#include "sources/frame_source.h"
#include "tools/watch/fail_rules.h"
#include "tools/watch/frame_queue.h"
#include "tools/watch/latency_histogram.h"
#include "tools/watch/result_sink.h"

namespace narvo::tools
{

struct WatchSettings
{
    std::vector<CheckedRecipe> recipes; ///< one for each region
    FailRules rules;
    int lanes = 1;
    std::size_t queue = 16; ///< frames that may wait for a lane
    WhenFull whenFull = WhenFull_Wait;
    std::uint64_t mostFrames = 0;    ///< ends after that many have arrived; 0: no limit
    std::chrono::seconds longest{0}; ///< ends after that time; 0: no limit
};

/// acquired = inspected + dropped + unreadable, and inspected = passed + failed + undecided.
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
    LatencyHistogram latency; ///< from the arrival of a frame's last row to its acknowledged verdict
    double seconds = 0.0;
    bool overrun = false;          ///< ended since the queue was full
    std::vector<Problem> problems; ///< by which the source ended; empty: in good order
};

/// Inspects until the source ends, a limit is reached or a stop is requested; then finishes all that has arrived.
/// Results do not depend on the lanes. `tell` gets the source's lines for a person; it and the sink are called one at a
/// time, in the order of acquisition, on any thread. Memory does not grow with the number of frames.
/// @throws what the sink throws, or lack of memory for the lanes
WatchSummary RunWatch(const WatchSettings& settings, sources::FrameSource& source, ResultSink& sink,
                      const std::function<void(const std::string& line)>& tell, std::stop_token stop);

} // namespace narvo::tools
