// Working memory of the searches in this folder: one growing block per thread, so that a second like call allocates
// nothing; it goes with the thread. The stores' own arrays are elsewhere.
#pragma once

#include <cstddef>

#include "narvoassem/base/grow_buffer.h"
#include "narvoassem/base/thread_memory.h"

namespace narvo::engine
{

/// nWords ints of the calling thread, contents undefined; null when memory could not be had. The next call on the same
/// thread takes the block over: one user at a time.
inline int* GetThreadScratch(std::size_t nWords)
{
    CGrowBuffer<int>& scratch = CThreadMemory<CGrowBuffer<int>>::Get();
    return scratch.Renew(nWords) ? scratch.Data() : nullptr;
}

} // namespace narvo::engine
