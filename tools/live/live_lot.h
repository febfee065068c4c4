// SPDX-License-Identifier: MIT
// What the latest images have in common, worked out for those who look.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

#include "tools/live/live_state.h"

namespace narvo::tools
{

/// Tests and charts of the latest images, worked out when they are asked for, once for all who ask, and no more often
/// than every `pause` and in one part of `nShare` of the time.
class LiveLot
{
public:
    static constexpr std::chrono::milliseconds pause{2000};
    static constexpr int nShare = 50;

    struct Event
    {
        std::uint64_t number = 0; ///< of LotNumber; 0: none yet
        std::string text;         ///< JSON
    };
    /// On the caller's thread. What was worked out before, where it is too early or another caller is at it; with
    /// `last`, that of all images.
    std::shared_ptr<const Event> Latest(const LiveState& state, bool last = false);
    /// How often it was worked out.
    std::uint64_t Made() const;

private:
    using Clock = std::chrono::steady_clock;

    std::mutex m_making;
    mutable std::mutex m_mutex;
    std::shared_ptr<const Event> m_event = std::make_shared<Event>();
    Clock::time_point m_next;
    std::uint64_t m_made = 0;
};

/// A lot as the page takes it: at most 20 places of each test, the latest 300 points of each chart and its latest 50
/// alarms. Places in a cell stand as shares of its two vectors, counted from the image's corner.
std::string LotEventText(const LiveState& state);

} // namespace narvo::tools
