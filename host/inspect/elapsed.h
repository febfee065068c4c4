// SPDX-License-Identifier: MIT
// Elapsed time, for the times that results report.
#pragma once

#include <chrono>

namespace narvo
{

inline double MillisecondsSince(std::chrono::steady_clock::time_point start)
{
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

} // namespace narvo
