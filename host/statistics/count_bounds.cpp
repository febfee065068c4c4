// SPDX-License-Identifier: MIT
// Sums of probabilities.
#include "host/statistics/count_bounds.h"

#include <algorithm>
#include <cmath>

namespace narvo
{

namespace
{

constexpr double dRisk = 0.05;

/// The probability of `events` or fewer. Terms are summed from the last one down, which does not underflow where the
/// mean is large.
double PoissonSum(std::size_t events, double mean)
{
    double logarithm = -mean;
    for (std::size_t k = 1; k <= events; ++k)
        logarithm += std::log(mean / static_cast<double>(k));
    double term = 1.0;
    double sum = 1.0;
    for (std::size_t k = events; k > 0 && term > 1e-18 * sum; --k)
    {
        term *= static_cast<double>(k) / mean;
        sum += term;
    }
    return sum * std::exp(logarithm);
}

/// Whether the probability of `found` or more of `trials` lies above `risk`.
bool HasTailAbove(std::size_t found, std::size_t trials, double share, double risk)
{
    double logarithm =
        static_cast<double>(found) * std::log(share) + static_cast<double>(trials - found) * std::log1p(-share);
    for (std::size_t k = 1; k <= trials - found; ++k)
        logarithm += std::log(static_cast<double>(found + k) / static_cast<double>(k));
    double term = 1.0;
    double sum = 1.0;
    const double enough = std::exp(std::log(risk) - logarithm);
    for (std::size_t k = found; k < trials && sum <= enough && term > 1e-18 * sum; ++k)
    {
        term *= static_cast<double>(trials - k) / static_cast<double>(k + 1) * share / (1.0 - share);
        sum += term;
    }
    return sum > enough;
}

/// By Stirling's series, whose error lies below 1e-12 from 16 on; std::lgamma writes a global variable.
double LogFactorial(double number)
{
    constexpr double dSeries = 16.0;
    constexpr double dHalfLogTwoPi = 0.918938533204672742;
    double below = 0.0;
    double value = number + 1.0;
    while (value < dSeries)
    {
        below += std::log(value);
        value += 1.0;
    }
    const double inverse = 1.0 / (value * value);
    return (value - 0.5) * std::log(value) - value + dHalfLogTwoPi +
           (1.0 / 12.0 - (1.0 / 360.0 - (1.0 / 1260.0 - inverse / 1680.0) * inverse) * inverse) / value - below;
}

} // namespace

double PoissonBound(std::size_t events)
{
    constexpr int nHalvings = 60;
    double low = static_cast<double>(events);
    double high = 10.0 + 3.0 * static_cast<double>(events);
    for (int step = 0; step < nHalvings; ++step)
    {
        const double mean = 0.5 * (low + high);
        (PoissonSum(events, mean) > dRisk ? low : high) = mean;
    }
    return 0.5 * (low + high);
}

double LowerShareBound(std::size_t found, std::size_t trials)
{
    constexpr int nHalvings = 60;
    if (found == 0)
        return 0.0;
    double low = 0.0;
    double high = 1.0;
    for (int step = 0; step < nHalvings; ++step)
    {
        const double share = 0.5 * (low + high);
        (HasTailAbove(found, trials, share, dRisk) ? high : low) = share;
    }
    return 0.5 * (low + high);
}

double BinomialTail(std::size_t found, std::size_t trials, double share)
{
    const auto all = static_cast<double>(trials);
    const auto least = static_cast<double>(found);
    if (found == 0 || share >= 1.0)
        return found <= trials ? 1.0 : 0.0;
    if (found > trials || share <= 0.0)
        return 0.0;
    // So far below the mean that no double tells the rest from 1, and the first term need not be one.
    constexpr double dDeviations = 20.0;
    if (least < all * share - dDeviations * std::sqrt(all * share * (1.0 - share)) - dDeviations)
        return 1.0;
    double term = 1.0;
    double sum = 1.0;
    for (std::size_t k = found; k < trials; ++k)
    {
        const double ratio = static_cast<double>(trials - k) / static_cast<double>(k + 1) * share / (1.0 - share);
        term *= ratio;
        sum += term;
        if (ratio < 1.0 && term <= 1e-17 * sum)
            break;
    }
    const double logarithm = LogFactorial(all) - LogFactorial(least) - LogFactorial(all - least) +
                             least * std::log(share) + (all - least) * std::log1p(-share);
    return std::min(1.0, std::exp(logarithm + std::log(sum)));
}

double ShareBoundOfNone(std::size_t trials)
{
    return trials == 0 ? 1.0 : 1.0 - std::pow(dRisk, 1.0 / static_cast<double>(trials));
}

} // namespace narvo
