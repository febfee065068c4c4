// SPDX-License-Identifier: MIT
// Frames that wait for a lane: a bounded queue, and what happens to a frame for which it has no room.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <mutex>
#include <optional>
#include <utility>

namespace narvo::tools
{

enum WhenFull : int
{
    WhenFull_Wait,       ///< the source waits
    WhenFull_DropOldest, ///< the frame that has waited longest is given up
    WhenFull_Stop        ///< the run ends with what waits
};

/// Any threads may add and take.
template <typename Item>
class FrameQueue
{
public:
    /// `room` is at least 1.
    FrameQueue(std::size_t room, WhenFull whenFull) : m_room(room), m_whenFull(whenFull) {}

    /// @return false where the queue is closed, or full and to stop at that: the item was dropped
    bool Add(Item item)
    {
        std::unique_lock lock(m_mutex);
        if (m_whenFull == WhenFull_Wait)
            m_changed.wait(lock, [&] { return m_closed || m_items.size() < m_room; });
        const bool full = m_items.size() == m_room;
        m_overrun = m_overrun || (!m_closed && full && m_whenFull == WhenFull_Stop);
        m_dropped += m_closed || full ? 1 : 0;
        if (m_closed || m_overrun)
            return false;
        if (full)
            m_items.pop_front();
        m_items.push_back(std::move(item));
        lock.unlock();
        m_changed.notify_all();
        return true;
    }

    /// Waits for the next item; `begin` is called with it before another one can be taken.
    /// @return nothing when the queue is closed and empty
    template <typename Begin>
    std::optional<Item> Take(Begin begin)
    {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [&] { return m_closed || !m_items.empty(); });
        if (m_items.empty())
            return std::nullopt;
        std::optional<Item> item(std::move(m_items.front()));
        m_items.pop_front();
        begin(*item);
        lock.unlock();
        m_changed.notify_all();
        return item;
    }

    /// Nothing is added from here on; what waits may still be taken.
    void Close()
    {
        {
            const std::scoped_lock lock(m_mutex);
            m_closed = true;
        }
        m_changed.notify_all();
    }
    /// The same, and gives up what waits.
    void Abandon()
    {
        {
            const std::scoped_lock lock(m_mutex);
            m_closed = true;
            m_dropped += m_items.size();
            m_items.clear();
        }
        m_changed.notify_all();
    }

    /// Items that wait now.
    std::size_t Waiting() const
    {
        const std::scoped_lock lock(m_mutex);
        return m_items.size();
    }
    std::uint64_t Dropped() const
    {
        const std::scoped_lock lock(m_mutex);
        return m_dropped;
    }
    /// Whether an item was refused by WhenFull_Stop.
    bool IsOverrun() const
    {
        const std::scoped_lock lock(m_mutex);
        return m_overrun;
    }

private:
    std::size_t m_room;
    WhenFull m_whenFull;
    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<Item> m_items;
    std::uint64_t m_dropped = 0;
    bool m_closed = false;
    bool m_overrun = false;
};

} // namespace narvo::tools
