// SPDX-License-Identifier: MIT
// A text of the live page that takes a while to work out.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

namespace narvo::tools
{

/// A text worked out when it is asked for, once for all who ask, and no more often than every `pause` and in one part
/// of `nShare` of the time.
class SharedEvent
{
public:
    static constexpr std::chrono::milliseconds pause{2000};
    static constexpr int nShare = 50;

    struct Event
    {
        std::uint64_t number = 0; ///< of what it was made from; 0: none yet
        std::string text;         ///< JSON
    };
    /// On the caller's thread: `make` where `number` is another one than that of the event, one call at a time. What
    /// was worked out before, where it is too early or another caller is at it, but never with `last`.
    std::shared_ptr<const Event> Latest(std::uint64_t number, bool last, const std::function<std::string()>& make);
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

} // namespace narvo::tools
