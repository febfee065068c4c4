// SPDX-License-Identifier: MIT
// The heap as the library sees it in these tests: allocations can be made to fail, live blocks are counted, and
// fresh blocks are filled with garbage, different each time. What the library, pixman and the C++ library's templates
// allocate is covered; what shared libraries allocate for themselves (C library, OpenMP runtime) is not, except by
// their C++ operators.
#pragma once

#include <functional>

namespace narvo::test
{

/// Allocations of all threads are counted from 0 when the failures begin.
struct SFailures
{
    long nFirst; ///< the first that fails
    long nEnd;   ///< the first after it that succeeds again

    static SFailures None() { return {0, 0}; }
    static SFailures Only(long n) { return {n, n + 1}; }
    static SFailures From(long n);
};

/// Fails allocations until Stop or its end. Nothing else of the process may allocate meanwhile.
class CFailingHeap
{
public:
    explicit CFailingHeap(const SFailures& failures);
    CFailingHeap(const CFailingHeap&) = delete;
    CFailingHeap& operator=(const CFailingHeap&) = delete;
    ~CFailingHeap();

    /// @return number of allocation requests, successful or not
    long Stop();
};

/// How many of pixman's heap functions are redirected here.
int CountRedirectedInPixman();

/// Blocks held by the whole process.
long CountLiveBlocks();

/// Runs the work on a thread of its own, which frees the library's working memory of that thread at its end; so do the
/// threads that the work starts.
void RunOnFreshThread(const std::function<void()>& fnWork);

/// Whether the OpenMP runtime ends the threads of a forked region when the thread that forked ends, as GCC's does. One
/// that keeps them (clang's) also keeps the library's working memory of theirs, so that its release cannot be
/// tested.
bool ForkedThreadsEndWithTheirParent();

/// Calls fnWork with every allocation that it makes failing alone, then with every allocation and all after it
/// failing. fnWork constructs the CFailingHeap before what it tests and returns the result of Stop after it. Each
/// call runs on a fresh thread and must not leak.
/// @return allocations that fnWork makes when none fails
long FailEachInTurn(const std::function<long(const SFailures&)>& fnWork);

} // namespace narvo::test
