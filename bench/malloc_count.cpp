// SPDX-License-Identifier: MIT
// See malloc_count.h. The C library's allocation functions are replaced in this binary by ones that count and call
// the original; new and delete use them too.
#include "bench/malloc_count.h"

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <malloc.h>

extern "C"
{
    void* __libc_malloc(std::size_t nSize);
    void* __libc_calloc(std::size_t nCount, std::size_t nSize);
    void* __libc_realloc(void* pBlock, std::size_t nSize);
    void* __libc_memalign(std::size_t nAlignment, std::size_t nSize);
    void __libc_free(void* pBlock);
}

namespace
{

std::atomic<bool> bCounting{false};
std::atomic<std::size_t> nCalls{0};
// Blocks from before the start may be freed meanwhile: the sum is signed.
std::atomic<std::ptrdiff_t> nLive{0};
std::atomic<std::ptrdiff_t> nPeak{0};

void* CountAllocated(void* pBlock)
{
    if (pBlock != nullptr && bCounting.load(std::memory_order_relaxed))
    {
        ++nCalls;
        const std::ptrdiff_t nNow = nLive += static_cast<std::ptrdiff_t>(malloc_usable_size(pBlock));
        std::ptrdiff_t nOld = nPeak;
        while (nNow > nOld && !nPeak.compare_exchange_weak(nOld, nNow))
        {
        }
    }
    return pBlock;
}

void CountFreed(void* pBlock)
{
    if (pBlock != nullptr && bCounting.load(std::memory_order_relaxed))
        nLive -= static_cast<std::ptrdiff_t>(malloc_usable_size(pBlock));
}

} // namespace

extern "C"
{

    void* malloc(std::size_t nSize)
    {
        return CountAllocated(__libc_malloc(nSize));
    }

    void* calloc(std::size_t nCount, std::size_t nSize)
    {
        return CountAllocated(__libc_calloc(nCount, nSize));
    }

    void* realloc(void* pBlock, std::size_t nSize)
    {
        CountFreed(pBlock);
        return CountAllocated(__libc_realloc(pBlock, nSize));
    }

    void* memalign(std::size_t nAlignment, std::size_t nSize)
    {
        return CountAllocated(__libc_memalign(nAlignment, nSize));
    }

    void* aligned_alloc(std::size_t nAlignment, std::size_t nSize)
    {
        return CountAllocated(__libc_memalign(nAlignment, nSize));
    }

    int posix_memalign(void** ppBlock, std::size_t nAlignment, std::size_t nSize)
    {
        void* pBlock = CountAllocated(__libc_memalign(nAlignment, nSize));
        if (pBlock == nullptr)
            return ENOMEM;
        *ppBlock = pBlock;
        return 0;
    }

    void free(void* pBlock)
    {
        CountFreed(pBlock);
        __libc_free(pBlock);
    }
}

namespace bench
{

void StartHeapCount()
{
    nCalls = 0;
    nLive = 0;
    nPeak = 0;
    bCounting = true;
}

SHeapUse StopHeapCount()
{
    bCounting = false;
    return {nCalls, static_cast<std::size_t>(nPeak.load())};
}

} // namespace bench
