// SPDX-License-Identifier: MIT
/// @file
/// Elapsed time on a monotonic clock.
#pragma once

#include <cstdint>

#include "narvoassem/export.h"

/// Start, stop, read milliseconds.
class NARVO_API CStopWatch
{
public:
    std::int64_t nFrequency; ///< ticks per second
    std::int64_t nStart;     ///< tick count at Start
    std::int64_t nStop;      ///< tick count at Stop
    float fElapsed;          ///< seconds between the two, 0 at construction

    /// Reads the clock's frequency; the times are 0.
    CStopWatch();
    /// Frees nothing.
    virtual ~CStopWatch();
    /// Notes the time.
    void Start();
    /// Notes the time and sets fElapsed.
    void Stop();
    /// fElapsed times 1000.
    float GetElapsedMs() const;
};
