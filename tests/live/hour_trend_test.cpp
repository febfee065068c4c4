// SPDX-License-Identifier: MIT
// Counts by the hour, whatever the order of the times.
#include "tools/live/hour_trend.h"

#include <gtest/gtest.h>

namespace narvo::test
{

namespace
{

using namespace tools;

constexpr std::int64_t nHour = 3600000000000;

TEST(HourTrend, CountsByTheHourOfTheImage)
{
    HourTrend trend;
    trend.Add(10 * nHour, LiveOutcome_Pass, 0);
    trend.Add(12 * nHour - 1, LiveOutcome_Fail, 5);
    trend.Add(10 * nHour + 7, LiveOutcome_Fail, 2);
    trend.AddDropped(11 * nHour, 3);
    trend.AddDropped(20 * nHour, 0);
    ASSERT_EQ(trend.Hours().size(), 2U);
    EXPECT_EQ(trend.Hours()[0].hour, 10);
    EXPECT_EQ(trend.Hours()[0].outcomes[LiveOutcome_Pass], 1U);
    EXPECT_EQ(trend.Hours()[0].outcomes[LiveOutcome_Fail], 1U);
    EXPECT_EQ(trend.Hours()[0].blobs, 2U);
    EXPECT_EQ(trend.Hours()[1].hour, 11);
    EXPECT_EQ(trend.Hours()[1].blobs, 5U);
    EXPECT_EQ(trend.Hours()[1].dropped, 3U);
}

TEST(HourTrend, KeepsTheLatestHoursInOrderWhateverTheTimesAre)
{
    HourTrend trend;
    std::uint64_t added = 0;
    for (const std::int64_t hour : {500, 3, 498, 7, 499, 1000000, 2})
        for (std::int64_t i = 0; i < 30; ++i, ++added)
            trend.Add((hour + i) * nHour, LiveOutcome_Pass, 1);
    ASSERT_EQ(trend.Hours().size(), HourTrend::nHours);
    for (std::size_t i = 1; i < trend.Hours().size(); ++i)
        EXPECT_LT(trend.Hours()[i - 1].hour, trend.Hours()[i].hour);
    EXPECT_EQ(trend.Hours().back().hour, 1000029);
    // What is older than all that is kept counts for the earliest hour that is.
    EXPECT_GE(trend.Hours().front().outcomes[LiveOutcome_Pass], 30U);
}

} // namespace

} // namespace narvo::test
