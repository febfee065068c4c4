// SPDX-License-Identifier: MIT
// The picture that runs by, made for those who look.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

#include "tools/live/live_state.h"

namespace narvo::tools
{

/// Reduces and encodes the latest image when it is asked for, at most once in `pause`, and once for all who ask.
class LivePicture
{
public:
    static constexpr double dPixels = 480000.0; ///< of the reduced picture
    static constexpr std::chrono::milliseconds pause{300};

    struct Event
    {
        std::uint64_t number = 0; ///< of the verdict; 0: none yet
        std::string text;         ///< JSON
    };
    /// The latest picture, or the one before where that is not older than `pause`. On the caller's thread.
    std::shared_ptr<const Event> Latest(const LiveState& state);
    /// Pictures that were encoded.
    std::uint64_t Encoded() const;

private:
    mutable std::mutex m_mutex;
    std::shared_ptr<const Event> m_event = std::make_shared<Event>();
    std::chrono::steady_clock::time_point m_made;
    std::uint64_t m_encoded = 0;
};

} // namespace narvo::tools
