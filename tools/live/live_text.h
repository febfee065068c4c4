// SPDX-License-Identifier: MIT
// The state of a watch as JSON: what the page's events carry, and whether the run is in health.
#pragma once

#include <string>

#include "tools/live/live_state.h"

namespace narvo::tools
{

/// All that is known now, for a reader who has just come; `number` becomes that of the latest verdict in it.
std::string StateText(const LiveState& state, std::uint64_t& number);
/// Counts, latency, queue and hours.
std::string StatusText(const LiveState& state);
std::string MapsText(const LiveState& state);
std::string VerdictText(const LiveVerdict& verdict);
/// A verdict with its picture, a data URI.
std::string PictureText(const LiveVerdict& verdict, const std::string& picture);

struct Health
{
    bool good = true;
    std::string text; ///< JSON
};
Health HealthOf(const LiveState& state);

} // namespace narvo::tools
