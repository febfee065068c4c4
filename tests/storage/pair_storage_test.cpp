// SPDX-License-Identifier: MIT
// The pair record and the pair store: defaults, sizes, resets.
#include <climits>

#include <gtest/gtest.h>

#include "storage/store_samples.h"

namespace
{

TEST(DefectPairRecord, ANewRecordHasTypeThreeAndZeros)
{
    CDefectPair pair = narvo::test::MakePair(3, 4, DefectType_Bright);
    pair.nPeak = pair.nSubZone = pair.nZoneIndex = 9;
    pair.Reset();
    for (const CDefectPair& record : {pair, CDefectPair()})
    {
        EXPECT_EQ(record.nDefectType, 3);
        EXPECT_EQ(record.nDefectPos, 0);
        EXPECT_EQ(record.nDefectPair, 0);
        EXPECT_EQ(record.nPeak, 0);
        EXPECT_EQ(record.ptDefect, CPoint(0, 0));
        EXPECT_EQ(record.nZoneIndex, 0);
        EXPECT_EQ(record.nSubZone, 0);
    }
}

TEST(DefectPairRecord, PeakIsTheExcessOverTheThresholdDividedTowardZero)
{
    CDefectPair pair;
    pair.SetPeak(-47, 10, 4);
    EXPECT_EQ(pair.nPeak, 9);
    pair.SetPeak(3, 10, 4);
    EXPECT_EQ(pair.nPeak, -1);
    pair.SetPeak(INT_MIN, 0, -1);
    EXPECT_EQ(pair.nPeak, INT_MIN);
}

TEST(PairStorage, ANewStoreIsBelowAnyRequestSoThatSizeZeroAllocates)
{
    CPairStorage store;
    EXPECT_EQ(store.nPairCount, -1);
    EXPECT_EQ(store.nPairSize, -1);
    EXPECT_EQ(store.nPairCapacity, -1);
    EXPECT_EQ(store.InitPairStorage(0), 0);
    EXPECT_NE(store.pPair, nullptr);
    EXPECT_NE(store.pLabelOpened, nullptr);
    EXPECT_EQ(store.nPairCount, 0);
    EXPECT_EQ(store.nPairCapacity, 0);
}

TEST(PairStorage, ASmallerSizeKeepsTheRecords)
{
    CPairStorage store;
    ASSERT_EQ(store.InitPairStorage(10), 10);
    narvo::test::AddPair(store, narvo::test::MakePair(5, 6));
    EXPECT_EQ(store.InitPairStorage(3), 3);
    EXPECT_EQ(store.nPairCapacity, 10);
    EXPECT_EQ(store.GetPairCount(), 1);
    EXPECT_EQ(store.GetPairDefect(0)->ptDefect, CPoint(5, 6));
}

TEST(PairStorage, AnAbsurdSizeLeavesAnEmptyStore)
{
    CPairStorage store;
    ASSERT_EQ(store.InitPairStorage(10), 10);
    narvo::test::AddPair(store, narvo::test::MakePair(5, 6));
    EXPECT_EQ(store.InitPairStorage(INT_MAX), 0);
    EXPECT_EQ(store.nPairCapacity, 0);
    EXPECT_EQ(store.GetPairCount(), 0);
    EXPECT_EQ(store.pPair, nullptr);
    store.ResetPairStorage();
    EXPECT_EQ(store.InitPairStorage(10), 10);
}

TEST(PairStorage, ResetClearsTheRecordsInUseAndTotalResetAllUpToTheSize)
{
    CPairStorage store;
    ASSERT_EQ(store.InitPairStorage(3), 3);
    for (int i = 0; i < 4; ++i)
        store.pPair[i] = narvo::test::MakePair(i, i);
    store.nPairCount = 2;
    store.ResetPairStorage();
    EXPECT_EQ(store.nPairCount, 0);
    EXPECT_EQ(store.pPair[1].nDefectType, DefectType_None);
    EXPECT_EQ(store.pPair[2].ptDefect.x, 2);
    store.nPairCount = 1;
    store.TotalResetPairStorage();
    EXPECT_EQ(store.nPairCount, 0);
    EXPECT_EQ(store.pPair[2].nDefectType, DefectType_None);
    EXPECT_EQ(store.pPair[3].ptDefect.x, 3);
}

TEST(PairStorage, ACopySharesTheArrays)
{
    CPairStorage store;
    ASSERT_EQ(store.InitPairStorage(3), 3);
    CPairStorage copy(store);
    EXPECT_EQ(copy.pPair, store.pPair);
    EXPECT_EQ(copy.pPairLinked, store.pPairLinked);
    copy.pPair = nullptr;
    copy.pPairLabel = copy.pPairLinked = copy.pLabelOpened = nullptr;
}

} // namespace
