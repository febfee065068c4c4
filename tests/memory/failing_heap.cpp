// SPDX-License-Identifier: MIT
// The heap's functions wrapped by the linker (see CMakeLists.txt here), pixman's calls of them, and the C++ operators
// built on them.
#include "memory/failing_heap.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <climits>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <new>
#include <thread>

#include <malloc.h>

#include "gtest/gtest.h"

#include "memory/redirected_imports.h"

extern "C"
{
    void* __real_malloc(std::size_t nBytes);
    void* __real_calloc(std::size_t nCount, std::size_t nBytes);
    void* __real_realloc(void* pBlock, std::size_t nBytes);
    void* __real_aligned_alloc(std::size_t nAlignment, std::size_t nBytes);
    int __real_posix_memalign(void** ppBlock, std::size_t nAlignment, std::size_t nBytes);
    void __real_free(void* pBlock);
}

namespace
{

std::atomic<bool> bArmed{false};
std::atomic<long> nAsked{0};
std::atomic<long> nFirstFailing{0};
std::atomic<long> nEndFailing{0};
std::atomic<long> nLiveBlocks{0};

bool IsGranted()
{
    if (!bArmed.load(std::memory_order_relaxed))
        return true;
    const long n = nAsked.fetch_add(1, std::memory_order_relaxed);
    return n < nFirstFailing.load(std::memory_order_relaxed) || n >= nEndFailing.load(std::memory_order_relaxed);
}

std::ptrdiff_t CountThreads()
{
    const std::filesystem::directory_iterator threads("/proc/self/task");
    return std::distance(begin(threads), end(threads));
}

/// Waits until no more than nMost threads are left: those of the OpenMP runtime end some time later.
bool WaitForThreads(std::ptrdiff_t nMost, int nMilliseconds)
{
    while (CountThreads() > nMost && nMilliseconds-- > 0)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    return CountThreads() <= nMost;
}

/// Fills the bytes of a fresh block with another value each time: a result that depends on uninitialised memory
/// differs from run to run. Of long blocks only the beginning, which is all that small scenes reach.
void FillWithGarbage(void* pBlock, std::size_t nFirst, std::size_t nEnd)
{
    static std::atomic<unsigned> nGarbage{0};
    constexpr std::size_t nLimit = std::size_t{1} << 18;
    nEnd = std::min(nEnd, nFirst + nLimit);
    if (pBlock != nullptr && nFirst < nEnd)
        std::memset(static_cast<char*>(pBlock) + nFirst, static_cast<int>(nGarbage += 37), nEnd - nFirst);
}

void* Count(void* pBlock)
{
    if (pBlock != nullptr)
        nLiveBlocks.fetch_add(1, std::memory_order_relaxed);
    return pBlock;
}

} // namespace

extern "C"
{
    void* __wrap_malloc(std::size_t nBytes)
    {
        if (!IsGranted())
            return nullptr;
        void* const pBlock = Count(__real_malloc(nBytes));
        FillWithGarbage(pBlock, 0, nBytes);
        return pBlock;
    }

    void* __wrap_calloc(std::size_t nCount, std::size_t nBytes)
    {
        return IsGranted() ? Count(__real_calloc(nCount, nBytes)) : nullptr;
    }

    void* __wrap_realloc(void* pBlock, std::size_t nBytes)
    {
        if (!IsGranted())
            return nullptr;
        const std::size_t nOld = pBlock == nullptr ? 0 : malloc_usable_size(pBlock);
        void* const pNew = __real_realloc(pBlock, nBytes);
        FillWithGarbage(pNew, nOld, nBytes);
        return pBlock == nullptr ? Count(pNew) : pNew;
    }

    void* __wrap_aligned_alloc(std::size_t nAlignment, std::size_t nBytes)
    {
        return IsGranted() ? Count(__real_aligned_alloc(nAlignment, nBytes)) : nullptr;
    }

    int __wrap_posix_memalign(void** ppBlock, std::size_t nAlignment, std::size_t nBytes)
    {
        if (!IsGranted())
            return 12; // ENOMEM
        const int nError = __real_posix_memalign(ppBlock, nAlignment, nBytes);
        if (nError == 0)
            Count(*ppBlock);
        return nError;
    }

    void __wrap_free(void* pBlock)
    {
        if (pBlock != nullptr)
            nLiveBlocks.fetch_sub(1, std::memory_order_relaxed);
        __real_free(pBlock);
    }
}

