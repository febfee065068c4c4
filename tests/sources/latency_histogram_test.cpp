// SPDX-License-Identifier: MIT
// Quantiles of the fixed histogram against those of sorted times.
#include "tools/watch/latency_histogram.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <random>

#include "host/host_test_help.h"
#include "support/seeds.h"

namespace narvo::test
{

namespace
{

using tools::LatencyHistogram;

TEST(LatencyHistogram, IsZeroWithoutTimes)
{
    const LatencyHistogram none;
    EXPECT_EQ(none.Quantile(0.5), 0.0);
    EXPECT_EQ(none.Worst(), 0.0);
}

TEST(LatencyHistogram, RandomTimesHaveQuantilesWithinAClass)
{
    for (const std::uint64_t seed : CaseSeeds("latency", 50))
    {
        std::mt19937_64 random(seed);
        LatencyHistogram histogram;
        std::vector<double> times(1 + random() % 5000);
        for (double& time : times)
        {
            // From below a microsecond to hours.
            time =
                std::ldexp(1.0 + static_cast<double>(random() % 1000) / 1000.0, static_cast<int>(random() % 34) - 12);
            histogram.Add(time);
        }
        std::sort(times.begin(), times.end());
        EXPECT_EQ(histogram.Count(), times.size());
        EXPECT_EQ(histogram.Worst(), times.back());
        for (const double share : {0.01, 0.5, 0.99, 1.0})
        {
            const auto place =
                static_cast<std::size_t>(std::ceil(share * static_cast<double>(times.size()) - 1e-6)) - 1;
            const double exact = times[place];
            EXPECT_GE(histogram.Quantile(share) + 1e-12, exact) << share << ", " << ReplayHint(seed);
            EXPECT_LE(histogram.Quantile(share), exact * (1.0 + 1.0 / 64.0) + 0.001)
                << share << ", " << ReplayHint(seed);
        }
        EXPECT_NEAR(histogram.Sum(), std::accumulate(times.begin(), times.end(), 0.0), 1e-6 * histogram.Sum());
        for (int power = 0; power <= 36; ++power)
        {
            const double limit = std::ldexp(1e-3, power); // microseconds to milliseconds
            EXPECT_EQ(histogram.CountBelow(limit), std::lower_bound(times.begin(), times.end(), limit) - times.begin())
                << limit << ", " << ReplayHint(seed);
        }
    }
}

} // namespace

} // namespace narvo::test
