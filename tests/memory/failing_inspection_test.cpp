// SPDX-License-Identifier: MIT
// Every path through the engine with every one of its allocations failing in turn: the call returns, reports when it
// could not inspect everything, and leaves a working pool.
#include <cstdlib>
#include <string>

#include "gtest/gtest.h"

#include "memory/failing_heap.h"
#include "support/inspection_set.h"

namespace
{

using namespace narvo::test;

template <class TElement>
void FreeArray(CScratchArray<TElement>& array)
{
    std::free(array.pData);
    array.pData = nullptr;
    array.nCapacity = array.nSize = 0;
}

/// The arrays that an engine keeps from call to call: without them the next call allocates like a first one.
void FreeScratch(CNarvoAssem& engine)
{
    FreeArray(engine.ConBuffComp);
    FreeArray(engine.ConBuffComp2);
    FreeArray(engine.Int64BuffComp);
    for (int i = 0; engine.pThreadControl != nullptr && i < engine.pThreadControl->GetCount(); ++i)
        FreeScratch(*engine.pThreadControl->GetAssem(i));
}

/// One pool for all cases, so that it is not made again for every failure.
CAssemControl& GetPool()
{
    static CAssemControl pool;
    if (pool.nAssemCount == 0)
        pool.InitAssemControl(1, 2000);
    return pool;
}

/// Checks one inspection under every failure.
void TestInspection(const SInspection& inspection)
{
    SCOPED_TRACE(inspection.strName);
    CAssemControl& pool = GetPool();
    CNarvoAssem& engine = *pool.GetNarvoAssem(0);

    SFound expected;
    RunOnFreshThread([&] { expected = ReadFound(pool, 0, RunOnPool(pool, 0, inspection)); });
    FreeScratch(engine);
    ASSERT_EQ(expected.nCode, 1);
    ASSERT_GT(expected.blobs.size(), 0U);

    const long nAllocations = FailEachInTurn(
        [&](const SFailures& failures)
        {
            pool.ResetReinspectCount();
            CFailingHeap heap(failures);
            const int nCode = RunOnPool(pool, 0, inspection);
            const long nAsked = heap.Stop();
            // 1 means that nothing is missing, 16 that part was not inspected.
            if (nCode == 1)
                EXPECT_TRUE(ReadFound(pool, 0, nCode) == expected) << "failure " << failures.nFirst;
            else
                EXPECT_EQ(nCode, 16);
            pool.ResetReinspectCount();
            const int nNext = RunOnPool(pool, 0, inspection);
            EXPECT_TRUE(ReadFound(pool, 0, nNext) == expected) << "the call after failure " << failures.nFirst;
            pool.ResetReinspectCount();
            FreeScratch(engine);
            return nAsked;
        });
    // Binarise mode has no working memory, but its merges have.
    EXPECT_GT(nAllocations, inspection.strName == "binarise" ? 0 : 3);
}

TEST(FailingInspection, ReportsWhatItLeftOutAndTheNextCallFindsTheSame)
{
    const CInspectionSet set(208, 80, 90, 11);
    for (const SInspection& inspection : set.Get())
        TestInspection(inspection);
}

TEST(FailingInspection, BandsThatRanOutOfMemoryTurnTheResultTo16)
{
    if (!ForkedThreadsEndWithTheirParent())
        GTEST_SKIP() << "this OpenMP runtime keeps its threads and their memory";
    // Two bands of 2048 columns.
    const CInspectionSet set(4096, 64, 300, 12);
    for (const SInspection& inspection : set.Get())
        if (inspection.strName == "zone, strips" || inspection.strName == "pixel, strips" ||
            inspection.strName == "float, strips, 2 by 2")
            TestInspection(inspection);
}

TEST(FailingInspection, ThreadsFreeTheirWorkingMemoryWhenTheyEnd)
{
    const CInspectionSet set(208, 80, 90, 11);
    CAssemControl& pool = GetPool();
    const long nBefore = CountLiveBlocks();
    long nHeld = 0;
    RunOnFreshThread(
        [&]
        {
            for (const SInspection& inspection : set.Get())
                RunOnPool(pool, 0, inspection);
            FreeScratch(*pool.GetNarvoAssem(0));
            nHeld = CountLiveBlocks() - nBefore;
        });
    EXPECT_GT(nHeld, 10);
    EXPECT_EQ(CountLiveBlocks(), nBefore);
}

} // namespace
