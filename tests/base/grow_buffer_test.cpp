// SPDX-License-Identifier: MIT
// The buffers that never throw.
#include "narvoassem/base/grow_buffer.h"

#include <cstdint>

#include "gtest/gtest.h"

namespace
{

using narvo::engine::CGrowBuffer;

TEST(GrowBuffer, ASizeThatNoBlockHasIsRefusedBeforeItsBytesOverflow)
{
    CGrowBuffer<int> buffer;
    ASSERT_TRUE(buffer.Reserve(3));
    buffer[2] = 77;
    EXPECT_FALSE(buffer.Reserve(SIZE_MAX / 4));
    EXPECT_EQ(buffer.Capacity(), 3U);
    EXPECT_EQ(buffer[2], 77) << "what it held stays";
    EXPECT_FALSE(buffer.Renew(SIZE_MAX / 4));
    EXPECT_EQ(buffer.Capacity(), 0U) << "the buffer is empty";
    EXPECT_EQ(buffer.Data(), nullptr);
    EXPECT_TRUE(buffer.Renew(5));
}

} // namespace
