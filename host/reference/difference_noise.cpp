// SPDX-License-Identifier: MIT
// Quantiles of differences in flat places.
#include "host/reference/difference_noise.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdlib>

namespace narvo
{

namespace
{

constexpr int nGreys = 256;
constexpr int nFlat = 16;           // grey levels between darkest and brightest: flat, if enough of the image is
constexpr double dEnough = 0.1;     // share of the pixels
constexpr double dLeast = 10.0;     // grey levels: rounding, interpolation, light that the fit leaves over
constexpr double dDeviations = 5.0; // of the noise that a connected blob of several pixels hardly ever exceeds
constexpr double dQuantile = 0.9;
constexpr double dQuantileAt = 1.645; // standard deviations at which normal noise has that quantile of its magnitude
constexpr double dMedianAt = 0.6745;
// Around edges differences have long tails: few pixels differ, but these by much.
constexpr double dTailQuantile = 0.95;
constexpr double dTail = 3.0;
constexpr double dMostAround = 40.0; // grey levels: more than that is no trace of processing

/// How many pixels differ by so many grey levels.
using Counts = std::array<std::uint64_t, nGreys>;

double Sum(const Counts& counts)
{
    std::uint64_t all = 0;
    for (const std::uint64_t count : counts)
        all += count;
    return static_cast<double>(all);
}

/// Quantile of whole numbers, with the fraction by which it lies within its number.
double Quantile(const Counts& counts, double share)
{
    const double all = Sum(counts);
    double sum = 0.0;
    for (int i = 0; i < nGreys; ++i)
    {
        const double count = static_cast<double>(counts[static_cast<std::size_t>(i)]);
        if (sum + count >= share * all && count > 0.0)
            return i == 0 ? 0.5 * (share * all - sum) / count : i - 0.5 + (share * all - sum) / count;
        sum += count;
    }
    return 0.0;
}

} // namespace

NoiseThreshold ThresholdFromNoise(const GreyImage& reference, const GreyImage& image, const GreyRange& range,
                                  const GreyImage& nearEdge, const GreyImage& inside)
{
    std::array<Counts, 2> narrow{}; // of the pixels away from edges and close to them
    Counts all{};
    for (int y = 0; y < image.Height(); ++y)
    {
        const std::uint8_t* mask = inside.Row(y);
        const std::uint8_t* shown = image.Row(y);
        const std::uint8_t* expected = reference.Row(y);
        const std::uint8_t* low = range.darkest.Row(y);
        const std::uint8_t* high = range.brightest.Row(y);
        const std::uint8_t* close = nearEdge.Row(y);
        // Every other pixel: enough for quantiles.
        for (int x = y & 1; x < image.Width(); x += 2)
        {
            if (mask[x] == 0)
                continue;
            const auto difference = static_cast<std::size_t>(std::abs(shown[x] - expected[x]));
            ++all[difference];
            if (high[x] - low[x] <= nFlat)
                ++narrow[close[x] != 0 ? 1 : 0][difference];
        }
    }
    const double enough = dEnough * Sum(all);
    const Counts& flat = Sum(narrow[0]) >= enough ? narrow[0] : Sum(narrow[1]) >= enough ? narrow[1] : all;
    NoiseThreshold threshold;
    threshold.noise = std::max(Quantile(flat, 0.5) / dMedianAt, Quantile(flat, dQuantile) / dQuantileAt);
    threshold.flat = static_cast<int>(std::lround(std::min(255.0, dLeast + dDeviations * threshold.noise)));
    threshold.nearEdge = threshold.flat;
    if (Sum(narrow[1]) > 0.0)
    {
        const double around = dLeast + dTail * Quantile(narrow[1], dTailQuantile);
        threshold.nearEdge = std::max(threshold.flat, static_cast<int>(std::lround(std::min(around, dMostAround))));
    }
    return threshold;
}

} // namespace narvo
