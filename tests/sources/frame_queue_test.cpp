// SPDX-License-Identifier: MIT
// The queue's policies.
#include "tools/watch/frame_queue.h"

#include <thread>

#include "host/host_test_help.h"

namespace narvo::test
{

namespace
{

using namespace narvo::tools;

std::vector<int> TakeAll(FrameQueue<int>& queue)
{
    queue.Close();
    std::vector<int> all;
    while (const std::optional<int> item = queue.Take([](int) {}))
        all.push_back(*item);
    return all;
}

TEST(FrameQueue, DropsTheOldest)
{
    FrameQueue<int> queue(3, WhenFull_DropOldest);
    for (int i = 0; i < 8; ++i)
        EXPECT_TRUE(queue.Add(i));
    EXPECT_EQ(queue.Dropped(), 5U);
    EXPECT_EQ(TakeAll(queue), (std::vector<int>{5, 6, 7}));
}

TEST(FrameQueue, StopsWhenFullAndKeepsWhatWaits)
{
    FrameQueue<int> queue(2, WhenFull_Stop);
    EXPECT_TRUE(queue.Add(0));
    EXPECT_TRUE(queue.Add(1));
    EXPECT_FALSE(queue.Add(2));
    EXPECT_TRUE(queue.IsOverrun());
    EXPECT_EQ(TakeAll(queue), (std::vector<int>{0, 1}));
}

TEST(FrameQueue, WaitsUntilThereIsRoomAndLosesNothing)
{
    FrameQueue<int> queue(1, WhenFull_Wait);
    std::jthread writer(
        [&]
        {
            for (int i = 0; i < 1000; ++i)
                EXPECT_TRUE(queue.Add(i));
            queue.Close();
        });
    int next = 0;
    while (const std::optional<int> item = queue.Take([](int) {}))
        EXPECT_EQ(*item, next++);
    EXPECT_EQ(next, 1000);
    EXPECT_EQ(queue.Dropped(), 0U);
}

TEST(FrameQueue, LetsAWaitingWriterGoWhenItIsAbandoned)
{
    FrameQueue<int> queue(1, WhenFull_Wait);
    EXPECT_TRUE(queue.Add(0));
    bool taken = true;
    {
        std::jthread writer([&] { taken = queue.Add(1); });
        queue.Abandon();
    }
    EXPECT_FALSE(taken);
    EXPECT_EQ(queue.Dropped(), 2U);
}

} // namespace

} // namespace narvo::test