namespace
{

/// pixman is a shared library, whose calls the linker does not wrap.
const int nRedirectedInPixman = []
{
    const narvo::test::SRedirection aRedirections[] = {{"malloc", reinterpret_cast<void*>(&__wrap_malloc)},
                                                       {"calloc", reinterpret_cast<void*>(&__wrap_calloc)},
                                                       {"realloc", reinterpret_cast<void*>(&__wrap_realloc)},
                                                       {"free", reinterpret_cast<void*>(&__wrap_free)}};
    return narvo::test::RedirectImports("libpixman-1.so", aRedirections);
}();

} // namespace

void* operator new(std::size_t nBytes, const std::nothrow_t&) noexcept
{
    return __wrap_malloc(nBytes == 0 ? 1 : nBytes);
}

void* operator new(std::size_t nBytes)
{
    if (void* const pBlock = operator new(nBytes, std::nothrow))
        return pBlock;
    throw std::bad_alloc();
}

// The array forms too: a sanitizer's own do not call the others.
void* operator new[](std::size_t nBytes, const std::nothrow_t& nothrow) noexcept
{
    return operator new(nBytes, nothrow);
}

void* operator new[](std::size_t nBytes)
{
    return operator new(nBytes);
}

void operator delete(void* pBlock) noexcept
{
    __wrap_free(pBlock);
}

void operator delete(void* pBlock, std::size_t /*nBytes*/) noexcept
{
    __wrap_free(pBlock);
}

void operator delete[](void* pBlock) noexcept
{
    __wrap_free(pBlock);
}

void operator delete[](void* pBlock, std::size_t /*nBytes*/) noexcept
{
    __wrap_free(pBlock);
}

namespace narvo::test
{

SFailures SFailures::From(long n)
{
    return {n, LONG_MAX};
}

CFailingHeap::CFailingHeap(const SFailures& failures)
{
    nAsked = 0;
    nFirstFailing = failures.nFirst;
    nEndFailing = failures.nEnd;
    bArmed = true;
}

CFailingHeap::~CFailingHeap()
{
    Stop();
}

long CFailingHeap::Stop()
{
    bArmed = false;
    return nAsked;
}

int CountRedirectedInPixman()
{
    return nRedirectedInPixman;
}

long CountLiveBlocks()
{
    return nLiveBlocks;
}

void RunOnFreshThread(const std::function<void()>& fnWork)
{
    const std::ptrdiff_t nBefore = CountThreads();
    std::thread(fnWork).join();
    ASSERT_TRUE(WaitForThreads(nBefore, 10000));
}

bool ForkedThreadsEndWithTheirParent()
{
    static const bool bEnd = []
    {
        const std::ptrdiff_t nBefore = CountThreads();
        std::atomic<int> nForked{0};
        std::thread(
            [&nForked]
            {
#pragma omp parallel num_threads(2)
                ++nForked;
            })
            .join();
        return nForked == 2 && WaitForThreads(nBefore, 2000);
    }();
    return bEnd;
}

long FailEachInTurn(const std::function<long(const SFailures&)>& fnWork)
{
    const auto run = [&fnWork](const SFailures& failures)
    {
        const long nBefore = CountLiveBlocks();
        long nAllocations = 0;
        RunOnFreshThread([&] { nAllocations = fnWork(failures); });
        EXPECT_EQ(CountLiveBlocks(), nBefore)
            << "blocks left with failures from " << failures.nFirst << " to " << failures.nEnd;
        return nAllocations;
    };
    const long nAllocations = run(SFailures::None());
    // A run may allocate more when an earlier allocation failed.
    for (long n = 0, nReached = nAllocations; n < nReached && !testing::Test::HasFailure(); ++n)
    {
        nReached = std::max(nReached, run(SFailures::Only(n)));
        run(SFailures::From(n));
    }
    return nAllocations;
}

} // namespace narvo::test
