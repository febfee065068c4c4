// SPDX-License-Identifier: MIT
// Maximum of the likelihood, its profile over the size found with 90 % probability, and the cases without a maximum.
#include "host/statistics/detection_fit.h"

#include <algorithm>
#include <cmath>

#include "host/problem.h"
#include "host/statistics/count_bounds.h"

namespace narvo
{

namespace
{

constexpr double dWanted = 0.9;           // probability of being found
const double dLogOdds90 = std::log(9.0);  // of that
constexpr double dDevianceHigh = 2.7055;  // quantile 0.90 of chi-squared with one degree of freedom: 95 % to one side
constexpr double dNormal99 = 2.3263;      // quantile 0.99 of the normal distribution
constexpr std::size_t nTrialsWanted = 60; // MIL-HDBK-1823A for hit/miss
constexpr int nBisections = 100;
constexpr double dSlopeHigh = 1e4;

/// ln(1 + exp(x)) without overflow.
double LogOnePlusExp(double x)
{
    return x > 0.0 ? x + std::log1p(std::exp(-x)) : std::log1p(std::exp(x));
}

double ProbabilityOf(double logOdds)
{
    return logOdds >= 0.0 ? 1.0 / (1.0 + std::exp(-logOdds)) : std::exp(logOdds) / (1.0 + std::exp(logOdds));
}

/// Sizes as logarithms around their mean.
struct Trials
{
    struct Group
    {
        double x;
        double planted;
        double found;
    };
    std::vector<Group> groups;
    double centre = 0.0; ///< mean logarithm of the size

    explicit Trials(const std::vector<SizeCount>& counts)
    {
        double all = 0.0;
        for (const SizeCount& count : counts)
        {
            all += static_cast<double>(count.planted);
            centre += static_cast<double>(count.planted) * std::log(count.size);
        }
        centre /= all;
        for (const SizeCount& count : counts)
            groups.push_back(
                {std::log(count.size) - centre, static_cast<double>(count.planted), static_cast<double>(count.found)});
    }

    double LogLikelihood(double intercept, double slope) const
    {
        double sum = 0.0;
        for (const Group& group : groups)
        {
            const double logOdds = intercept + slope * group.x;
            sum -= group.found * LogOnePlusExp(-logOdds) + (group.planted - group.found) * LogOnePlusExp(logOdds);
        }
        return sum;
    }

