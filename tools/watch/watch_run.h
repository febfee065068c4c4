// SPDX-License-Identifier: MIT
// Frames from a source through the lanes to verdicts.
#pragma once

#include <chrono>
#include <cstdint>
#include <stop_token>
#include <vector>

#include "host/recipe/checked_recipe.h"
#include "sources/frame_source.h"
#include "tools/watch/fail_rules.h"
#include "tools/watch/frame_queue.h"
#include "tools/watch/result_sink.h"
#include "tools/watch/watch_summary.h"

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

/// Inspects until the source ends, a limit is reached or a stop is requested; then finishes all that has arrived.
/// Results do not depend on the lanes. Memory does not grow with the number of frames. The sink is not told of the end.
/// @throws what the sink throws, or lack of memory for the lanes
WatchSummary RunWatch(const WatchSettings& settings, sources::FrameSource& source, ResultSink& sink,
                      std::stop_token stop);

} // namespace narvo::tools
