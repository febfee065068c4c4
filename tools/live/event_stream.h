// SPDX-License-Identifier: MIT
// What one reader of the page's events is sent, piece by piece.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

#include "tools/live/live_cell.h"
#include "tools/live/live_lot.h"
#include "tools/live/live_picture.h"
#include "tools/live/live_state.h"

namespace narvo::tools
{

/// Server-sent events: `state` at the start, then `verdict` for each image, and `status`, `maps`, `picture`,
/// `lot` and `cell` from time to time where they have changed; `ended` at the end. Nothing is kept for a reader: one
/// that falls further behind than the state keeps verdicts is left, and gets the state anew when it comes back.
class EventStream
{
public:
    /// `lastId` is what a reader who comes back says that it has last got; empty: nothing.
    EventStream(const LiveState& state, LivePicture& picture, LiveLot& lot, LiveCell& cell, const std::string& lastId);

    /// The next piece, for which it may wait a fraction of a second; it may be empty. Nothing more is to be sent when
    /// IsOver.
    std::string Next();
    bool IsOver() const { return m_over; }

private:
    using Clock = std::chrono::steady_clock;

    std::string Begin();
    void AddChanged(std::string& piece, bool all);
    std::string IdOf(std::uint64_t number) const;

    const LiveState& m_state;
    LivePicture& m_picture;
    LiveLot& m_lot;
    LiveCell& m_cell;
    std::uint64_t m_resumeBehind = 0;
    bool m_resumes = false;
    bool m_begun = false;
    bool m_over = false;
    std::uint64_t m_number = 0; ///< of the last verdict sent
    std::uint64_t m_pictureNumber = 0;
    std::uint64_t m_lotNumber = 0;
    std::uint64_t m_cellNumber = 0;
    std::string m_status;
    std::string m_maps;
    Clock::time_point m_statusAt;
    Clock::time_point m_mapsAt;
    Clock::time_point m_sentAt;
};

} // namespace narvo::tools
