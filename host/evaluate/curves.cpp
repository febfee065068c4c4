// SPDX-License-Identifier: MIT
// Areas by ranks and by trapezoids.
#include "host/evaluate/curves.h"

#include <algorithm>
#include <numeric>

namespace narvo
{

namespace
{

constexpr double dOverlapShare = 0.3;

/// From the highest score to the lowest.
void Order(std::vector<ScoredUnit>& units)
{
    std::sort(units.begin(), units.end(), [](const ScoredUnit& a, const ScoredUnit& b) { return a.score > b.score; });
}

double DefectiveOf(const std::vector<ScoredUnit>& units)
{
    return static_cast<double>(
        std::count_if(units.begin(), units.end(), [](const ScoredUnit& unit) { return unit.defective; }));
}

/// Calls `step(good, bad)` with the counts above each distinct score of ordered units.
template <typename Step>
void VisitThresholds(const std::vector<ScoredUnit>& units, Step step)
{
    double good = 0.0;
    double bad = 0.0;
    for (std::size_t i = 0; i < units.size(); ++i)
    {
        (units[i].defective ? bad : good) += 1.0;
        if (i + 1 == units.size() || units[i + 1].score != units[i].score)
            step(good, bad);
    }
}

double SumOf(const std::vector<double>& values)
{
    return std::accumulate(values.begin(), values.end(), 0.0);
}

/// The area below a curve from x = 0 to `end`.
double AreaBelow(const std::vector<CurvePoint>& curve, double end)
{
    double area = 0.0;
    for (std::size_t i = 1; i < curve.size() && curve[i - 1].x < end; ++i)
    {
        const CurvePoint& from = curve[i - 1];
        CurvePoint to = curve[i];
        if (to.x > end)
            to = {end, from.y + (to.y - from.y) * (end - from.x) / (to.x - from.x)};
        area += (to.x - from.x) * (from.y + to.y) / 2.0;
    }
    return area;
}

} // namespace

std::vector<CurvePoint> UnitCurve(std::vector<ScoredUnit> units)
{
    Order(units);
    const double bad = DefectiveOf(units);
    const double good = static_cast<double>(units.size()) - bad;
    std::vector<CurvePoint> curve = {{0.0, 0.0}};
    if (good > 0.0 && bad > 0.0)
        VisitThresholds(units,
                        [&](double goodAbove, double badAbove) {
                            curve.push_back({goodAbove / good, badAbove / bad});
                        });
    return curve;
}

std::optional<double> UnitAuroc(std::vector<ScoredUnit> units)
{
    const std::vector<CurvePoint> curve = UnitCurve(std::move(units));
    return curve.size() > 1 ? std::optional(AreaBelow(curve, 1.0)) : std::nullopt;
}

std::optional<double> BestUnitF1(std::vector<ScoredUnit> units)
{
    Order(units);
    const double all = DefectiveOf(units);
    if (all == 0.0)
        return std::nullopt;
    double best = 0.0;
    VisitThresholds(units, [&](double good, double bad) { best = std::max(best, 2.0 * bad / (good + bad + all)); });
    return best;
}

void PixelCounts::Add(const ImageMeasure& image)
{
    for (const auto& [bin, count] : image.goodPixels)
        good[bin] += count;
    for (const auto& [bin, count] : image.badPixels)
        bad[bin] += count;
    for (const RegionMeasure& region : image.regions)
    {
        // Boxes that others hide wholly have no pixels of their own.
        double pixels = 0.0;
        for (const auto& [bin, count] : region.scores)
            pixels += count;
        for (const auto& [bin, count] : region.scores)
            covered[bin] += count / pixels;
        regions += pixels > 0.0 ? 1.0 : 0.0;
    }
}

std::optional<double> PixelAuroc(const PixelCounts& counts)
{
    const double good = SumOf(counts.good);
    const double bad = SumOf(counts.bad);
    if (good == 0.0 || bad == 0.0)
        return std::nullopt;
    double below = 0.0;
    double won = 0.0;
    for (std::size_t bin = 0; bin < counts.good.size(); ++bin)
    {
        won += counts.bad[bin] * (below + counts.good[bin] / 2.0);
        below += counts.good[bin];
    }
    return won / (good * bad);
}

std::optional<double> BestPixelF1(const PixelCounts& counts)
{
    const double all = SumOf(counts.bad);
    if (all == 0.0)
        return std::nullopt;
    double good = 0.0;
    double bad = 0.0;
    double best = 0.0;
    for (std::size_t bin = counts.good.size(); bin-- > 1;)
    {
        good += counts.good[bin];
        bad += counts.bad[bin];
        if (bad > 0.0)
            best = std::max(best, 2.0 * bad / (good + bad + all));
    }
    return best;
}

std::vector<CurvePoint> OverlapCurve(const PixelCounts& counts)
{
    const double good = SumOf(counts.good);
    std::vector<CurvePoint> curve = {{0.0, 0.0}};
    if (good == 0.0 || counts.regions == 0.0)
        return curve;
    double above = 0.0;
    double covered = 0.0;
    for (std::size_t bin = counts.good.size(); bin-- > 0;)
    {
        if (counts.good[bin] == 0.0 && counts.covered[bin] == 0.0)
            continue;
        above += counts.good[bin];
        covered += counts.covered[bin];
        curve.push_back({above / good, covered / counts.regions});
    }
    return curve;
}

std::optional<double> RegionOverlap(const PixelCounts& counts)
{
    const std::vector<CurvePoint> curve = OverlapCurve(counts);
    return curve.size() > 1 ? std::optional(AreaBelow(curve, dOverlapShare) / dOverlapShare) : std::nullopt;
}

} // namespace narvo
