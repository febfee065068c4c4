// SPDX-License-Identifier: MIT
// Limits, rules and ranks.
#include "host/statistics/control_chart.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>
#include <optional>
#include <utility>

#include "host/statistics/robust.h"

namespace narvo
{

namespace
{

/// The mean range of two normal values, in standard deviations: 2 / sqrt(pi), which tables give as 1.128.
constexpr double dRangeOfTwo = 1.1283791670955126;

/// From the mean moving range of the first values.
double DeviationOf(const std::vector<double>& values, std::size_t baseline)
{
    if (baseline < 2)
        return 0.0;
    double sum = 0.0;
    for (std::size_t i = 1; i < baseline; ++i)
        sum += std::abs(values[i] - values[i - 1]);
    return sum / static_cast<double>(baseline - 1) / dRangeOfTwo;
}

double MeanOf(const std::vector<double>& values, std::size_t count)
{
    return count == 0 ? 0.0
                      : std::accumulate(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(count), 0.0) /
                            static_cast<double>(count);
}

std::size_t BaselineOf(std::size_t wanted, std::size_t points)
{
    return wanted == 0 ? points : std::min(wanted, points);
}

/// Whether `needed` of the `window` scores that end at `last` lie beyond `limit` on a side, that one among them.
bool Fires(const std::vector<double>& scores, std::size_t first, std::size_t last, std::size_t window,
           std::size_t needed, double limit)
{
    if (!(scores[last] > limit))
        return false;
    std::size_t beyond = 0;
    for (std::size_t i = std::max(first, last + 1 - std::min(last + 1, window)); i <= last; ++i)
        beyond += scores[i] > limit ? 1U : 0U;
    return beyond >= needed;
}

std::optional<ChartRule> RuleAt(const std::vector<double>& scores, std::size_t first, std::size_t last)
{
    if (Fires(scores, first, last, 1, 1, 3.0))
        return ChartRule_Beyond3;
    if (Fires(scores, first, last, 3, 2, 2.0))
        return ChartRule_TwoOfThree;
    if (Fires(scores, first, last, 5, 4, 1.0))
        return ChartRule_FourOfFive;
    if (Fires(scores, first, last, 8, 8, 0.0))
        return ChartRule_EightInRow;
    return std::nullopt;
}

std::vector<ChartAlarm> AlarmsOf(const std::vector<double>& scores)
{
    std::vector<double> below(scores.size());
    std::transform(scores.begin(), scores.end(), below.begin(), [](double score) { return -score; });
    std::vector<ChartAlarm> alarms;
    std::size_t first = 0;
    for (std::size_t i = 0; i < scores.size(); ++i)
        for (const bool above : {true, false})
            if (const auto rule = first <= i ? RuleAt(above ? scores : below, first, i) : std::nullopt)
            {
                alarms.push_back({i, *rule, above});
                first = i + 1;
            }
    return alarms;
}

} // namespace

ControlChart ChartOfMeans(std::vector<double> values, const std::vector<double>& numbers, std::size_t baseline)
{
    ControlChart chart;
    chart.points = std::move(values);
    const std::size_t base = BaselineOf(baseline, chart.points.size());
    double sum = 0.0;
    double number = 0.0;
    for (std::size_t i = 0; i < base; ++i)
    {
        sum += chart.points[i] * numbers[i];
        number += numbers[i];
    }
    if (base == 0)
        return chart;
    chart.center = sum / number;
    std::vector<double> scores;
    for (std::size_t i = 0; i < chart.points.size(); ++i)
        scores.push_back((chart.points[i] - chart.center) * std::sqrt(numbers[i]));
    const double deviation = DeviationOf(scores, base);
    chart.deviation = deviation / std::sqrt(number / static_cast<double>(base));
    if (deviation > 0.0)
        for (const double score : scores)
            chart.scores.push_back(score / deviation);
    chart.alarms = AlarmsOf(chart.scores);
    return chart;
}

ControlChart ChartOfValues(std::vector<double> values, std::size_t baseline)
{
    const std::vector<double> ones(values.size(), 1.0);
    return ChartOfMeans(std::move(values), ones, baseline);
}

ControlChart ChartOfCounts(const std::vector<double>& counts, const std::vector<double>& areas, std::size_t baseline)
{
    ControlChart chart;
    const std::size_t base = BaselineOf(baseline, counts.size());
    const double area = MeanOf(areas, base);
    chart.center = area > 0.0 ? MeanOf(counts, base) / area : 0.0;
    std::vector<double> scores;
    for (std::size_t i = 0; i < counts.size(); ++i)
    {
        chart.points.push_back(counts[i] / areas[i]);
        if (chart.center > 0.0)
            scores.push_back((chart.points.back() - chart.center) / std::sqrt(chart.center / areas[i]));
    }
    chart.dispersion = scores.empty() ? 0.0 : DeviationOf(scores, base);
    if (chart.dispersion > 0.0)
    {
        chart.deviation = chart.dispersion * std::sqrt(chart.center / area);
        for (const double score : scores)
            chart.scores.push_back(score / chart.dispersion);
    }
    chart.alarms = AlarmsOf(chart.scores);
    return chart;
}

ChangePoint FindChange(const std::vector<double>& values)
{
    ChangePoint change;
    const std::size_t count = values.size();
    if (count < 2)
        return change;
    std::vector<std::size_t> order(count);
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::stable_sort(order.begin(), order.end(),
                     [&](std::size_t one, std::size_t other) { return values[one] < values[other]; });
    // Twice the rank, equal values with their mean rank: whole numbers.
    std::vector<double> twice(count);
    for (std::size_t begin = 0, end = 0; begin < count; begin = end)
    {
        for (end = begin; end < count && !(values[order[begin]] < values[order[end]]); ++end)
        {
        }
        for (std::size_t i = begin; i < end; ++i)
            twice[order[i]] = static_cast<double>(begin + end + 1);
    }
    const auto all = static_cast<double>(count);
    double sum = 0.0;
    double largest = 0.0;
    for (std::size_t i = 0; i + 1 < count; ++i)
    {
        sum += twice[i];
        // Pettitt's statistic: twice the ranks so far less what chance expects of them.
        const double statistic = std::abs(sum - static_cast<double>(i + 1) * (all + 1.0));
        if (statistic > largest)
        {
            largest = statistic;
            change.point = i + 1;
        }
    }
    if (change.point == 0)
        return change;
    change.probability = std::min(1.0, 2.0 * std::exp(-6.0 * largest * largest / (all * all * all + all * all)));
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(change.point);
    std::vector<double> before(values.begin(), middle);
    std::vector<double> after(middle, values.end());
    change.before = MedianOf(before);
    change.after = MedianOf(after);
    return change;
}

const std::string& ChartRuleText(ChartRule rule)
{
    static const std::array<std::string, 4> texts = {
        "a point beyond 3 standard deviations", "2 of 3 points beyond 2 standard deviations on one side",
        "4 of 5 points beyond 1 standard deviation on one side", "8 points in a row on one side"};
    return texts.at(static_cast<std::size_t>(rule) - 1);
}

} // namespace narvo
