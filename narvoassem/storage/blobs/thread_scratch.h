// SPDX-License-Identifier: MIT
// Working memory of the searches in this folder: one growing block per thread, so that repeating a similar call
// allocates nothing; it is freed with the thread. The stores' own arrays are elsewhere.
#pragma once

#include <cstddef>

#include "narvoassem/base/grow_buffer.h"
#include "narvoassem/base/thread_memory.h"

namespace narvo::engine
{

/// nWords ints of the calling thread, contents undefined; null when memory ran out. The next call on the same
/// thread reuses the block: one user at a time.
inline int* GetThreadScratch(std::size_t nWords)
{
    CGrowBuffer<int>& scratch = CThreadMemory<CGrowBuffer<int>>::Get();
    return scratch.Renew(nWords) ? scratch.Data() : nullptr;
}

} // namespace narvo::engine
