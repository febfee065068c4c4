// SPDX-License-Identifier: MIT
// Lanes for callers on many threads: who comes when all lanes are taken waits for the next free one.
#pragma once

#include <condition_variable>
#include <mutex>
#include <vector>

namespace narvo::python
{

/// Numbers of free lanes.
class LaneQueue
{
public:
    explicit LaneQueue(int lanes)
    {
        for (int lane = lanes; lane > 0; --lane)
            m_free.push_back(lane - 1);
    }

    /// A lane, held until this object goes.
    class Hold
    {
    public:
        explicit Hold(LaneQueue& queue) : m_queue(queue), m_lane(queue.Take()) {}
        ~Hold() { m_queue.Give(m_lane); }
        Hold(const Hold&) = delete;
        Hold& operator=(const Hold&) = delete;

        int Lane() const { return m_lane; }

    private:
        LaneQueue& m_queue;
        int m_lane;
    };

private:
    int Take()
    {
        std::unique_lock lock(m_mutex);
        m_given.wait(lock, [&] { return !m_free.empty(); });
        const int lane = m_free.back();
        m_free.pop_back();
        return lane;
    }
    void Give(int lane)
    {
        {
            const std::lock_guard lock(m_mutex);
            m_free.push_back(lane);
        }
        m_given.notify_one();
    }

    std::mutex m_mutex;
    std::condition_variable m_given;
    std::vector<int> m_free;
};

} // namespace narvo::python