    /// The largest likelihood of the curves, not falling, that reach 0.9 at `x`. It is concave in the slope.
    double ProfileAt(double x) const
    {
        const auto derivative = [&](double slope)
        {
            double sum = 0.0;
            for (const Group& group : groups)
            {
                const double distance = group.x - x;
                sum += (group.found - group.planted * ProbabilityOf(dLogOdds90 + slope * distance)) * distance;
            }
            return sum;
        };
        double low = 0.0;
        double high = 1.0;
        while (high < dSlopeHigh && derivative(high) > 0.0)
            high *= 2.0;
        for (int step = 0; step < nBisections; ++step)
        {
            const double slope = 0.5 * (low + high);
            (derivative(slope) > 0.0 ? low : high) = slope;
        }
        return LogLikelihood(dLogOdds90 - low * x, low);
    }
};

struct Curve
{
    double intercept; ///< at the trials' centre
    double slope;
};

/// Newton's method; steps that do not raise the likelihood are halved. The trials overlap, so there is one maximum.
Curve MostLikely(const Trials& trials)
{
    constexpr int nSteps = 100;
    double found = 0.0;
    double planted = 0.0;
    for (const Trials::Group& group : trials.groups)
    {
        found += group.found;
        planted += group.planted;
    }
    Curve curve{std::log(found / (planted - found)), 0.0};
    double best = trials.LogLikelihood(curve.intercept, curve.slope);
    for (int step = 0; step < nSteps; ++step)
    {
        double gradient0 = 0.0;
        double gradient1 = 0.0;
        double weight = 0.0;
        double weightX = 0.0;
        double weightXX = 0.0;
        for (const Trials::Group& group : trials.groups)
        {
            const double p = ProbabilityOf(curve.intercept + curve.slope * group.x);
            const double rest = group.found - group.planted * p;
            const double w = group.planted * p * (1.0 - p);
            gradient0 += rest;
            gradient1 += rest * group.x;
            weight += w;
            weightX += w * group.x;
            weightXX += w * group.x * group.x;
        }
        const double determinant = weight * weightXX - weightX * weightX;
        if (!(determinant > 0.0))
            break;
        double change0 = (weightXX * gradient0 - weightX * gradient1) / determinant;
        double change1 = (weight * gradient1 - weightX * gradient0) / determinant;
        double raised = trials.LogLikelihood(curve.intercept + change0, curve.slope + change1);
        for (int halving = 0; halving < 60 && !(raised > best); ++halving)
        {
            change0 *= 0.5;
            change1 *= 0.5;
            raised = trials.LogLikelihood(curve.intercept + change0, curve.slope + change1);
        }
        if (!(raised > best))
            break;
        curve.intercept += change0;
        curve.slope += change1;
        best = raised;
    }
    return curve;
}

/// Whether the deviance of the counts from the curve is below the 99 % quantile of chi-squared (Wilson and Hilferty).
bool SuitsCounts(const Trials& trials, const Curve& curve)
{
    if (trials.groups.size() < 3)
        return true;
    double deviance = 0.0;
    const auto term = [](double seen, double expected) { return seen > 0.0 ? seen * std::log(seen / expected) : 0.0; };
    for (const Trials::Group& group : trials.groups)
    {
        const double logOdds = curve.intercept + curve.slope * group.x;
        deviance += 2.0 * (term(group.found, group.planted * ProbabilityOf(logOdds)) +
                           term(group.planted - group.found, group.planted * ProbabilityOf(-logOdds)));
    }
    const double freedom = static_cast<double>(trials.groups.size() - 2);
    const double part = 2.0 / (9.0 * freedom);
    return deviance <= freedom * std::pow(1.0 - part + dNormal99 * std::sqrt(part), 3.0);
}

SizeFigure Among(double size, const std::vector<SizeCount>& counts)
{
    constexpr double dRounding = 1e-9;
    if (size > counts.back().size * (1.0 + dRounding))
        return {SizeFigure::Above, static_cast<double>(counts.back().size), 0.0};
    if (size <= counts.front().size)
        return {SizeFigure::UpTo, 0.0, static_cast<double>(counts.front().size)};
    return {SizeFigure::Within, 0.0, size};
}

/// By counting alone, from the size number `first` on: the smallest size up to which enough were found to exclude a
/// probability below 0.9, since smaller ones are found no more often than larger ones. 29 without a miss are enough.
SizeFigure BoundByCounting(const std::vector<SizeCount>& counts, std::size_t first)
{
    std::size_t planted = 0;
    std::size_t found = 0;
    for (std::size_t i = first; i < counts.size(); ++i)
    {
        planted += counts[i].planted;
        found += counts[i].found;
        if (LowerShareBound(found, planted) >= dWanted)
            return Among(counts[i].size, counts);
    }
    return {SizeFigure::Above, static_cast<double>(counts.back().size), 0.0};
}

/// Larger ones are not found more often: all sizes have one share.
void FitShare(const std::vector<SizeCount>& counts, std::size_t found, DetectionFit& fit)
{
    fit.outcome = Fit_NotGrowing;
    if (static_cast<double>(found) < dWanted * static_cast<double>(fit.trials))
        return;
    fit.a90 = Among(counts.front().size, counts);
    fit.a9095 = BoundByCounting(counts, 0);
}

void FitCurve(const std::vector<SizeCount>& counts, std::size_t found, DetectionFit& fit)
{
    const Trials trials(counts);
    const Curve curve = MostLikely(trials);
    if (!(curve.slope > 0.0))
    {
        FitShare(counts, found, fit);
        return;
    }
    fit.outcome = Fit_Curve;
    fit.slope = curve.slope;
    fit.intercept = curve.intercept - curve.slope * trials.centre;
    fit.suitsCounts = SuitsCounts(trials, curve);
    const double size90 = (dLogOdds90 - curve.intercept) / curve.slope; // logarithm, around the centre
    fit.a90 = Among(std::exp(size90 + trials.centre), counts);
    const double highest = trials.LogLikelihood(curve.intercept, curve.slope);
    const auto excluded = [&](double x) { return 2.0 * (highest - trials.ProfileAt(x)) > dDevianceHigh; };
    double low = size90;
    double high = std::log(counts.back().size) - trials.centre;
    if (low >= high || !excluded(high))
    {
        fit.a9095 = {SizeFigure::Above, static_cast<double>(counts.back().size), 0.0};
        return;
    }
    for (int step = 0; step < nBisections; ++step)
    {
        const double middle = 0.5 * (low + high);
        (excluded(middle) ? high : low) = middle;
    }
    fit.a9095 = Among(std::exp(high + trials.centre), counts);
}

std::vector<SizeCount> Planted(const std::vector<SizeCount>& counts)
{
    std::vector<SizeCount> planted;
    std::copy_if(counts.begin(), counts.end(), std::back_inserter(planted),
                 [](const SizeCount& count) { return count.planted > 0; });
    return planted;
}

std::size_t FoundOf(const std::vector<SizeCount>& counts)
{
    std::size_t found = 0;
    for (const SizeCount& count : counts)
        found += count.found;
    return found;
}

std::string Rounded1(double value)
{
    return FormatNumber(std::round(value * 10.0) / 10.0);
}

} // namespace

double DetectionFit::ProbabilityAt(double size) const
{
    return ProbabilityOf(intercept + slope * std::log(size));
}

DetectionFit FitDetection(const std::vector<SizeCount>& all)
{
    const std::vector<SizeCount> counts = Planted(all);
    DetectionFit fit;
    for (const SizeCount& count : counts)
        fit.trials += count.planted;
    const std::size_t found = FoundOf(counts);
    if (counts.empty())
        return fit;
    if (found == 0)
    {
        fit.outcome = Fit_NothingFound;
        fit.a90 = fit.a9095 = {SizeFigure::Above, static_cast<double>(counts.back().size), 0.0};
        return fit;
    }
    if (found == fit.trials)
    {
        fit.outcome = Fit_EverythingFound;
        fit.a90 = Among(counts.front().size, counts);
        fit.a9095 = BoundByCounting(counts, 0);
        return fit;
    }
    std::size_t lastMiss = 0;
    std::size_t firstHit = counts.size();
    for (std::size_t i = 0; i < counts.size(); ++i)
    {
        if (counts[i].found < counts[i].planted)
            lastMiss = i;
        if (counts[i].found > 0)
            firstHit = std::min(firstHit, i);
    }
    if (lastMiss > firstHit)
    {
        FitCurve(counts, found, fit);
        return fit;
    }
    fit.outcome = Fit_Step;
    if (lastMiss + 1 == counts.size())
        fit.a90 = {SizeFigure::Above, static_cast<double>(counts.back().size), 0.0};
    else
        fit.a90 = {SizeFigure::Between, static_cast<double>(counts[lastMiss].size),
                   static_cast<double>(counts[lastMiss + 1].size)};
    fit.a9095 = BoundByCounting(counts, lastMiss + 1);
    return fit;
}

std::string SizeText(const SizeFigure& figure)
{
    switch (figure.place)
    {
    case SizeFigure::Within:
        return Rounded1(figure.high);
    case SizeFigure::Between:
        return FormatNumber(figure.low) + " to " + FormatNumber(figure.high);
    case SizeFigure::UpTo:
        return "up to " + FormatNumber(figure.high);
    case SizeFigure::Above:
        return "above " + FormatNumber(figure.low);
    case SizeFigure::Unknown:
        break;
    }
    return "-";
}

namespace
{

/// What was found of the largest size of which some were missed.
std::string FoundAtStep(const std::vector<SizeCount>& counts, double size)
{
    const auto step =
        std::find_if(counts.begin(), counts.end(), [&](const SizeCount& count) { return count.size >= size; });
    if (step == counts.end() || step->found == 0)
        return "none up to " + FormatNumber(size);
    return std::to_string(step->found) + " of " + std::to_string(step->planted) + " of " + FormatNumber(size) +
           " pixels";
}

} // namespace

std::string DescribeFit(const DetectionFit& fit, const std::vector<SizeCount>& all)
{
    const std::vector<SizeCount> counts = Planted(all);
    const auto bounded = [&]() -> std::string
    {
        if (fit.a9095.place == SizeFigure::Above)
            return "the trials do not show at 95 % confidence that any of these sizes is found with 90 % probability.";
        return "at 95 % confidence, 90 % or more are found from " + Rounded1(fit.a9095.high) + " pixels on.";
    };
    const std::string trials = std::to_string(fit.trials);
    std::string text;
    switch (fit.outcome)
    {
    case Fit_NoTrials:
        return "None could be planted: the images have no room for them.";
    case Fit_NothingFound:
        text = "None of " + trials + " was found: at 95 % confidence, at most " +
               Rounded1(100.0 * ShareBoundOfNone(counts.back().planted)) + " % of those of " +
               std::to_string(counts.back().size) + " pixels are.";
        break;
    case Fit_EverythingFound:
        text = "All " + trials + " were found, so the size found with 90 % probability may lie anywhere up to " +
               std::to_string(counts.front().size) + " pixels; " + bounded();
        break;
    case Fit_Step:
        if (fit.a90.place == SizeFigure::Above)
            text = "Only some of the largest, of " + FormatNumber(fit.a90.low) + " pixels, were found; " + bounded();
        else
            text = "All were found from " + FormatNumber(fit.a90.high) + " pixels on, " +
                   FoundAtStep(counts, fit.a90.low) + ": no curve is determined between the two; " + bounded();
        break;
    case Fit_NotGrowing:
        text = "Larger ones were not found more often than smaller ones: " + std::to_string(FoundOf(counts)) + " of " +
               trials + " in all; " +
               (fit.a90.place == SizeFigure::Unknown ? "no size is found with 90 % probability." : bounded());
        break;
    case Fit_Curve:
        text = fit.a90.place == SizeFigure::Above
                   ? "By the fitted curve 90 % are found only above " + FormatNumber(fit.a90.low) +
                         " pixels, the largest size that was planted."
                   : "90 % are found at " + SizeText(fit.a90) + " pixels; " + bounded();
        break;
    }
    if (!fit.suitsCounts)
        text += " The counts do not follow the curve (1 % level): trust the counts rather than the figures.";
    if (fit.trials < nTrialsWanted)
        text += " " + std::to_string(nTrialsWanted) + " trials or more are wanted; there were " + trials + ".";
    return text;
}

} // namespace narvo
