// SPDX-License-Identifier: MIT
// The counts of a watch in words and as JSON.
#include "tools/watch/watch_summary.h"

#include <cstdio>
#include <sstream>

#include <nlohmann/json.hpp>

#include "host/counted.h"

namespace narvo::tools
{

namespace
{

std::string Tenths(double value)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.1f", value);
    return text;
}

} // namespace

std::string SummaryText(const WatchSummary& summary)
{
    const std::uint64_t incomplete = summary.losses.incomplete;
    const std::uint64_t lost = summary.losses.lost;
    std::ostringstream text;
    text << "frames: " << summary.acquired << " acquired (" << summary.inspected << " inspected, " << summary.dropped
         << " dropped, " << summary.unreadable << " unreadable); " << incomplete << " incomplete, " << lost
         << " lost\nverdict: " << summary.passed << " pass, " << summary.failed << " fail, " << summary.undecided
         << " undecided; " << Counted(summary.blobs, "blob") << '\n';
    if (summary.latency.Count() > 0)
        text << "latency: median " << Tenths(summary.latency.Quantile(0.5)) << " ms, 99 % "
             << Tenths(summary.latency.Quantile(0.99)) << " ms, worst " << Tenths(summary.latency.Worst())
             << " ms from the last row to the verdict\n";
    return text.str();
}

nlohmann::ordered_json SummaryJson(const WatchSummary& summary, bool interrupted)
{
    return {{"version", 1},
            {"seconds", summary.seconds},
            {"interrupted", interrupted},
            {"queue_full", summary.overrun},
            {"frames",
             {{"acquired", summary.acquired},
              {"inspected", summary.inspected},
              {"dropped", summary.dropped},
              {"unreadable", summary.unreadable},
              {"incomplete", summary.losses.incomplete},
              {"lost", summary.losses.lost}}},
            {"verdicts", {{"pass", summary.passed}, {"fail", summary.failed}, {"undecided", summary.undecided}}},
            {"blobs", summary.blobs},
            {"latency_ms",
             {{"median", summary.latency.Quantile(0.5)},
              {"percentile_99", summary.latency.Quantile(0.99)},
              {"worst", summary.latency.Worst()}}}};
}

} // namespace narvo::tools
