// SPDX-License-Identifier: MIT
// Lanes for whatever threads call: each call takes a free one, and waits while there is none.
#pragma once

#include <condition_variable>
#include <mutex>
#include <vector>

#include "host/inspect/inspector.h"

namespace narvo::library
{

/// Engines, and which of them are free.
class LaneSet
{
public:
    /// @throws HostError as Inspector
    LaneSet(int lanes, int maxBlobs) : m_inspector(lanes, maxBlobs), m_maxBlobs(maxBlobs)
    {
        for (int lane = lanes - 1; lane >= 0; --lane)
            m_free.push_back(lane);
    }

    int Lanes() const { return m_inspector.Lanes(); }
    int MaxBlobs() const { return m_maxBlobs; }

private:
    friend class LaneHold;

    narvo::Inspector m_inspector;
    int m_maxBlobs;
    std::mutex m_mutex;
    std::condition_variable m_returned;
    std::vector<int> m_free; ///< the one that was returned last is taken first: its memory is warm
};

/// A lane for one call.
class LaneHold
{
public:
    /// Waits while none is free.
    explicit LaneHold(LaneSet& lanes) : m_lanes(lanes)
    {
        std::unique_lock lock(m_lanes.m_mutex);
        m_lanes.m_returned.wait(lock, [&] { return !m_lanes.m_free.empty(); });
        m_lane = m_lanes.m_free.back();
        m_lanes.m_free.pop_back();
    }
    ~LaneHold()
    {
        {
            const std::lock_guard lock(m_lanes.m_mutex);
            m_lanes.m_free.push_back(m_lane); // within its capacity
        }
        m_lanes.m_returned.notify_one();
    }
    LaneHold(const LaneHold&) = delete;
    LaneHold& operator=(const LaneHold&) = delete;

    narvo::Inspector& Engines() const { return m_lanes.m_inspector; }
    int Lane() const { return m_lane; }

private:
    LaneSet& m_lanes;
    int m_lane = 0;
};

} // namespace narvo::library
