// SPDX-License-Identifier: MIT
// Robust straight lines through pairs of grey levels: of all pixels by their counts, of the image's parts by sums.
#include "host/golden/light_fit.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include <opencv2/core.hpp>

#include "host/golden/robust_light.h"
#include "host/image/cv_image.h"

namespace narvo
{

namespace
{

constexpr int nGreyLevels = 256;
constexpr int nPart = 64;        // pixels, side of the parts that slow changes are seen in
constexpr int nPartsAcross = 10; // at most, along the longer side
constexpr int nStep = 3;         // of the pixels along x and y one in so many is looked at
constexpr int nLightSteps = 12;
constexpr double dLeastLightScale = 3.0; // grey levels
constexpr double dScaleOfMedian = 1.4826 * 2.385;
constexpr double dGainPlay = 0.05;   // of a part against the whole image, before the part's pixels say more
constexpr double dOffsetPlay = 5.0;  // grey levels
constexpr double dCorrelated = 25.0; // pixels that say as much as one
constexpr double dPartTie = 1.0;     // of neighbouring parts, in shares of the play
constexpr double dLeastLightGain = 0.2;
constexpr double dMostLightGain = 5.0;
constexpr double dNoChange = 1.0;  // grey levels: slow changes that are no more are none
constexpr double dSlowProof = 3.0; // standard errors by which slow changes must explain more than one light

/// Pixels by their grey levels in reference and image.
using PairCounts = std::vector<std::uint32_t>;

std::uint8_t Shown(double grey)
{
    return static_cast<std::uint8_t>(std::clamp(grey + 0.5, 0.0, 255.0));
}

double Weight(double difference, double scale)
{
    const double ratio = difference / scale;
    return 1.0 / (1.0 + ratio * ratio);
}

/// What the image should show, as far as it can.
double Expected(const LightAt& light, double grey)
{
    return std::clamp(light.gain * grey + light.offset, 0.0, 255.0);
}

/// Differences' scale of the weights under a light.
double ScaleOf(const PairCounts& counts, const LightAt& light)
{
    std::array<double, nGreyLevels> magnitudes{};
    double all = 0.0;
    for (int r = 0; r < nGreyLevels; ++r)
        for (int i = 0; i < nGreyLevels; ++i)
            if (const std::uint32_t n = counts[static_cast<std::size_t>(r) * nGreyLevels + static_cast<std::size_t>(i)])
            {
                magnitudes[static_cast<std::size_t>(std::abs(i - Expected(light, r)))] += n;
                all += n;
            }
    double sum = 0.0;
    int median = 0;
    while (median < nGreyLevels - 1 && (sum += magnitudes[static_cast<std::size_t>(median)]) < 0.5 * all)
        ++median;
    return std::max(dLeastLightScale, dScaleOfMedian * median);
}

/// Weighted straight line through the counts, from `light` on. Levels at which the image is saturated say nothing more
/// once they are expected to be.
LightAt FitWhole(const PairCounts& counts, LightAt light)
{
    for (int step = 0; step < nLightSteps; ++step)
    {
        const double scale = ScaleOf(counts, light);
        double w = 0.0;
        double x = 0.0;
        double y = 0.0;
        double xx = 0.0;
        double xy = 0.0;
        for (int r = 0; r < nGreyLevels; ++r)
        {
            const double plain = light.gain * r + light.offset;
            for (int i = 0; i < nGreyLevels; ++i)
            {
                const std::uint32_t n = counts[static_cast<std::size_t>(r) * nGreyLevels + static_cast<std::size_t>(i)];
                if (n == 0)
                    continue;
                const bool saturated = (i == 255 && plain > 255.0) || (i == 0 && plain < 0.0);
                const double shown = saturated ? plain : i;
                const double weight = n * Weight(i - Expected(light, r), scale);
                w += weight;
                x += weight * r;
                y += weight * shown;
                xx += weight * r * r;
                xy += weight * r * shown;
            }
        }
        const double variance = xx * w - x * x;
        LightAt next = light;
        if (w > 0.0 && variance > w * w) // a grey level squared
            next.gain = std::clamp((xy * w - x * y) / variance, dLeastLightGain, dMostLightGain);
        if (w > 0.0)
            next.offset = (y - next.gain * x) / w;
        const bool settled = std::abs(next.gain - light.gain) < 1e-4 && std::abs(next.offset - light.offset) < 0.02;
        light = next;
        if (settled)
            break;
    }
    return light;
}

/// Gain and offset by quantiles of both pictures' levels, which takes no pixel for another.
LightAt StartOf(const PairCounts& counts)
{
    std::array<double, nGreyLevels> reference{};
    std::array<double, nGreyLevels> image{};
    double all = 0.0;
    for (std::size_t r = 0; r < nGreyLevels; ++r)
        for (std::size_t i = 0; i < nGreyLevels; ++i)
        {
            const double n = counts[r * nGreyLevels + i];
            reference[r] += n;
            image[i] += n;
            all += n;
        }
    const auto quantile = [&](const std::array<double, nGreyLevels>& levels, double share)
    {
        double sum = 0.0;
        int level = 0;
        while (level < nGreyLevels - 1 && (sum += levels[static_cast<std::size_t>(level)]) < share * all)
            ++level;
        return level;
    };
    const int low = quantile(reference, 0.05);
    const int high = quantile(reference, 0.95);
    LightAt light;
    if (high > low)
    {
        light.gain =
            std::clamp(static_cast<double>(quantile(image, 0.95) - quantile(image, 0.05)) / (high - low), 0.3, 3.0);
        light.offset = 0.5 * (quantile(image, 0.95) + quantile(image, 0.05)) - light.gain * 0.5 * (low + high);
    }
    else
        light.offset = quantile(image, 0.5) - low;
    return light;
}

/// Weighted sums of one part of the image.
struct PartSums
{
    double w = 0.0;
    double x = 0.0;
    double y = 0.0;
    double xx = 0.0;
    double xy = 0.0;
    double loss = 0.0;
};

struct Grid
{
    int spacing;
    int columns;
    int rows;
};

std::vector<PartSums> SumParts(const GreyImage& reference, const GreyImage& image, const GreyImage& inside,
                               const Light& light, const Grid& grid, double scale)
{
    std::vector<PartSums> parts(static_cast<std::size_t>(grid.columns) * static_cast<std::size_t>(grid.rows));
    std::array<double, 2 * nGreyLevels> weights{};
    std::array<double, 2 * nGreyLevels> losses{};
    for (int d = -nGreyLevels + 1; d < nGreyLevels; ++d)
    {
        weights[static_cast<std::size_t>(d + nGreyLevels)] = Weight(d, scale);
        losses[static_cast<std::size_t>(d + nGreyLevels)] = std::log1p(d * d / (scale * scale));
    }
    std::vector<std::uint8_t> expected(static_cast<std::size_t>(reference.Width()));
    for (int y = 0; y < image.Height(); y += nStep)
    {
        std::copy_n(reference.Row(y), reference.Width(), expected.begin());
        light.Apply(y, expected.data(), reference.Width());
        for (int x = 0; x < image.Width(); x += nStep)
        {
            if (inside.Row(y)[x] == 0)
                continue;
            PartSums& part = parts[static_cast<std::size_t>(y / grid.spacing) * static_cast<std::size_t>(grid.columns) +
                                   static_cast<std::size_t>(x / grid.spacing)];
            const int shown = image.Row(y)[x];
            const int difference = shown - expected[static_cast<std::size_t>(x)];
            const auto k = static_cast<std::size_t>(difference + nGreyLevels);
            part.loss += losses[k];
            if (shown == 0 || shown == 255)
                continue; // perhaps saturated
            const double weight = weights[k];
            const double grey = reference.Row(y)[x];
            part.w += weight;
            part.x += weight * grey;
            part.y += weight * shown;
            part.xx += weight * grey * grey;
            part.xy += weight * grey * shown;
        }
    }
    return parts;
}

/// Each part's light, held to the whole image's and to its neighbours' where its pixels say little.
std::vector<LightAt> SolveParts(const std::vector<PartSums>& parts, const Grid& grid, const LightAt& whole,
                                double scale)
{
    std::vector<LightAt> lights(parts.size(), whole);
    const double noise = scale / 2.385;
    const double share = 1.0 / (dCorrelated * noise * noise);
    for (int sweep = 0; sweep < 2 * nLightSteps; ++sweep)
        for (int row = 0; row < grid.rows; ++row)
            for (int column = 0; column < grid.columns; ++column)
            {
                const auto at = [&](int c, int r) {
                    return static_cast<std::size_t>(r) * static_cast<std::size_t>(grid.columns) +
                           static_cast<std::size_t>(c);
                };
                LightAt held = whole;
                double ties = 0.25;
                held.gain *= ties;
                held.offset *= ties;
                const auto tie = [&](int c, int r)
                {
                    if (c < 0 || r < 0 || c >= grid.columns || r >= grid.rows)
                        return;
                    held.gain += dPartTie * lights[at(c, r)].gain;
                    held.offset += dPartTie * lights[at(c, r)].offset;
                    ties += dPartTie;
                };
                tie(column - 1, row);
                tie(column + 1, row);
                tie(column, row - 1);
                tie(column, row + 1);
                const PartSums& s = parts[at(column, row)];
                const double heldGain = 1.0 / (dGainPlay * dGainPlay);
                const double heldOffset = 1.0 / (dOffsetPlay * dOffsetPlay);
                const double xx = share * s.xx + ties * heldGain;
                const double x = share * s.x;
                const double w = share * s.w + ties * heldOffset;
                const double xy = share * s.xy + heldGain * held.gain;
                const double y = share * s.y + heldOffset * held.offset;
                const double determinant = xx * w - x * x;
                lights[at(column, row)] = {std::clamp((xy * w - x * y) / determinant, dLeastLightGain, dMostLightGain),
                                           (xx * y - x * xy) / determinant};
            }
    return lights;
}

/// From the parts' middles to nodes at multiples of the spacing, whose cells the parts are.
std::vector<LightAt> NodesOf(const std::vector<LightAt>& parts, const Grid& grid)
{
    std::vector<LightAt> nodes;
    for (int row = 0; row <= grid.rows; ++row)
        for (int column = 0; column <= grid.columns; ++column)
        {
            LightAt node{0.0, 0.0};
            for (const int r : {std::max(row - 1, 0), std::min(row, grid.rows - 1)})
                for (const int c : {std::max(column - 1, 0), std::min(column, grid.columns - 1)})
                {
                    const LightAt& part = parts[static_cast<std::size_t>(r) * static_cast<std::size_t>(grid.columns) +
                                                static_cast<std::size_t>(c)];
                    node.gain += 0.25 * part.gain;
                    node.offset += 0.25 * part.offset;
                }
            nodes.push_back(node);
        }
    return nodes;
}

} // namespace

std::array<std::uint8_t, 256> Light::Table() const
{
    std::array<std::uint8_t, 256> table{};
    for (int grey = 0; grey < nGreyLevels; ++grey)
        table[static_cast<std::size_t>(grey)] = Shown(whole.gain * grey + whole.offset);
    return table;
}

void Light::Apply(int y, std::uint8_t* pixels, int width) const
{
    if (IsUniform())
    {
        const std::array<std::uint8_t, 256> table = Table();
        for (int x = 0; x < width; ++x)
            pixels[x] = table[pixels[x]];
        return;
    }
    const int row = std::min(y / spacing, rows - 2);
    const float share = static_cast<float>(y - row * spacing) / static_cast<float>(spacing);
    const LightAt* upper = nodes.data() + static_cast<std::ptrdiff_t>(row) * columns;
    const LightAt* lower = upper + columns;
    const auto mix = [share](double a, double b) { return static_cast<float>(a) + share * static_cast<float>(b - a); };
    for (int column = 0; column < columns - 1; ++column)
    {
        const float gain = mix(upper[column].gain, lower[column].gain);
        const float offset = mix(upper[column].offset, lower[column].offset) + 0.5F;
        const float steps = 1.0F / static_cast<float>(spacing);
        const float gainStep = (mix(upper[column + 1].gain, lower[column + 1].gain) - gain) * steps;
        const float offsetStep = (mix(upper[column + 1].offset, lower[column + 1].offset) + 0.5F - offset) * steps;
        const int left = column * spacing;
        const int right = std::min(width, left + spacing);
        for (int x = left; x < right; ++x)
        {
            const auto k = static_cast<float>(x - left);
            const float grey = (gain + k * gainStep) * static_cast<float>(pixels[x]) + offset + k * offsetStep;
            pixels[x] = static_cast<std::uint8_t>(std::min(std::max(grey, 0.0F), 255.0F));
        }
    }
}

void Light::Apply(GreyImage& picture) const
{
    if (IsUniform())
    {
        const std::array<std::uint8_t, 256> table = Table();
        cv::Mat view = ViewOf(picture);
        cv::LUT(view, table, view);
        return;
    }
    for (int y = 0; y < picture.Height(); ++y)
        Apply(y, picture.Row(y), picture.Width());
}

Light FitLight(const GreyImage& reference, const GreyImage& image, const GreyImage& inside)
{
    PairCounts counts(static_cast<std::size_t>(nGreyLevels) * nGreyLevels, 0);
    for (int y = 0; y < image.Height(); y += nStep)
    {
        const std::uint8_t* mask = inside.Row(y);
        const std::uint8_t* r = reference.Row(y);
        const std::uint8_t* i = image.Row(y);
        for (int x = 0; x < image.Width(); x += nStep)
            if (mask[x] != 0)
                ++counts[static_cast<std::size_t>(r[x]) * nGreyLevels + i[x]];
    }
    Light light;
    light.whole = FitWhole(counts, StartOf(counts));
    const double scale = ScaleOf(counts, light.whole);

    const int longer = std::max(image.Width(), image.Height());
    const int spacing = std::max(nPart, (longer + nPartsAcross - 1) / nPartsAcross);
    const Grid grid{spacing, (image.Width() + spacing - 1) / spacing, (image.Height() + spacing - 1) / spacing};
    if (grid.columns * grid.rows < 4)
        return light;
    Light slow = light;
    slow.spacing = spacing;
    slow.columns = grid.columns + 1;
    slow.rows = grid.rows + 1;
    const std::vector<PartSums> uniform = SumParts(reference, image, inside, light, grid, scale);
    std::vector<PartSums> parts = uniform;
    for (int step = 0; step < 3; ++step)
    {
        const std::vector<LightAt> lights = SolveParts(parts, grid, light.whole, scale);
        double most = 0.0;
        for (const LightAt& part : lights)
            for (const double grey : {0.0, 128.0, 255.0})
                most = std::max(most, std::abs(Expected(part, grey) - Expected(light.whole, grey)));
        if (most < dNoChange)
            return light;
        slow.nodes = NodesOf(lights, grid);
        parts = SumParts(reference, image, inside, slow, grid, scale);
    }
    const auto losses = [](const std::vector<PartSums>& sums)
    {
        std::vector<double> values;
        for (const PartSums& part : sums)
            values.push_back(part.loss);
        return values;
    };
    return IsImprovement(losses(uniform), losses(parts), dSlowProof) ? slow : light;
}

} // namespace narvo
