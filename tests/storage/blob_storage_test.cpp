// SPDX-License-Identifier: MIT
// The blob store: sizes, resets, gathering.
#include <climits>
#include <cstddef>
#include <cstring>

#include <gtest/gtest.h>

#include "storage/store_samples.h"

namespace
{

using narvo::test::CSampleStore;
using narvo::test::MakeBlob;

TEST(BlobStorage, ANewStoreIsEmptyAndSizeZeroHoldsNothing)
{
    CBlobStorage store;
    EXPECT_EQ(store.GetBlobCount(), 0);
    EXPECT_EQ(store.nBlobSize, 0);
    EXPECT_EQ(store.pBlob, nullptr);
    EXPECT_EQ(store.InitBlobStorage(0), 0);
    EXPECT_EQ(store.BlobDefect(), 1);
    EXPECT_EQ(store.BlobDefectVert(), 1);
    EXPECT_EQ(store.GetBlobCount(), 0);
}

TEST(BlobStorage, ANegativeSizeOnANewStoreIsTakenAsALowerLimit)
{
    CBlobStorage store;
    EXPECT_EQ(store.InitBlobStorage(-1), -1);
    EXPECT_EQ(store.pBlob, nullptr);
    EXPECT_EQ(store.InitBlobStorage(0), 0);
    EXPECT_NE(store.pBlob, nullptr) << "a store of size 0 gets its spare entries";
}

TEST(BlobStorage, AnAbsurdSizeLeavesAnEmptyStore)
{
    CBlobStorage store;
    ASSERT_EQ(store.InitBlobStorage(4), 4);
    EXPECT_EQ(store.InitBlobStorage(INT_MAX), 0);
    EXPECT_EQ(store.nBlobCapacity, 0);
    EXPECT_EQ(store.pBlob, nullptr);
    EXPECT_EQ(store.InitBlobStorage(4), 4);
}

TEST(BlobStorage, ASmallerSizeOnlyLowersTheLimit)
{
    CBlobStorage store;
    ASSERT_EQ(store.InitBlobStorage(4), 4);
    const CDefectBlob* pBlobs = store.pBlob;
    EXPECT_EQ(store.InitBlobStorage(2), 2);
    EXPECT_EQ(store.InitBlobStorage(4), 4);
    EXPECT_EQ(store.pBlob, pBlobs);
}

TEST(BlobStorage, ResetClearsTheCountersAndTheBlobsInUse)
{
    CSampleStore store(4, 4);
    store.pBlob[0] = store.pBlob[1] = MakeBlob(CRect(1, 1, 2, 2));
    store.nBlobCount = 1;
    store.nRemovedByFalse = store.nRemovedPair = store.nRemovedByClass = 1;
    store.nMergedBlob = store.nRemovedScan = store.nRemovedConv = 1;
    store.ResetBlobStorage();
    EXPECT_EQ(store.nBlobCount, 0);
    EXPECT_EQ(store.pBlob[0].nPairCount, 0);
    EXPECT_EQ(store.pBlob[1].nPairCount, 1);
    EXPECT_EQ(store.nRemovedByFalse + store.nRemovedPair + store.nRemovedByClass + store.nMergedBlob +
                  store.nRemovedScan + store.nRemovedConv,
              0);
    store.TotalResetBlobStorage();
    EXPECT_EQ(store.pBlob[1].nPairCount, 0);
}

TEST(BlobStorage, ResetGivesEveryBlobInUseTheFieldsOfANewOne)
{
    constexpr int nUsed = 77;
    CSampleStore store(4, nUsed + 1);
    const CDefectBlob fresh;
    const CDefectBlob used = MakeBlob(CRect(1, 1, 2, 2));
    for (int i = 0; i <= nUsed; ++i)
    {
        store.pBlob[i] = used;
        store.pBlob[i].nSumThreshold = 9;
        store.pBlob[i].dAngle = 1.5;
        store.pBlob[i].nZoneSumPeak[15] = 3;
    }
    store.nBlobCount = nUsed;
    store.ResetBlobStorage();
    for (int i = 0; i < nUsed; ++i)
    {
        // In two parts: between them is padding.
        ASSERT_EQ(std::memcmp(&store.pBlob[i], &fresh, offsetof(CDefectBlob, ptExtreme) + sizeof fresh.ptExtreme), 0);
        ASSERT_EQ(std::memcmp(&store.pBlob[i].dAngle, &fresh.dAngle, 5 * sizeof fresh.dAngle), 0);
    }
    EXPECT_EQ(store.pBlob[nUsed].nSumThreshold, 9);
    EXPECT_EQ(store.pBlob[nUsed].dAngle, 1.5);
}

TEST(BlobStorage, FillingTheLastPlaceStoresTheBlobAndReportsZero)
{
    CSampleStore store(4, 2);
    CDefectBlob blob = MakeBlob(CRect(1, 1, 2, 2));
    EXPECT_EQ(store.AddBlob(&blob), 1);
    EXPECT_EQ(store.AddBlob(&blob), 0);
    EXPECT_EQ(store.GetBlobCount(), 2);
    EXPECT_EQ(store.GetBlobDefect(1)->rtDefect, CRect(1, 1, 2, 2));
    EXPECT_EQ(store.AddBlob(&blob), 0);
    EXPECT_EQ(store.GetBlobCount(), 2);
}

TEST(BlobStorage, ReadingStopsAtTheFirstRefusalAndAnExactFillReportsZero)
{
    CSampleStore other(4, 8);
    for (int i = 0; i < 3; ++i)
    {
        CDefectBlob blob = MakeBlob(CRect(i, i, i + 1, i + 1));
        other.AddBlob(&blob);
    }
    CSampleStore store(4, 4);
    EXPECT_EQ(store.ReadBlob(nullptr), 0);
    EXPECT_EQ(store.ReadBlob(&other), 1);
    EXPECT_EQ(store.GetBlobCount(), 3);
    EXPECT_EQ(store.ReadBlob(&other), 0);
    EXPECT_EQ(store.GetBlobCount(), 4);
    CSampleStore exact(4, 3);
    EXPECT_EQ(exact.ReadBlob(&other), 0);
    EXPECT_EQ(exact.GetBlobCount(), 3);
}

TEST(BlobStorage, ACopySharesTheArrays)
{
    CSampleStore store(4, 4);
    store.nMergedBlob = 5;
    CBlobStorage copy(store);
    EXPECT_EQ(copy.pBlob, store.pBlob);
    EXPECT_EQ(copy.pPair, store.pPair);
    EXPECT_EQ(copy.nMergedBlob, 5);
    copy.pBlob = nullptr;
    copy.pPair = nullptr;
    copy.pPairLabel = copy.pPairLinked = copy.pLabelOpened = nullptr;
}

TEST(BlobStorage, WideningABlobThroughTheStoreIsTheBlobsOwnWidening)
{
    CSampleStore store(4, 4);
    CDefectBlob a = MakeBlob(CRect(5, 5, 6, 6));
    CDefectBlob b = a;
    store.CheckDefectRect(a, 9, 2);
    b.CheckDefectRect(9, 2);
    EXPECT_EQ(a.rtDefect, CRect(5, 2, 10, 6));
    EXPECT_EQ(a.rtDefect, b.rtDefect);
    EXPECT_EQ(a.ptExtreme[3], b.ptExtreme[3]);
}

} // namespace
