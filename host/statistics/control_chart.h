// SPDX-License-Identifier: MIT
// Control charts: values in their order, limits from how they differ from one to the next, and rules that say where
// they leave what they were.
//
// Values by themselves: the individuals chart, whose standard deviation is the mean moving range over 1.128
// (D. C. Montgomery, Introduction to Statistical Quality Control); means of unequal numbers of values are brought to
// one scale by the roots of these numbers before. Counts: the u' chart, whose limits follow from the area of each and
// widen where counts vary more than a Poisson distribution lets them (D. B. Laney, Improved control charts for
// attributes, Quality Engineering 14, 2002, p. 531).
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace narvo
{

/// The four rules of the Western Electric Company's Statistical Quality Control Handbook (1956).
enum ChartRule : int
{
    ChartRule_Beyond3 = 1, ///< a point beyond three standard deviations
    ChartRule_TwoOfThree,  ///< two of three points beyond two on one side, the last among them
    ChartRule_FourOfFive,  ///< four of five points beyond one on one side, the last among them
    ChartRule_EightInRow   ///< eight points in a row on one side
};

/// How many points of normal values there are from one alarm by chance to the next, by all four rules (C. W. Champ and
/// W. H. Woodall, Exact results for Shewhart control charts with supplementary runs rules, Technometrics 29, 1987,
/// p. 393).
constexpr double dPointsBetweenAlarms = 91.75;

struct ChartAlarm
{
    std::size_t point = 0; ///< the last of those that the rule takes together
    ChartRule rule = ChartRule_Beyond3;
    bool above = false; ///< the side
};

struct ControlChart
{
    std::vector<double> points; ///< what is drawn: values, or counts by area
    std::vector<double> scores; ///< the same in standard deviations from the centre; empty where there are no limits
    double center = 0.0;
    double deviation = 0.0;  ///< of the points; of counts, at the mean area; 0: they do not vary, and have no limits
    double dispersion = 1.0; ///< of counts: the standard deviation over that of a Poisson distribution
    std::vector<ChartAlarm> alarms; ///< after each, the rules begin anew behind it
};

/// Values that are each the mean of so many, above 0: the deviation is that of a mean of the mean number. `baseline`
/// points from the first on give centre and deviation; 0: all.
ControlChart ChartOfMeans(std::vector<double> values, const std::vector<double>& numbers, std::size_t baseline);

/// The same for values by themselves.
ControlChart ChartOfValues(std::vector<double> values, std::size_t baseline);

/// Counts in areas above 0.
ControlChart ChartOfCounts(const std::vector<double>& counts, const std::vector<double>& areas, std::size_t baseline);

/// A change of level at one point of a series, by ranks (A. N. Pettitt, A non-parametric approach to the change-point
/// problem, Applied Statistics 28, 1979, p. 126).
struct ChangePoint
{
    std::size_t point = 0; ///< first of the later level; 0: too few points
    double before = 0.0;   ///< medians
    double after = 0.0;
    double probability = 1.0; ///< that chance alone shows as large a change
};

ChangePoint FindChange(const std::vector<double>& values);

/// "a point beyond 3 standard deviations", "2 of 3 points beyond 2 on one side", ...
const std::string& ChartRuleText(ChartRule rule);

} // namespace narvo
