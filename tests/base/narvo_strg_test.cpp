// SPDX-License-Identifier: MIT
// The scratch arrays, the image view, and the engine's operations over them.
#include <algorithm>
#include <cstdint>
#include <limits>

#include <gtest/gtest.h>

#include "narvoassem/narvoassem.h"

// Sanitizers give null for requests that cannot be served, as malloc does.
extern "C" const char* __asan_default_options()
{
    return "allocator_may_return_null=1";
}
extern "C" const char* __tsan_default_options()
{
    return "allocator_may_return_null=1";
}

namespace
{

/// Reaches the protected scratch operations.
class CScratchEngine : public CNarvoAssem
{
public:
    using CNarvoAssem::GetConBuffComp;
    using CNarvoAssem::GetConBuffComp2;
    using CNarvoAssem::GetInt64BuffComp;
    using CNarvoAssem::ResetConBuff;
};

TEST(ScratchArray, BeginsEmptyWithoutABlock)
{
    CScratchArray<short> array;
    EXPECT_EQ(array.GetSize(), 0);
    EXPECT_EQ(array.nCapacity, 0);
    EXPECT_EQ(array.GetData(), nullptr);
}

TEST(ScratchArray, ResizeToNothingLeavesOneUsableElement)
{
    CScratchArray<std::int64_t> array;
    EXPECT_EQ(array.Resize(0), 1);
    EXPECT_EQ(array.GetSize(), 1);
    ASSERT_NE(array.GetData(), nullptr);
    array.GetData()[0] = 7;
    EXPECT_EQ(array.Resize(-5), 1);
    EXPECT_EQ(array.GetSize(), 1);
    EXPECT_EQ(array.GetData()[0], 7);
}

TEST(ScratchArray, NeverShrinksItsBlock)
{
    CScratchArray<short> array;
    ASSERT_EQ(array.Resize(100), 1);
    short* const pBlock = array.GetData();
    pBlock[99] = 5;
    EXPECT_EQ(array.Resize(10), 1);
    EXPECT_EQ(array.GetSize(), 10);
    EXPECT_EQ(array.nCapacity, 100);
    EXPECT_EQ(array.Resize(100), 1);
    EXPECT_EQ(array.GetData(), pBlock);
    EXPECT_EQ(array.GetData()[99], 5);
    EXPECT_EQ(array.Resize(101), 1);
    EXPECT_EQ(array.nCapacity, 101);
}

/// 16 MiB: one fits, the largest count of them fits no address space.
struct CLargeElement
{
    unsigned char nBytes[1 << 24];
};

TEST(ScratchArray, FailedResizeFreesTheOldBlock)
{
    CScratchArray<CLargeElement> array;
    ASSERT_EQ(array.Resize(1), 1);
    ASSERT_NE(array.GetData(), nullptr);
    volatile int nCount = std::numeric_limits<int>::max();
    EXPECT_EQ(array.Resize(nCount), 0);
    EXPECT_EQ(array.nCapacity, 0);
    EXPECT_EQ(array.GetSize(), 0);
    EXPECT_EQ(array.GetData(), nullptr);
    EXPECT_EQ(array.Resize(1), 1);
}

TEST(ImageView, RoundsTheRowPitchUpToAMultipleOfFour)
{
    unsigned char nPixels[4] = {};
    EXPECT_EQ(CNarvoBufferSudo(nPixels, 1000, 1).GetPitch(), 1000);
    CNarvoBufferSudo view(nPixels, 1001, 3);
    EXPECT_EQ(view.GetPitch(), 1004);
    EXPECT_EQ(view.nWidth, 1001);
    EXPECT_EQ(view.nHeight, 3);
    EXPECT_EQ(view.Init(1004, 5), 1);
    EXPECT_EQ(view.GetPitch(), 1004);
    EXPECT_EQ(view.nHeight, 5);
}

TEST(ImageView, AddressesRowsByTheRoundedPitchEvenIfTheImageIsNarrower)
{
    unsigned char nPixels[5 * 8] = {};
    CNarvoBufferSudo view(nPixels, 5, 5);
    EXPECT_EQ(view.GetPixelPtr(3, 2), nPixels + 2 * 8 + 3);
    EXPECT_EQ(view.GetPixelPtr(0, 0), nPixels);
}

TEST(EngineScratch, StripBuffersHoldSixteenColumnsAndSparesAndAreCleared)
{
    CScratchEngine engine;
    int nSize = 20;
    engine.ResetConBuff(nSize);
    EXPECT_EQ(nSize, 20);
    ASSERT_EQ(engine.ConBuffComp.GetSize(), (20 + 32) * 16);
    ASSERT_EQ(engine.ConBuffComp2.GetSize(), (20 + 32) * 16);
    EXPECT_EQ(engine.GetConBuffComp(), engine.ConBuffComp.GetData());
    EXPECT_EQ(engine.GetConBuffComp2(), engine.ConBuffComp2.GetData());

    std::fill_n(engine.GetConBuffComp(), engine.ConBuffComp.GetSize(), short{9});
    std::fill_n(engine.GetConBuffComp2(), engine.ConBuffComp2.GetSize(), short{9});
    nSize = 10;
    engine.ResetConBuff(nSize);
    ASSERT_EQ(engine.ConBuffComp.GetSize(), (10 + 32) * 16);
    EXPECT_EQ(std::count(engine.GetConBuffComp(), engine.GetConBuffComp() + engine.ConBuffComp.GetSize(), 0),
              engine.ConBuffComp.GetSize());
    EXPECT_EQ(std::count(engine.GetConBuffComp2(), engine.GetConBuffComp2() + engine.ConBuffComp2.GetSize(), 0),
              engine.ConBuffComp2.GetSize());
}

TEST(EngineScratch, StripBufferSizeBelowOneIsRaisedInTheCallersVariable)
{
    CScratchEngine engine;
    int nSize = -100;
    engine.ResetConBuff(nSize);
    EXPECT_EQ(nSize, 1);
    EXPECT_EQ(engine.ConBuffComp.GetSize(), 33 * 16);
}

TEST(EngineScratch, StripBufferSizeBeyondTheIntRangeGivesTheSmallestArray)
{
    CScratchEngine engine;
    int nSize = std::numeric_limits<int>::max();
    engine.ResetConBuff(nSize);
    EXPECT_EQ(engine.ConBuffComp.GetSize(), 1);
    EXPECT_EQ(engine.GetConBuffComp()[0], 0);
}

TEST(EngineScratch, EqualSizesKeepTheirMemory)
{
    CScratchEngine engine;
    int nSize = 500;
    engine.ResetConBuff(nSize);
    const short* const pBefore = engine.GetConBuffComp();
    nSize = 300;
    engine.ResetConBuff(nSize);
    nSize = 500;
    engine.ResetConBuff(nSize);
    EXPECT_EQ(engine.GetConBuffComp(), pBefore);
}

TEST(EngineScratch, SixtyFourBitArrayIsSizedAndCleared)
{
    CScratchEngine engine;
    engine.GetInt64BuffComp(50);
    ASSERT_EQ(engine.Int64BuffComp.GetSize(), 50);
    std::fill_n(engine.GetInt64BuffComp(), 50, std::int64_t{3});
    engine.GetInt64BuffComp(40);
    ASSERT_EQ(engine.Int64BuffComp.GetSize(), 40);
    EXPECT_EQ(std::count(engine.GetInt64BuffComp(), engine.GetInt64BuffComp() + 40, 0), 40);
}

} // namespace
