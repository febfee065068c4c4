// SPDX-License-Identifier: MIT
// Charts: limits as the books compute them, alarms by chance at the known rate, planted changes found.
#include "host/statistics/control_chart.h"

#include <cmath>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/lot/made_up_lot.h"
#include "host/statistics/count_bounds.h"

namespace narvo::test
{

namespace
{

using testing::IsEmpty;
using testing::SizeIs;

std::vector<double> NormalSeries(std::uint64_t seed, std::size_t count)
{
    MixedNumbers numbers(seed);
    std::vector<double> values;
    for (std::size_t i = 0; i < count; ++i)
        values.push_back(10.0 + 2.0 * NormalNumber(numbers));
    return values;
}

TEST(BinomialTail, IsTheSumOfItsTerms)
{
    EXPECT_NEAR(BinomialTail(2, 4, 0.5), 11.0 / 16.0, 1e-14);
    EXPECT_NEAR(BinomialTail(4, 4, 0.1), 1e-4, 1e-17);
    EXPECT_NEAR(BinomialTail(1, 1000, 1e-6), -std::expm1(1000.0 * std::log1p(-1e-6)), 1e-14);
    // Symmetry: at least 501 of 1001 with a share of one half.
    EXPECT_NEAR(BinomialTail(501, 1001, 0.5), 0.5, 1e-11);
    EXPECT_NEAR(BinomialTail(500001, 1000001, 0.5), 0.5, 1e-8);
    EXPECT_NEAR(BinomialTail(1, 1000000, 0.5), 1.0, 1e-15);
    EXPECT_NEAR(std::log10(BinomialTail(100, 100, 0.001)), -300.0, 1e-9);
    for (std::size_t found = 0; found <= 60; ++found)
    {
        double sum = 0.0;
        for (std::size_t k = found; k <= 60; ++k)
        {
            double term = 1.0;
            for (std::size_t j = 1; j <= k; ++j)
                term *= static_cast<double>(60 - k + j) / static_cast<double>(j) * 0.3;
            for (std::size_t j = 0; j < 60 - k; ++j)
                term *= 0.7;
            sum += term;
        }
        EXPECT_NEAR(BinomialTail(found, 60, 0.3) / sum, 1.0, 1e-10) << found;
    }
}

TEST(BinomialTail, HasItsEdges)
{
    EXPECT_EQ(BinomialTail(0, 0, 0.5), 1.0);
    EXPECT_EQ(BinomialTail(1, 0, 0.5), 0.0);
    EXPECT_EQ(BinomialTail(3, 3, 1.0), 1.0);
    EXPECT_EQ(BinomialTail(1, 3, 0.0), 0.0);
    EXPECT_EQ(BinomialTail(0, 3, 0.0), 1.0);
}

TEST(ControlChart, TakesItsLimitsFromTheMovingRange)
{
    // Ranges 1, 2, 4: their mean 7/3 over 1.128.
    const ControlChart chart = ChartOfValues({10.0, 11.0, 9.0, 13.0}, 0);
    EXPECT_NEAR(chart.center, 10.75, 1e-12);
    EXPECT_NEAR(chart.deviation, 7.0 / 3.0 / 1.128, 0.001);
    EXPECT_THAT(chart.alarms, IsEmpty());
    const ControlChart based = ChartOfValues({10.0, 11.0, 9.0, 30.0}, 3);
    EXPECT_NEAR(based.center, 10.0, 1e-12);
    EXPECT_NEAR(based.deviation, 1.5 / 1.128, 0.001);
    ASSERT_THAT(based.alarms, SizeIs(1));
    EXPECT_EQ(based.alarms[0].point, 3U);
}

TEST(ControlChart, BringsMeansOfUnequalNumbersToOneScale)
{
    MixedNumbers numbers(12);
    std::vector<double> means;
    std::vector<double> counts;
    for (int i = 0; i < 50000; ++i)
    {
        counts.push_back(i % 2 == 0 ? 1.0 : 25.0);
        means.push_back(40.0 + 5.0 * NormalNumber(numbers) / std::sqrt(counts.back()));
    }
    const ControlChart chart = ChartOfMeans(means, counts, 0);
    EXPECT_NEAR(chart.deviation, 5.0 / std::sqrt(13.0), 0.02);
    EXPECT_NEAR(static_cast<double>(chart.alarms.size()), 50000.0 / dPointsBetweenAlarms, 100.0);
}

TEST(ControlChart, KnowsTheFourRules)
{
    const auto alarmsOf = [](std::vector<double> scores)
    {
        // A baseline of centre 0 and deviation 1, whose last point no rule takes with those behind it.
        std::vector<double> values;
        for (int i = 0; i < 40; ++i)
            values.push_back((i % 2 == 0 ? 0.5 : -0.5) * 1.1283791670955126);
        values.insert(values.end(), scores.begin(), scores.end());
        std::vector<ChartAlarm> alarms = ChartOfValues(values, 40).alarms;
        for (ChartAlarm& alarm : alarms)
            alarm.point -= 40;
        return alarms;
    };
    const auto only = [&](std::vector<double> scores, ChartRule rule, bool above)
    {
        const std::size_t last = scores.size() - 1;
        const std::vector<ChartAlarm> alarms = alarmsOf(scores);
        ASSERT_THAT(alarms, SizeIs(1)) << ChartRuleText(rule);
        EXPECT_EQ(alarms[0].point, last) << ChartRuleText(rule);
        EXPECT_EQ(alarms[0].rule, rule);
        EXPECT_EQ(alarms[0].above, above);
        scores.back() = 0.0;
        EXPECT_THAT(alarmsOf(scores), IsEmpty()) << ChartRuleText(rule);
    };
    only({3.1}, ChartRule_Beyond3, true);
    only({-3.1}, ChartRule_Beyond3, false);
    only({2.5, 0.0, 2.1}, ChartRule_TwoOfThree, true);
    EXPECT_THAT(alarmsOf({2.5, 0.0, 0.0, 2.1}), IsEmpty());
    EXPECT_THAT(alarmsOf({2.5, -2.1}), IsEmpty());
    only({-1.5, -1.1, 0.0, -1.9, -1.2}, ChartRule_FourOfFive, false);
    only({0.1, 0.9, 0.2, 0.3, 0.1, 0.2, 0.5, 0.1}, ChartRule_EightInRow, true);
    // The rules begin anew behind an alarm.
    EXPECT_THAT(alarmsOf(std::vector<double>(16, 0.5)), SizeIs(2));
}

TEST(ControlChart, AlarmsByChanceAsOftenAsIsKnown)
{
    const std::vector<double> values = NormalSeries(3, 200000);
    const auto alarms = static_cast<double>(ChartOfValues(values, 0).alarms.size());
    EXPECT_NEAR(alarms, 200000.0 / dPointsBetweenAlarms, 4.0 * std::sqrt(200000.0 / dPointsBetweenAlarms));
}

TEST(ControlChart, WidensTheLimitsOfCountsThatVaryMoreThanChance)
{
    MixedNumbers numbers(4);
    std::vector<double> plain;
    std::vector<double> varied;
    std::vector<double> areas;
    for (int i = 0; i < 5000; ++i)
    {
        areas.push_back(i % 3 == 0 ? 2.0 : 1.0);
        plain.push_back(PoissonNumber(numbers, 50.0 * areas.back()));
        varied.push_back(PoissonNumber(numbers, std::max(1.0, 50.0 + 25.0 * NormalNumber(numbers)) * areas.back()));
    }
    const ControlChart even = ChartOfCounts(plain, areas, 0);
    EXPECT_NEAR(even.dispersion, 1.0, 0.04);
    EXPECT_NEAR(even.center, 50.0, 0.5);
    const ControlChart spread = ChartOfCounts(varied, areas, 0);
    EXPECT_GT(spread.dispersion, 3.0);
    // By a Poisson distribution alone, half of the points would lie beyond.
    std::size_t beyond = 0;
    for (const double score : spread.scores)
        beyond += std::abs(score) > 3.0 ? 1U : 0U;
    EXPECT_LT(beyond, 50U);
}

TEST(ControlChart, HasNoLimitsWhereNothingVaries)
{
    EXPECT_THAT(ChartOfValues({4.0, 4.0, 4.0}, 0).scores, IsEmpty());
    EXPECT_THAT(ChartOfValues({4.0, 4.0, 9.0}, 2).alarms, IsEmpty());
    EXPECT_THAT(ChartOfValues({}, 0).scores, IsEmpty());
    EXPECT_THAT(ChartOfValues({1.0}, 0).scores, IsEmpty());
    EXPECT_THAT(ChartOfCounts({0.0, 0.0}, {1.0, 1.0}, 0).scores, IsEmpty());
    EXPECT_THAT(ChartOfCounts({}, {}, 0).scores, IsEmpty());
}

TEST(ChangePoint, IsFoundWhereItIs)
{
    std::vector<double> values = NormalSeries(9, 200);
    for (std::size_t i = 120; i < values.size(); ++i)
        values[i] += 3.0;
    const ChangePoint change = FindChange(values);
    EXPECT_NEAR(static_cast<double>(change.point), 120.0, 5.0);
    EXPECT_LT(change.probability, 1e-6);
    EXPECT_NEAR(change.before, 10.0, 0.6);
    EXPECT_NEAR(change.after, 13.0, 0.6);
    // A slow drift, too: three standard deviations over 200 images.
    values = NormalSeries(10, 200);
    for (std::size_t i = 0; i < values.size(); ++i)
        values[i] += 0.03 * static_cast<double>(i);
    EXPECT_LT(FindChange(values).probability, 1e-6);
}

TEST(ChangePoint, RandomSeriesShowItAtMostAtTheStatedRate)
{
    int alarms = 0;
    for (std::uint64_t seed = 0; seed < 2000; ++seed)
        alarms += FindChange(NormalSeries(seed + 100, 20 + seed % 80)).probability <= 0.05 ? 1 : 0;
    EXPECT_LT(alarms, 100 + 31);
    EXPECT_GT(alarms, 30);
    RecordProperty("alarms", alarms);
}

TEST(ChangePoint, NeedsValuesThatDiffer)
{
    EXPECT_EQ(FindChange({}).point, 0U);
    EXPECT_EQ(FindChange({1.0}).probability, 1.0);
    EXPECT_EQ(FindChange({1.0, 1.0, 1.0}).probability, 1.0);
    EXPECT_EQ(FindChange({1.0, 1.0, 1.0}).point, 0U);
}

} // namespace

} // namespace narvo::test
