// SPDX-License-Identifier: MIT
// Curves and areas from scores and counts.
#pragma once

#include <optional>
#include <utility>
#include <vector>

#include "host/evaluate/image_measure.h"

namespace narvo
{

struct CurvePoint
{
    double x;
    double y;
};

/// The probability that a defective one of the units scores higher than a good one, ties as half; nothing where one of
/// the two is missing.
std::optional<double> UnitAuroc(std::vector<ScoredUnit> units);

/// Share of the good units above each threshold, and of the defective ones.
std::vector<CurvePoint> UnitCurve(std::vector<ScoredUnit> units);

/// The highest F1 of any threshold; nothing without a defective unit.
std::optional<double> BestUnitF1(std::vector<ScoredUnit> units);

/// Counts of all pixels, by bin.
struct PixelCounts
{
    std::vector<double> good = std::vector<double>(nScoreBins, 0.0);
    std::vector<double> bad = std::vector<double>(nScoreBins, 0.0);
    std::vector<double> covered = std::vector<double>(nScoreBins, 0.0); ///< shares of regions
    double regions = 0.0;

    void Add(const ImageMeasure& image);
};

std::optional<double> PixelAuroc(const PixelCounts& counts);
std::optional<double> BestPixelF1(const PixelCounts& counts);

/// Share of good pixels above each threshold, and the mean share of each region that lies above it.
std::vector<CurvePoint> OverlapCurve(const PixelCounts& counts);
/// The area below that curve up to a share of 0.3 of the good pixels, over 0.3.
std::optional<double> RegionOverlap(const PixelCounts& counts);

} // namespace narvo
