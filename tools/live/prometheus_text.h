// SPDX-License-Identifier: MIT
// Counts of a watch for Prometheus.
#pragma once

#include <string>

#include "tools/live/live_records.h"

namespace narvo::tools
{

/// Text exposition format 0.0.4: counters, gauges and a histogram of the latency.
std::string PrometheusText(const LiveSetup& setup, const LiveCounts& counts);

} // namespace narvo::tools
