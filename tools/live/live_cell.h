// SPDX-License-Identifier: MIT
// What the latest images show in every cell of the pattern, worked out for those who look.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "tools/cell/cell_repeats.h"
#include "tools/live/live_state.h"
#include "tools/live/shared_event.h"

namespace narvo::tools
{

/// The latest picture held against the golden cell when it is asked for, and the places that differed since the start.
/// Images that come while nobody looks, or too fast, are not held against it.
class LiveCell
{
public:
    static constexpr std::size_t nListedPlaces = 20;

    /// Number 0 without a golden cell and before the first picture; otherwise as SharedEvent.
    std::shared_ptr<const SharedEvent::Event> Latest(const LiveState& state, bool last = false);
    std::uint64_t Made() const { return m_event.Made(); }

private:
    std::string Compare(const LiveState& state, const LiveState::Picture& picture);

    SharedEvent m_event;
    // Of the one who works the event out.
    CellRepeats m_repeats;
    std::vector<std::string> m_regions; ///< names
};

} // namespace narvo::tools
