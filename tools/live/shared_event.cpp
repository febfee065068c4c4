// SPDX-License-Identifier: MIT
// One computation for all who look.
#include "tools/live/shared_event.h"

#include <algorithm>

namespace narvo::tools
{

std::shared_ptr<const SharedEvent::Event> SharedEvent::Latest(std::uint64_t number, bool last,
                                                              const std::function<std::string()>& make)
{
    std::unique_lock making(m_making, std::defer_lock);
    if (last)
        making.lock();
    else if (!making.try_lock())
    {
        const std::scoped_lock lock(m_mutex);
        return m_event;
    }
    const Clock::time_point begun = Clock::now();
    {
        const std::scoped_lock lock(m_mutex);
        if (number == m_event->number || (!last && begun < m_next))
            return m_event;
    }
    const auto event = std::make_shared<const Event>(Event{number, make()});
    const Clock::time_point done = Clock::now();
    const std::scoped_lock lock(m_mutex);
    m_event = event;
    m_next = done + std::max<Clock::duration>(pause, (done - begun) * (nShare - 1));
    ++m_made;
    return m_event;
}

std::uint64_t SharedEvent::Made() const
{
    const std::scoped_lock lock(m_mutex);
    return m_made;
}

} // namespace narvo::tools
