// SPDX-License-Identifier: MIT
// Pool, engine, stores and scratch arrays with every allocation of their set-up failing in turn: what the initialisers
// return, what they leave, and that the next set-up works.
#include <algorithm>
#include <new>

#include "gtest/gtest.h"

#include "memory/failing_heap.h"
#include "support/inspection_set.h"

namespace
{

using namespace narvo::test;

TEST(FailingInit, PixelStoreIsEmptyAfterAFailureAndWorksAfterTheNextCall)
{
    const long nAllocations = FailEachInTurn(
        [](const SFailures& failures)
        {
            CPixelStorage store;
            EXPECT_EQ(store.InitPixelStorage(50), 50);
            CFailingHeap heap(failures);
            const int nResult = store.InitPixelStorage(100);
            const long nAsked = heap.Stop();
            if (failures.nEnd == 0)
                EXPECT_EQ(nResult, 100);
            else
                EXPECT_TRUE(nResult == 0 && store.nPixelSize == 0 && store.nPixelCapacity == 0 &&
                            store.pPixelX == nullptr && store.pPixelAux == nullptr);
            EXPECT_EQ(store.InitPixelStorage(100), 100);
            EXPECT_TRUE(store.pZoneIndex[99] == 0 && store.pThreshold[99] == 0);
            return nAsked;
        });
    EXPECT_EQ(nAllocations, 1);
}

TEST(FailingInit, PairStoreHasAllArraysOrNone)
{
    const long nAllocations = FailEachInTurn(
        [](const SFailures& failures)
        {
            CPairStorage store;
            EXPECT_EQ(store.InitPairStorage(50), 50);
            store.nPairCount = 7;
            CFailingHeap heap(failures);
            const int nResult = store.InitPairStorage(100);
            const long nAsked = heap.Stop();
            if (failures.nEnd == 0)
                EXPECT_EQ(nResult, 100);
            else
                EXPECT_TRUE(nResult == 0 && store.nPairSize == 0 && store.nPairCapacity == 0 &&
                            store.pPair == nullptr && store.pPairLabel == nullptr && store.pPairLinked == nullptr &&
                            store.pLabelOpened == nullptr);
            store.ResetPairStorage();
            store.TotalResetPairStorage();
            EXPECT_EQ(store.InitPairStorage(100), 100);
            EXPECT_EQ(store.nPairCount, 0);
            EXPECT_EQ(store.pPair[99].nDefectType, 3);
            return nAsked;
        });
    EXPECT_EQ(nAllocations, 4);
}

TEST(FailingInit, BlobStoreIsEmptyAfterAFailureAndWorksAfterTheNextCall)
{
    const long nAllocations = FailEachInTurn(
        [](const SFailures& failures)
        {
            CBlobStorage store;
            CDefectBlob blob;
            EXPECT_EQ(store.InitBlobStorage(5), 5);
            EXPECT_EQ(store.AddBlob(&blob), 1);
            CFailingHeap heap(failures);
            const int nResult = store.InitBlobStorage(10);
            const long nAsked = heap.Stop();
            if (failures.nEnd == 0)
                EXPECT_EQ(nResult, 10);
            else
                EXPECT_TRUE(nResult == 0 && store.nBlobSize == 0 && store.nBlobCapacity == 0 && store.nBlobCount == 0 &&
                            store.pBlob == nullptr && store.AddBlob(&blob) == 0);
            store.ResetBlobStorage();
            store.TotalResetBlobStorage();
            EXPECT_EQ(store.InitBlobStorage(10), 10);
            EXPECT_EQ(store.AddBlob(&blob), 1);
            return nAsked;
        });
    EXPECT_EQ(nAllocations, 1);
}

TEST(FailingInit, ScratchArrayLosesItsBlockWithoutMemoryAndGrowsAgain)
{
    FailEachInTurn(
        [](const SFailures& failures)
        {
            CScratchArray<short> array;
            EXPECT_EQ(array.Resize(10), 1);
            CFailingHeap heap(failures);
            const int nResult = array.Resize(20);
            const long nAsked = heap.Stop();
            if (failures.nEnd == 0)
                EXPECT_EQ(nResult, 1);
            else
                EXPECT_TRUE(nResult == 0 && array.nCapacity == 0 && array.GetSize() == 0 && array.GetData() == nullptr);
            EXPECT_EQ(array.Resize(20), 1);
            EXPECT_EQ(array.GetSize(), 20);
            return nAsked;
        });
}

/// The three stores of an engine exist, or the first missing one ended its set-up.
void ExpectStoresInOrder(const CNarvoAssem& engine, int nResult)
{
    const bool bPixels = engine.pPixelX != nullptr;
    const bool bPairs = engine.pPair != nullptr;
    const bool bBlobs = engine.pBlob != nullptr;
    EXPECT_EQ(nResult, bBlobs ? 1 : 0);
    EXPECT_TRUE(bPixels || !bPairs);
    EXPECT_TRUE(bPairs || !bBlobs);
    EXPECT_EQ(engine.nPixelSize, bPixels ? 160000 : 0);
    EXPECT_EQ(engine.nPairSize, bPairs ? 160000 : bPixels ? 0 : -1);
}

TEST(FailingInit, EngineReturns0AndKeepsTheStoresThatWereBuilt)
{
    const long nAllocations = FailEachInTurn(
        [](const SFailures& failures)
        {
            CNarvoAssem engine;
            CFailingHeap heap(failures);
            const int nResult = engine.InitAssem(3, 100);
            const long nAsked = heap.Stop();
            EXPECT_EQ(nResult, failures.nEnd == 0 ? 1 : 0);
            ExpectStoresInOrder(engine, nResult);
            engine.ResetNarvoAssem();
            EXPECT_EQ(engine.InitAssem(3, 100), 1);
            ExpectStoresInOrder(engine, 1);
            return nAsked;
        });
    EXPECT_EQ(nAllocations, 6);
}

TEST(FailingInit, InternalThreadsReturn1WheneverThePoolObjectExists)
{
    FailEachInTurn(
        [](const SFailures& failures)
        {
            CNarvoAssem engine;
            CFailingHeap heap(failures);
            const int nResult = engine.EnableInternalThread(2, 50);
            const long nAsked = heap.Stop();
            EXPECT_EQ(nResult, engine.pThreadControl != nullptr ? 1 : 0);
            EXPECT_EQ(nResult, failures.nFirst == 0 && failures.nEnd > 0 ? 0 : 1);
            if (engine.pThreadControl == nullptr)
            {
                EXPECT_EQ(engine.EnableInternalThread(2, 50), 1);
            }
            EXPECT_TRUE(engine.pThreadControl->GetCount() == 2 || engine.pThreadControl->GetCount() == 0);
            return nAsked;
        });
}

bool HasStores(const CNarvoAssem& engine)
{
    return engine.pPixelX != nullptr && engine.pPair != nullptr && engine.pBlob != nullptr;
}

/// Pool set-up, and an inspection with what it has set up, in bands.
TEST(FailingInit, PoolReturnsItsLanesOr0AndReportsWhatItDoesNotInspect)
{
    if (!ForkedThreadsEndWithTheirParent())
        GTEST_SKIP() << "this OpenMP runtime keeps its threads and their memory";
    const CInspectionSet set(4096, 64, 300, 12);
    const SInspection* pStrips = nullptr;
    for (const SInspection& inspection : set.Get())
        if (inspection.strName == "pixel, strips")
            pStrips = &inspection;
    ASSERT_NE(pStrips, nullptr);
    SFound expected;
    {
        CAssemControl pool;
        ASSERT_EQ(pool.InitAssemControl(1, 500), 1);
        expected = ReadFound(pool, 0, RunOnPool(pool, 0, *pStrips));
        ASSERT_EQ(expected.nCode, 1);
        ASSERT_GT(expected.blobs.size(), 20U);
    }

    const long nAllocations = FailEachInTurn(
        [&](const SFailures& failures)
        {
            CAssemControl pool;
            CFailingHeap heap(failures);
            const int nLanes = pool.InitAssemControl(1, 500);
            const long nAsked = heap.Stop();
            // Only the lanes themselves decide the result.
            EXPECT_EQ(nLanes, failures.nFirst == 0 && failures.nEnd > 0 ? 0 : 1);
            EXPECT_EQ(pool.nAssemCapacity, nLanes);
            const int nCode = RunOnPool(pool, 0, *pStrips);
            if (pool.nAssemCount == 0)
                EXPECT_EQ(nCode, 8);
            else
            {
                const CNarvoAssem& engine = *pool.GetNarvoAssem(0);
                bool bWhole = HasStores(engine) && engine.pThreadControl != nullptr;
                for (int i = 0; bWhole && i < std::min(2, engine.pThreadControl->GetCount()); ++i)
                    bWhole = HasStores(*engine.pThreadControl->GetAssem(i));
                EXPECT_EQ(nCode == 1, bWhole) << nCode;
                // Without sub-engines the region is inspected in one piece.
                if (bWhole && engine.pThreadControl->GetCount() > 0)
                {
                    EXPECT_TRUE(ReadFound(pool, 0, nCode) == expected);
                }
            }

            // A second set-up repairs the lanes; a new pool repairs everything.
            EXPECT_EQ(pool.InitAssemControl(1, 500), 1);
            EXPECT_EQ(pool.GetNarvoAssem(0)->nBlobSize, 500);
            EXPECT_TRUE(HasStores(*pool.GetNarvoAssem(0)));
            if (failures.nFirst % 8 == 0)
            {
                CAssemControl fresh;
                EXPECT_EQ(fresh.InitAssemControl(1, 500), 1);
                EXPECT_TRUE(ReadFound(fresh, 0, RunOnPool(fresh, 0, *pStrips)) == expected);
            }
            return nAsked;
        });
    // Array of lanes, six blocks an engine and five engines, pool of sub-engines and its array.
    EXPECT_EQ(nAllocations, 33);
}

} // namespace
