// SPDX-License-Identifier: MIT
// Counts the heap allocations of the process between two points.
#pragma once

#include <cstddef>

namespace bench
{

struct SHeapUse
{
    std::size_t nCalls;     ///< allocations and reallocations
    std::size_t nPeakBytes; ///< highest sum of live bytes above that at the start
};

/// Starts counting, over all threads.
void StartHeapCount();
SHeapUse StopHeapCount();

} // namespace bench
