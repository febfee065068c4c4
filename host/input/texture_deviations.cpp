// SPDX-License-Identifier: MIT
// From an image to its measures.
#include "host/input/texture_deviations.h"

#include <algorithm>
#include <utility>
#include <vector>

#include <opencv2/imgproc.hpp>

#include "host/image/cv_image.h"
#include "host/input/flatten.h"
#include "host/input/line_means.h"
#include "host/input/pattern_area.h"
#include "host/statistics/robust.h"

namespace narvo
{

namespace
{

constexpr int nGuard = 8;              // pixels beside a margin that show neither the one nor the other
constexpr int nEdgeAcross = 5;         // pixels: width of the window beside a margin
constexpr int nCoarseSide = 4;         // pixels: of the means whose variation is the coarse energy
constexpr double dCoarseGain = 2.0;    // means of independent values vary less; those of cloth do not much
constexpr double dCountedHigh = 4.0;   // deviations that count for energy and lines
constexpr double dEnergyFloor = 0.1;   // of the energy that others are compared with
constexpr double dLeastWindow = 0.1;   // share of a window inside the area that its energy is divided by at least
constexpr double dSquareInside = 0.6;  // share of a square that lies inside where it counts
constexpr double dLeastSquare = 0.3;   // that its mean is divided by at least
constexpr double dMostly = 0.5;        // share from which a reduced pixel belongs to an area
constexpr int nFewestPlaces = 64;      // with a median worth its name
constexpr std::size_t nSample = 20000; // values that a median is taken from
constexpr float fLeastSpread = 0.01F;  // of a measure: lower where most places are equal, as in two-level images

/// What lies within `reach` pixels of the outside goes out too; the image's border is no outside.
cv::Mat Shrink(const cv::Mat& area, int reach)
{
    cv::Mat shrunk;
    cv::erode(area, shrunk, cv::Mat::ones(2 * reach + 1, 2 * reach + 1, CV_8U));
    return shrunk;
}

/// Columns and rows that make the sides whole numbers of the coarsest pixels.
cv::Mat FilledUp(const cv::Mat& values)
{
    const auto missing = [](int side) { return (nTextureFoldHigh - side % nTextureFoldHigh) % nTextureFoldHigh; };
    cv::Mat filled;
    cv::copyMakeBorder(values, filled, 0, missing(values.rows), 0, missing(values.cols), cv::BORDER_CONSTANT, 0.0);
    return filled;
}

cv::Mat Halved(const cv::Mat& values)
{
    cv::Mat half;
    cv::resize(values, half, {values.cols / 2, values.rows / 2}, 0, 0, cv::INTER_AREA);
    return half;
}

/// Brightness as an energy sees it.
cv::Mat VaryingPart(const cv::Mat& brightness, int source)
{
    constexpr int nPlainDifference = 1; // right minus left, or lower minus upper neighbour
    cv::Mat varying;
    switch (source)
    {
    case TextureSource_Coarse:
        return WindowMean(brightness, {nCoarseSide, nCoarseSide}) * dCoarseGain;
    case TextureSource_EnergyX:
        cv::Sobel(brightness, varying, CV_32F, 1, 0, nPlainDifference);
        return varying;
    case TextureSource_EnergyY:
        cv::Sobel(brightness, varying, CV_32F, 0, 1, nPlainDifference);
        return varying;
    default:
        return brightness;
    }
}

/// How strongly values vary against the same over a large window: 0 is as much as there.
/// @param share of each window inside
cv::Mat RelativeEnergy(const cv::Mat& values, const cv::Mat& inside, const cv::Mat& share, int window)
{
    const cv::Mat energy = cv::min(cv::abs(values), dCountedHigh).mul(inside);
    cv::Mat around = WindowMean(energy, {window, window});
    cv::divide(around, share, around);
    cv::Mat relative;
    cv::divide(energy, around + dEnergyFloor, relative);
    return (relative - 1.0).mul(inside);
}

/// Every n-th value inside, few enough for a median.
std::vector<float> Sample(const cv::Mat& values, const cv::Mat& inside, int count)
{
    const std::size_t step = std::max<std::size_t>(1, static_cast<std::size_t>(count) / nSample);
    std::vector<float> sample;
    sample.reserve(static_cast<std::size_t>(count) / step + 1);
    std::size_t next = 0;
    for (int y = 0; y < values.rows; ++y)
    {
        const float* line = values.ptr<float>(y);
        const std::uint8_t* isInside = inside.ptr<std::uint8_t>(y);
        for (int x = 0; x < values.cols; ++x)
            if (isInside[x] != 0 && next-- == 0)
            {
                sample.push_back(line[x]);
                next = step - 1;
            }
    }
    return sample;
}

/// Inside of the pattern, and the zone beside its margins: each judged by its own statistics.
struct Zone
{
    cv::Mat inside;
    int count;
};

std::vector<Zone> ZonesOf(const cv::Mat& valid, const cv::Mat& edge)
{
    std::vector<Zone> zones;
    const cv::Mat isEdge = edge > dMostly;
    for (const cv::Mat& inside : {cv::Mat(valid & ~isEdge), cv::Mat(valid & isEdge)})
        if (const int count = cv::countNonZero(inside); count >= nFewestPlaces)
            zones.push_back({inside, count});
    return zones;
}

/// Raises `result` to the deviations of `values` where these are larger.
void TakeDeviations(const cv::Mat& values, const std::vector<Zone>& zones, TextureDeviation& result)
{
    for (const Zone& zone : zones)
    {
        std::vector<float> sample = Sample(values, zone.inside, zone.count);
        const float median = MedianOf(sample);
        for (float& value : sample)
            value = std::abs(value - median);
        const float scale = 1.0F / std::max(fDeviationOfMedian * MedianOf(sample), fLeastSpread);
        for (int y = 0; y < values.rows; ++y)
        {
            const float* line = values.ptr<float>(y);
            const std::uint8_t* isInside = zone.inside.ptr<std::uint8_t>(y);
            float* bright = result.bright.ptr<float>(y);
            float* dark = result.dark.ptr<float>(y);
            for (int x = 0; x < values.cols; ++x)
            {
                const float deviation = isInside[x] != 0 ? (line[x] - median) * scale : 0.0F;
                bright[x] = std::max(bright[x], deviation);
                dark[x] = std::max(dark[x], -deviation);
            }
        }
    }
}

} // namespace

cv::Mat FindTextureArea(const cv::Mat& grey, const TextureSettings& settings)
{
    return Shrink(FindPatternArea(grey, settings.findMargins), nGuard);
}

TextureDeviations::TextureDeviations(const GreyView& image, const TextureSettings& settings,
                                     const std::vector<TextureFeature>& features)
{
    const cv::Mat pixels(image.Height(), image.Width(), CV_8UC1, const_cast<std::uint8_t*>(image.Row(0)),
                         static_cast<std::size_t>(image.Stride()));
    cv::Mat grey;
    pixels.convertTo(grey, CV_32F);
    m_area = FindTextureArea(grey, settings);
    m_edge = settings.edgeZone > nGuard ? cv::Mat(m_area - Shrink(m_area, settings.edgeZone - nGuard))
                                        : cv::Mat(cv::Mat::zeros(m_area.size(), CV_8U));
    cv::Mat flat = Flatten(grey, m_area - m_edge, {settings.window, settings.window}, settings.window);
    // Beside a margin the weave and the light change across, so the mean is taken along it.
    if (cv::countNonZero(m_edge) != 0)
        Flatten(grey, m_area, {nEdgeAcross, settings.edgeWindow}, settings.window).copyTo(flat, m_edge);

    Fold fold;
    fold.brightness = FilledUp(flat);
    FilledUp(m_area).convertTo(fold.area, CV_32F);
    FilledUp(m_edge).convertTo(fold.edge, CV_32F);
    cv::min(fold.brightness, dCountedHigh, fold.cutBrightness);
    cv::max(fold.cutBrightness, -dCountedHigh, fold.cutBrightness);
    // The zone beside a margin is made even in another way, and varies less: each is held against itself.
    std::vector<std::pair<cv::Mat, cv::Mat>> zones; // inside, and the share of each window inside
    for (const cv::Mat& inside : {cv::Mat(fold.area - fold.edge), fold.edge})
        if (cv::countNonZero(inside) != 0)
            zones.emplace_back(
                inside, cv::max(WindowMean(inside, {settings.energyWindow, settings.energyWindow}), dLeastWindow));
    for (const TextureFeature& feature : features)
    {
        if (feature.source == TextureSource_Brightness || fold.energies.contains(feature.source))
            continue;
        const cv::Mat varying = VaryingPart(fold.brightness, feature.source);
        cv::Mat energy = cv::Mat::zeros(varying.size(), CV_32F);
        for (const auto& [inside, share] : zones)
            energy += RelativeEnergy(varying, inside, share, settings.energyWindow);
        fold.energies.emplace(feature.source, energy);
    }
    m_folds.emplace(1, fold);
    for (int side = 2; side <= nTextureFoldHigh; side *= 2)
    {
        const Fold& finer = m_folds.at(side / 2);
        std::map<int, cv::Mat> energies;
        for (const auto& [source, energy] : finer.energies)
            energies.emplace(source, Halved(energy));
        m_folds.emplace(side, Fold{Halved(finer.brightness), Halved(finer.cutBrightness), std::move(energies),
                                   Halved(finer.area), Halved(finer.edge)});
    }
}

cv::Mat TextureDeviations::EdgeAt(int fold) const
{
    return m_folds.at(fold).edge > dMostly;
}

TextureDeviation TextureDeviations::Of(const TextureFeature& feature) const
{
    const Fold& fold = m_folds.at(feature.fold);
    const bool ofEnergy = feature.source != TextureSource_Brightness;
    TextureDeviation result{cv::Mat::zeros(fold.area.size(), CV_32F), cv::Mat::zeros(fold.area.size(), CV_32F)};
    cv::Mat valid = fold.area > dMostly;
    if (feature.shape == TextureShape_Square)
    {
        const cv::Size square(feature.size, feature.size);
        const cv::Mat share = WindowMean(fold.area, square);
        valid &= share >= dSquareInside;
        cv::Mat mean = WindowMean(ofEnergy ? fold.energies.at(feature.source) : fold.brightness, square);
        cv::divide(mean, cv::max(share, dLeastSquare), mean);
        TakeDeviations(mean, ZonesOf(valid, fold.edge), result);
        return result;
    }
    const std::vector<Zone> zones = ZonesOf(valid, fold.edge);
    VisitLineMeans(WindowMean(ofEnergy ? fold.energies.at(feature.source) : fold.cutBrightness, {2, 2}), feature.size,
                   [&](const cv::Mat& mean) { TakeDeviations(mean, zones, result); });
    return result;
}

} // namespace narvo
