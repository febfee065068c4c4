// The heap as the library sees it in these tests: allocations can be told to fail, blocks that are held are counted,
// and fresh blocks hold litter, another one each time. What the library, pixman and the C++ library's templates
// allocate is covered; what shared libraries allocate for themselves (C library, OpenMP runtime) is not, but for their
// C++ operators.
#pragma once

#include <functional>

namespace narvo::test
{

/// Allocations of all threads count from 0 when the failing begins.
struct SFailures
{
    long nFirst; ///< the first that fails
    long nEnd;   ///< the first behind it that is granted again

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

    /// @return allocations that were asked for, granted or not
    long Stop();
};

/// How many of pixman's calls of the heap come here.
int CountRedirectedInPixman();

/// Blocks held by the whole process.
long CountLiveBlocks();

/// Runs the work on a thread of its own, which takes the library's working memory of that thread with it; so do the
/// threads that the work starts.
void RunOnFreshThread(const std::function<void()>& fnWork);

/// Whether the OpenMP runtime ends the threads of a forked region when the thread that forked ends, as GCC's does. One
/// that keeps them (clang's) keeps the library's working memory of theirs too, and shows nothing of how it is given
/// back.
bool ForkedThreadsEndWithTheirParent();

/// Calls fnWork with every allocation that it makes failing alone, then with every allocation and all behind it
/// failing. fnWork constructs the CFailingHeap in front of what it tests and gives back what Stop says behind it. Each
/// call runs on a fresh thread and must leave no block behind.
/// @return allocations that fnWork makes when none fails
long FailEachInTurn(const std::function<long(const SFailures&)>& fnWork);

} // namespace narvo::test
