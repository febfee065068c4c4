// SPDX-License-Identifier: MIT
// Counts by the hour.
#pragma once

#include <array>
#include <cstdint>
#include <deque>

#include "tools/live/live_records.h"

namespace narvo::tools
{

struct HourCounts
{
    std::int64_t hour = 0; ///< hours since 1970
    std::array<std::uint64_t, nLiveOutcomes> outcomes{};
    std::uint64_t dropped = 0;
    std::uint64_t blobs = 0;
};

/// The last hours in which anything came; fixed memory.
class HourTrend
{
public:
    static constexpr std::size_t nHours = 48;

    /// `time`: nanoseconds since 1970. A time before the latest hour counts for its own hour, or for the earliest one
    /// kept.
    void Add(std::int64_t time, LiveOutcome outcome, std::uint64_t blobs);
    void AddDropped(std::int64_t time, std::uint64_t frames);

    const std::deque<HourCounts>& Hours() const { return m_hours; }

private:
    HourCounts& HourOf(std::int64_t time);

    std::deque<HourCounts> m_hours; ///< ascending
};

} // namespace narvo::tools
