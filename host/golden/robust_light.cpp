// SPDX-License-Identifier: MIT
// Gain, offsets, scale and loss of the differences at the points.
#include "host/golden/robust_light.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace narvo
{

namespace
{

constexpr double dMedianToScale = 1.4826 * 2.385; // from median of absolute values to the scale of the weights
constexpr double dLeastScale = 2.0;               // grey levels: rounding of both pictures is never less
constexpr std::size_t nMedianStep = 4;            // of the points one in so many: enough for a median
constexpr double dLeastGain = 0.25;
constexpr double dMostGain = 4.0;

double Median(std::vector<float>& values)
{
    if (values.empty())
        return 0.0;
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/// Median of absolute values by counts of their levels, each a share of a grey level; the last counts all beyond.
class MagnitudeMedian
{
public:
    void Add(float value)
    {
        const float level = std::abs(value) * nLevelsPerGrey;
        ++m_counts[static_cast<std::size_t>(std::min(level, static_cast<float>(nLevels - 1)))];
        ++m_all;
    }

    double Value() const
    {
        if (m_all == 0)
            return 0.0;
        std::uint32_t sum = 0;
        std::size_t level = 0;
        while ((sum += m_counts[level]) <= m_all / 2)
            ++level;
        return (static_cast<double>(level) + 0.5) / nLevelsPerGrey;
    }

private:
    static constexpr int nLevelsPerGrey = 32;
    static constexpr int nLevels = 256 * nLevelsPerGrey;

    std::vector<std::uint32_t> m_counts = std::vector<std::uint32_t>(nLevels, 0U);
    std::uint32_t m_all = 0;
};

/// Loss of each block, of the points that both looks have inside, by that scale.
std::vector<double> BlockLosses(const EdgePoints& points, const PointLook& look, const PointLook& other,
                                const Differences& differences, double scale, int half)
{
    std::vector<double> losses(points.Blocks(), 0.0);
    for (std::size_t block = 0; block < points.Blocks(); ++block)
        for (std::size_t i = points.blocks[block]; i < points.blocks[block + 1]; ++i)
        {
            if (look.inside[i] == 0 || other.inside[i] == 0 || points.odd[i] == 1 - half)
                continue;
            const double ratio = differences.difference[i] / scale;
            losses[block] += std::log1p(ratio * ratio);
        }
    return losses;
}

} // namespace

void StartLight(const EdgePoints& points, const PointLook& look, Differences& differences)
{
    double count = 0.0;
    double a = 0.0;
    double b = 0.0;
    double aa = 0.0;
    double bb = 0.0;
    for (std::size_t i = 0; i < points.Size(); ++i)
        if (look.inside[i] != 0)
        {
            count += 1.0;
            a += points.value[i];
            b += look.value[i];
            aa += static_cast<double>(points.value[i]) * points.value[i];
            bb += static_cast<double>(look.value[i]) * look.value[i];
        }
    const double image = aa * count - a * a;
    const double reference = bb * count - b * b;
    differences.gain =
        image > 0.0 && reference > 0.0 ? std::clamp(std::sqrt(image / reference), dLeastGain, dMostGain) : 1.0;
    StartOffsets(points, look, differences);
}

void StartOffsets(const EdgePoints& points, const PointLook& look, Differences& differences)
{
    differences.offsets.assign(points.Blocks(), 0.0);
    std::vector<float> values;
    for (std::size_t block = 0; block < points.Blocks(); ++block)
    {
        values.clear();
        for (std::size_t i = points.blocks[block]; i < points.blocks[block + 1]; ++i)
            if (look.inside[i] != 0)
                values.push_back(points.value[i] - static_cast<float>(differences.gain) * look.value[i]);
        differences.offsets[block] = Median(values);
    }
    Differ(points, look, differences);
}

void Differ(const EdgePoints& points, const PointLook& look, Differences& differences)
{
    differences.difference.assign(points.Size(), 0.0F);
    MagnitudeMedian median;
    const auto gain = static_cast<float>(differences.gain);
    for (std::size_t block = 0; block < points.Blocks(); ++block)
    {
        const auto offset = static_cast<float>(differences.offsets[block]);
        for (std::size_t i = points.blocks[block]; i < points.blocks[block + 1]; ++i)
        {
            if (look.inside[i] == 0)
                continue;
            differences.difference[i] = points.value[i] - gain * look.value[i] - offset;
            if (i % nMedianStep == 0)
                median.Add(differences.difference[i]);
        }
    }
    differences.scale = std::max(dLeastScale, dMedianToScale * median.Value());
}

void CentreOffsets(const EdgePoints& points, const PointLook& look, Differences& differences)
{
    for (std::size_t block = 0; block < points.Blocks(); ++block)
    {
        double weights = 0.0;
        double sum = 0.0;
        for (std::size_t i = points.blocks[block]; i < points.blocks[block + 1]; ++i)
        {
            if (look.inside[i] == 0)
                continue;
            const double weight = RobustWeight(differences.difference[i], differences.scale);
            weights += weight;
            sum += weight * differences.difference[i];
        }
        if (weights > 0.0)
            differences.offsets[block] += sum / weights;
    }
    Differ(points, look, differences);
}

bool IsImprovement(const std::vector<double>& simple, const std::vector<double>& rich, double proof)
{
    double sum = 0.0;
    double squares = 0.0;
    for (std::size_t i = 0; i < simple.size(); ++i)
    {
        const double gain = simple[i] - rich[i];
        sum += gain;
        squares += gain * gain;
    }
    return sum > 0.0 && sum * sum > proof * proof * squares;
}

bool Explains(const EdgePoints& points, const PointFit& simple, const PointFit& rich, double proof, int half)
{
    // One scale for both: that of the better fit.
    const double scale = std::min(simple.differences.scale, rich.differences.scale);
    return IsImprovement(BlockLosses(points, simple.look, rich.look, simple.differences, scale, half),
                         BlockLosses(points, rich.look, simple.look, rich.differences, scale, half), proof);
}

} // namespace narvo
