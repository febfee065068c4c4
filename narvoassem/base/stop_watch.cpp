// SPDX-License-Identifier: MIT
// The stop watch on the monotonic clock.
#include "narvoassem/stopwatch.h"

#include <chrono>

namespace
{

std::int64_t GetTickCount()
{
    return std::chrono::steady_clock::now().time_since_epoch().count();
}

} // namespace

CStopWatch::CStopWatch()
    : nFrequency(std::chrono::steady_clock::period::den / std::chrono::steady_clock::period::num), nStart(0), nStop(0),
      fElapsed(0.0F)
{
}

CStopWatch::~CStopWatch() = default;

void CStopWatch::Start()
{
    nStart = GetTickCount();
}

void CStopWatch::Stop()
{
    nStop = GetTickCount();
    fElapsed = static_cast<float>(nStop - nStart) / static_cast<float>(nFrequency);
}

float CStopWatch::GetElapsedMs() const
{
    return fElapsed * 1000.0F;
}
