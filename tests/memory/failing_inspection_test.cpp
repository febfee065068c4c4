// Every way through the engine with every one of its allocations failing in turn: the call answers, tells when it could
// not look at everything, and leaves the pool as good as new.
#include <cstdlib>
#include <string>

#include "gtest/gtest.h"

#include "memory/failing_heap.h"
#include "support/inspection_set.h"

namespace
{

using namespace narvo::test;

template <class TElement>
void GiveBack(CScratchArray<TElement>& array)
{
    std::free(array.pData);
    array.pData = nullptr;
    array.nCapacity = array.nSize = 0;
}

/// The arrays that an engine keeps from call to call: without them the next call allocates as a first one does.
void GiveBackScratch(CNarvoAssem& engine)
{
    GiveBack(engine.ConBuffComp);
    GiveBack(engine.ConBuffComp2);
    GiveBack(engine.Int64BuffComp);
    for (int i = 0; engine.pThreadControl != nullptr && i < engine.pThreadControl->GetCount(); ++i)
        GiveBackScratch(*engine.pThreadControl->GetAssem(i));
}

/// One pool for all cases: what it costs to make one is not to be paid at every failure.
CAssemControl& GetPool()
{
    static CAssemControl pool;
    if (pool.nAssemCount == 0)
        pool.InitAssemControl(1, 2000);
    return pool;
}

/// Holds one inspection to its promises under every failure.
void TestInspection(const SInspection& inspection)
{
    SCOPED_TRACE(inspection.strName);
    CAssemControl& pool = GetPool();
    CNarvoAssem& engine = *pool.GetNarvoAssem(0);

    SFound expected;
    RunOnFreshThread([&] { expected = ReadFound(pool, 0, RunOnPool(pool, 0, inspection)); });
    GiveBackScratch(engine);
    ASSERT_EQ(expected.nCode, 1);
    ASSERT_GT(expected.blobs.size(), 0U);

    const long nAllocations = FailEachInTurn(
        [&](const SFailures& failures)
        {
            pool.ResetReinspectCount();
            CFailingHeap heap(failures);
            const int nCode = RunOnPool(pool, 0, inspection);
            const long nAsked = heap.Stop();
            // 1 says that nothing is missing; what could not be looked at is told by 16.
            if (nCode == 1)
                EXPECT_TRUE(ReadFound(pool, 0, nCode) == expected) << "failure " << failures.nFirst;
            else
                EXPECT_EQ(nCode, 16);
            pool.ResetReinspectCount();
            const int nNext = RunOnPool(pool, 0, inspection);
            EXPECT_TRUE(ReadFound(pool, 0, nNext) == expected) << "the call after failure " << failures.nFirst;
            pool.ResetReinspectCount();
            GiveBackScratch(engine);
            return nAsked;
        });
    // Binarise mode has no working memory, but its merges have.
    EXPECT_GT(nAllocations, inspection.strName == "binarise" ? 0 : 3);
}

TEST(FailingInspection, TellsWhatItLeftOutAndTheNextCallFindsTheSame)
{
    const CInspectionSet set(208, 80, 90, 11);
    for (const SInspection& inspection : set.Get())
        TestInspection(inspection);
}

TEST(FailingInspection, BandsThatRanShortTurnTheAnswerTo16)
{
    if (!ForkedThreadsEndWithTheirParent())
        GTEST_SKIP() << "this OpenMP runtime keeps its threads and what they hold";
    // Two bands of 2048 columns.
    const CInspectionSet set(4096, 64, 300, 12);
    for (const SInspection& inspection : set.Get())
        if (inspection.strName == "zone, strips" || inspection.strName == "pixel, strips" ||
            inspection.strName == "float, strips, 2 by 2")
            TestInspection(inspection);
}

TEST(FailingInspection, ThreadsGiveTheirWorkingMemoryBackWhenTheyEnd)
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
            GiveBackScratch(*pool.GetNarvoAssem(0));
            nHeld = CountLiveBlocks() - nBefore;
        });
    EXPECT_GT(nHeld, 10);
    EXPECT_EQ(CountLiveBlocks(), nBefore);
}

} // namespace
