// SPDX-License-Identifier: MIT
// Moments of largest values, and limits from them.
#include "host/learn/extreme_value.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "host/statistics/robust.h"

namespace narvo
{

namespace
{

constexpr double dEuler = 0.5772;        // mean of the standard Gumbel distribution
constexpr double dMedian = 0.3665;       // its median
constexpr double dGumbel = 0.7796968;    // its scale over the standard deviation: sqrt(6) / pi
constexpr double dShrink = 0.5;          // weight of what all measures have in common in the scale of one
constexpr double dConfidence = 1.0;      // standard errors added to a limit
constexpr double dAloneConfidence = 3.0; // the same with one image, which says nothing of how images differ
constexpr std::size_t nFewImages = 5;    // fewer say little of the scatter from image to image
constexpr double dRateHigh = 0.5;
constexpr double dFewFactor = 2.0; // over the largest seen, with fewer

double Mean(const std::vector<double>& values)
{
    return std::accumulate(values.begin(), values.end(), 0.0) / static_cast<double>(values.size());
}

/// Sum of squared differences from the mean, divided by `by`.
double Deviation(const std::vector<double>& values, double by)
{
    const double mean = Mean(values);
    double squares = 0.0;
    for (const double value : values)
        squares += (value - mean) * (value - mean);
    return std::sqrt(squares / by);
}

/// One measure and polarity: where its limits go, and its largest values.
struct FeatureChannel
{
    double* typical;
    double* limit;
    std::vector<double> values;
};

/// @param pick adds the values of one image
template <typename Pick>
std::vector<FeatureChannel> ChannelsOf(const std::vector<const PlaceMaxima*>& good,
                                       std::vector<TextureFeature>& features, bool edge, Pick pick)
{
    std::vector<FeatureChannel> channels;
    for (std::size_t k = 0; k < features.size(); ++k)
    {
        TextureFeature& feature = features[k];
        FeatureChannel bright{edge ? &feature.edgeBrightTypical : &feature.brightTypical,
                              edge ? &feature.edgeBrightLimit : &feature.brightLimit,
                              {}};
        FeatureChannel dark{edge ? &feature.edgeDarkTypical : &feature.darkTypical,
                            edge ? &feature.edgeDarkLimit : &feature.darkLimit,
                            {}};
        for (const PlaceMaxima* image : good)
        {
            pick(image->bright[k], *image, bright.values);
            pick(image->dark[k], *image, dark.values);
        }
        channels.push_back(std::move(bright));
        channels.push_back(std::move(dark));
    }
    return channels;
}

/// Within the ranges of a recipe: images without any noise would need no limit at all.
void SetChannel(const FeatureChannel& channel, double typical, double limit)
{
    constexpr double dLeastReach = 1.0; // deviations from what is typical to a limit
    *channel.typical = std::clamp(typical, 0.0, dTextureDeviationHigh - dLeastReach);
    *channel.limit = std::clamp(limit, *channel.typical + dLeastReach, dTextureDeviationHigh);
}

/// Every channel gets place and scale of its own; one limit in these terms holds for the largest over all channels.
void SetInside(std::vector<FeatureChannel>& channels, double rate, double placesPerImage, double confidence)
{
    std::vector<double> medians;
    std::vector<double> scales;
    std::vector<double> relative;
    for (const FeatureChannel& channel : channels)
    {
        std::vector<double> values = channel.values;
        medians.push_back(std::max(MedianOf(values), 1e-6));
        scales.push_back(Deviation(channel.values, static_cast<double>(channel.values.size())) * dGumbel);
        relative.push_back(scales.back() / medians.back());
    }
    const double common = MedianOf(relative);
    std::vector<double> largest(channels.front().values.size(), -1e30);
    std::vector<double> modes;
    for (std::size_t k = 0; k < channels.size(); ++k)
    {
        scales[k] = std::max((1.0 - dShrink) * scales[k] + dShrink * common * medians[k], 1e-6);
        modes.push_back(medians[k] - dMedian * scales[k]);
        for (std::size_t i = 0; i < largest.size(); ++i)
            largest[i] = std::max(largest[i], (channels[k].values[i] - modes[k]) / scales[k]);
    }
    const double limit = ExtremeLimit(largest, rate / placesPerImage, confidence);
    for (std::size_t k = 0; k < channels.size(); ++k)
    {
        SetChannel(channels[k], modes[k], modes[k] + scales[k] * limit);
    }
}

void SetEdge(std::vector<FeatureChannel>& channels, double rate)
{
    const std::size_t images = channels.front().values.size();
    std::vector<double> medians;
    std::vector<double> largest(images, 0.0);
    for (const FeatureChannel& channel : channels)
    {
        std::vector<double> values = channel.values;
        medians.push_back(std::max(MedianOf(values), 1e-6));
        for (std::size_t i = 0; i < images; ++i)
            largest[i] = std::max(largest[i], channel.values[i] / medians.back());
    }
    const double limit = images < nFewImages ? dFewFactor * *std::max_element(largest.begin(), largest.end())
                                             : ExtremeLimit(largest, rate, dConfidence);
    for (std::size_t k = 0; k < channels.size(); ++k)
    {
        SetChannel(channels[k], 0.0, medians[k] * limit);
    }
}

} // namespace

double ExtremeLimit(const std::vector<double>& values, double rate, double confidence)
{
    const double count = static_cast<double>(values.size());
    const double scale = Deviation(values, count - 1.0) * dGumbel;
    // A rate near 1 would put the limit where values usually lie.
    const double level = -std::log(std::min(rate, dRateHigh));
    // Variance of the level's estimate by moments.
    const double error = scale * std::sqrt((1.11 + 0.52 * level + 0.61 * level * level) / count);
    return Mean(values) - dEuler * scale + scale * level + confidence * error;
}

void SetLimits(const std::vector<const PlaceMaxima*>& good, double rate, std::vector<TextureFeature>& features)
{
    std::size_t places = 0;
    for (const PlaceMaxima* image : good)
        places += image->places;
    std::vector<FeatureChannel> inside =
        ChannelsOf(good, features, false,
                   [](const FeatureMaxima& maxima, const PlaceMaxima&, std::vector<double>& values)
                   { values.insert(values.end(), maxima.inside.begin(), maxima.inside.end()); });
    SetInside(inside, rate / 2.0, static_cast<double>(places) / static_cast<double>(good.size()),
              good.size() == 1 ? dAloneConfidence : dConfidence);
    std::vector<FeatureChannel> edge =
        ChannelsOf(good, features, true,
                   [](const FeatureMaxima& maxima, const PlaceMaxima& image, std::vector<double>& values)
                   {
                       if (image.hasEdge)
                           values.push_back(maxima.edge);
                   });
    if (!edge.front().values.empty())
        SetEdge(edge, rate / 2.0);
}

} // namespace narvo
