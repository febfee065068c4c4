// SPDX-License-Identifier: MIT
// The hour of a time, made where it is new.
#include "tools/live/hour_trend.h"

#include <algorithm>

namespace narvo::tools
{

HourCounts& HourTrend::HourOf(std::int64_t time)
{
    const std::int64_t hour = time / 3600000000000;
    const auto later =
        std::find_if(m_hours.rbegin(), m_hours.rend(), [&](const HourCounts& counts) { return counts.hour <= hour; });
    if (later != m_hours.rend() && later->hour == hour)
        return *later;
    if (later == m_hours.rend() && m_hours.size() == nHours)
        return m_hours.front();
    const auto place = later.base() - m_hours.begin();
    m_hours.insert(later.base(), HourCounts{hour, {}, 0, 0});
    if (m_hours.size() <= nHours)
        return m_hours[static_cast<std::size_t>(place)];
    m_hours.pop_front();
    return m_hours[static_cast<std::size_t>(place - 1)];
}

void HourTrend::Add(std::int64_t time, LiveOutcome outcome, std::uint64_t blobs)
{
    HourCounts& counts = HourOf(time);
    ++counts.outcomes[static_cast<std::size_t>(outcome)];
    counts.blobs += blobs;
}

void HourTrend::AddDropped(std::int64_t time, std::uint64_t frames)
{
    if (frames > 0)
        HourOf(time).dropped += frames;
}

} // namespace narvo::tools
