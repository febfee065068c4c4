// SPDX-License-Identifier: MIT
// The stop watch.
#include <gtest/gtest.h>

#include "narvoassem/stopwatch.h"

namespace
{

TEST(StopWatch, ReadsZeroBeforeItHasRun)
{
    const CStopWatch watch;
    EXPECT_GT(watch.nFrequency, 0);
    EXPECT_EQ(watch.nStart, 0);
    EXPECT_EQ(watch.nStop, 0);
    EXPECT_EQ(watch.GetElapsedMs(), 0.0F);
}

TEST(StopWatch, ReturnsTheMillisecondsBetweenStartAndStop)
{
    CStopWatch watch;
    watch.Start();
    while (watch.nStop - watch.nStart < watch.nFrequency / 1000)
        watch.Stop();
    EXPECT_GE(watch.GetElapsedMs(), 0.99F);
    EXPECT_FLOAT_EQ(watch.GetElapsedMs(),
                    static_cast<float>(watch.nStop - watch.nStart) / static_cast<float>(watch.nFrequency) * 1000.0F);
}

TEST(StopWatch, KeepsItsReadingUntilTheNextStop)
{
    CStopWatch watch;
    watch.Start();
    watch.Stop();
    const float fFirst = watch.GetElapsedMs();
    watch.Start();
    EXPECT_EQ(watch.GetElapsedMs(), fFirst);
}

} // namespace
