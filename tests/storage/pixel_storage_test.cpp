// SPDX-License-Identifier: MIT
// The hit store: sizes, layout of the block, access, copies.
#include <algorithm>
#include <climits>

#include <gtest/gtest.h>

#include "storage/store_samples.h"

namespace
{

TEST(PixelStorage, SizeZeroOnANewStoreAllocatesNothing)
{
    CPixelStorage store;
    EXPECT_EQ(store.InitPixelStorage(0), 0);
    EXPECT_EQ(store.pPixelX, nullptr);
    EXPECT_EQ(store.nPixelCapacity, 0);
}

TEST(PixelStorage, ASmallerSizeKeepsTheBlockAndLowersTheLimit)
{
    CPixelStorage store;
    ASSERT_EQ(store.InitPixelStorage(100), 100);
    const int* pBlock = store.pPixelX;
    EXPECT_EQ(store.InitPixelStorage(40), 40);
    EXPECT_EQ(store.nPixelSize, 40);
    EXPECT_EQ(store.nPixelCapacity, 100);
    EXPECT_EQ(store.InitPixelStorage(100), 100);
    EXPECT_EQ(store.pPixelX, pBlock);
}

TEST(PixelStorage, ANegativeSizeIsTakenAsALowerLimit)
{
    CPixelStorage store;
    EXPECT_EQ(store.InitPixelStorage(-7), -7);
    EXPECT_EQ(store.pPixelX, nullptr);
}

TEST(PixelStorage, AnAbsurdSizeLeavesAnEmptyStore)
{
    CPixelStorage store;
    ASSERT_EQ(store.InitPixelStorage(10), 10);
    EXPECT_EQ(store.InitPixelStorage(INT_MAX), 0);
    EXPECT_EQ(store.nPixelCapacity, 0);
    EXPECT_EQ(store.nPixelSize, 0);
    EXPECT_EQ(store.pPixelX, nullptr);
    EXPECT_EQ(store.pThreshold, nullptr);
    EXPECT_EQ(store.InitPixelStorage(10), 10);
}

TEST(PixelStorage, ArraysAreStripsOfOneBlockWithSixteenSpareEntries)
{
    CPixelStorage store;
    ASSERT_EQ(store.InitPixelStorage(50), 50);
    const std::ptrdiff_t nStrip = 66;
    EXPECT_EQ(store.pPixelY - store.pPixelX, nStrip);
    EXPECT_EQ(reinterpret_cast<int*>(store.pPixelType) - store.pPixelX, 2 * nStrip);
    EXPECT_EQ(reinterpret_cast<int*>(store.pPeak) - store.pPixelX, 3 * nStrip);
    EXPECT_EQ(store.pSrcGray - store.pPixelX, 4 * nStrip);
    EXPECT_EQ(store.pCmpGray - store.pPixelX, 5 * nStrip);
    EXPECT_EQ(store.pZoneIndex - store.pPixelX, 6 * nStrip);
    EXPECT_EQ(store.pThreshold - store.pPixelX, 7 * nStrip);
    EXPECT_EQ(store.pPixelAux - store.pPixelX, 8 * nStrip);
}

TEST(PixelStorage, ANewBlockHasZonesAndThresholdsCleared)
{
    CPixelStorage store;
    ASSERT_EQ(store.InitPixelStorage(499), 499);
    std::fill_n(store.pPixelX, 18 * 515, 7); // what the allocator may hand out again
    ASSERT_EQ(store.InitPixelStorage(500), 500);
    for (int i = 0; i < 500; ++i)
    {
        ASSERT_EQ(store.pZoneIndex[i], 0);
        ASSERT_EQ(store.GetThreshold(i), 0);
    }
}

TEST(PixelStorage, ResetLeavesTheOldValuesReadable)
{
    CPixelStorage store;
    ASSERT_EQ(store.InitPixelStorage(4), 4);
    narvo::test::AddHit(store, 11, 22, 1);
    EXPECT_EQ(store.GetOverflowedPixelY(), 22);
    store.ResetPixelStorage();
    EXPECT_EQ(store.GetPixelCount(), 0);
    EXPECT_EQ(store.GetPixelX(0), 11);
    EXPECT_EQ(store.GetPixelY(0), 22);
    EXPECT_EQ(store.GetPixelType(0), 1);
    EXPECT_EQ(store.GetSrcGray(0), 200);
    EXPECT_EQ(store.GetCmpGray(0), 300);
    EXPECT_EQ(store.GetOverflowedPixelY(), 0);
}

TEST(PixelStorage, TheTwoNamesOfPeakAndOfCountAgreeAndPeaksKeepTheirSign)
{
    CPixelStorage store;
    ASSERT_EQ(store.InitPixelStorage(4), 4);
    narvo::test::AddHit(store, 1, 2, 0);
    narvo::test::AddHit(store, 3, 4, 1);
    store.pPeak[0] = -5;
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(store.GetPixelValue(i), store.GetPeak(i));
    EXPECT_EQ(store.GetPeak(0), -5);
    EXPECT_EQ(store.GetPixelCount(), 2);
    EXPECT_EQ(store.GetThreadDefectPixelNum(), 2);
}

TEST(PixelStorage, ACopySharesTheBlock)
{
    CPixelStorage store;
    ASSERT_EQ(store.InitPixelStorage(4), 4);
    store.ConvParam.nThreshold = 77;
    CPixelStorage copy(store);
    EXPECT_EQ(copy.pPixelX, store.pPixelX);
    EXPECT_EQ(copy.pPixelAux, store.pPixelAux);
    EXPECT_EQ(copy.nPixelCapacity, 4);
    EXPECT_EQ(copy.ConvParam.nThreshold, 77);
    copy.pPixelX = nullptr; // the block has one owner at the end
}

TEST(PixelStorage, TheRowOfAnOverflowIsThatOfTheLastHitOrZero)
{
    CPixelStorage store;
    EXPECT_EQ(store.GetOverflowedPixelY(), 0);
    store.nPixelCount = 1; // counted, but there is no array
    EXPECT_EQ(store.GetOverflowedPixelY(), 0);
    store.nPixelCount = 0;
    ASSERT_EQ(store.InitPixelStorage(4), 4);
    store.pPixelY[1] = 33;
    EXPECT_EQ(store.GetOverflowedPixelY(), 0);
    store.nPixelCount = 2;
    EXPECT_EQ(store.GetOverflowedPixelY(), 33);
}

TEST(PixelStorage, TheParameterBlockIsCopiedByValue)
{
    CPixelStorage store;
    CConvParam param;
    param.nThreshold = 33;
    store.SetConvParam(&param);
    param.nThreshold = 44;
    EXPECT_EQ(store.ConvParam.nThreshold, 33);
}

} // namespace
