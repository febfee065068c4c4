// SPDX-License-Identifier: MIT
// What the latest images have in common, worked out for those who look.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "tools/live/live_state.h"
#include "tools/live/shared_event.h"

namespace narvo::tools
{

/// Tests and charts of the latest images, as SharedEvent; with `last`, those of all images.
class LiveLot
{
public:
    std::shared_ptr<const SharedEvent::Event> Latest(const LiveState& state, bool last = false);
    std::uint64_t Made() const { return m_event.Made(); }

private:
    SharedEvent m_event;
};

/// A lot as the page takes it: at most 20 places of each test, the latest 300 points of each chart and its latest 50
/// alarms. Places in a cell stand as shares of its two vectors, counted from the image's corner.
std::string LotEventText(const LiveState& state);

} // namespace narvo::tools
