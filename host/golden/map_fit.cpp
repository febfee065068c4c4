// SPDX-License-Identifier: MIT
// Steps of the fit, and the search for a seam among all lines.
#include "host/golden/map_fit.h"

#include <algorithm>
#include <cmath>

#include "host/golden/normal_sums.h"

namespace narvo
{

namespace
{

constexpr double dUndetermined = 0.2;   // pixels of the level: a standard error from which on a direction stays put
constexpr double dScaleToNoise = 2.385; // the scale of the weights over the noise's standard deviation
constexpr double dSettled = 0.05;       // pixels of the level: a step that is no more ends the fit
constexpr int nStrips = 80;             // across the image, at whose borders a seam is tried

/// Derivatives of a point's value, and its share.
class PointDerivatives
{
public:
    PointDerivatives(const EdgePoints& points, const FittedMap& fitted)
        : m_points(points), m_fitted(fitted), m_derivatives(fitted.map)
    {
    }

    std::array<double, nUnknowns> At(std::size_t i) const
    {
        MapTerms alongX;
        MapTerms alongY;
        m_derivatives.At(m_points.x[i], m_points.y[i], alongX, alongY);
        std::array<double, nUnknowns> derivatives{};
        const double gx = m_fitted.differences.gain * m_fitted.look.gradientX[i];
        const double gy = m_fitted.differences.gain * m_fitted.look.gradientY[i];
        for (std::size_t k = 0; k < nMapTerms; ++k)
            derivatives[k] = gx * alongX[k] + gy * alongY[k];
        derivatives[nMapTerms] = m_fitted.look.value[i];
        return derivatives;
    }
    bool IsInside(std::size_t i) const { return m_fitted.look.inside[i] != 0; }
    double Difference(std::size_t i) const { return m_fitted.differences.difference[i]; }
    double Share(std::size_t i) const { return RobustWeight(Difference(i), m_fitted.differences.scale); }

private:
    const EdgePoints& m_points;
    const FittedMap& m_fitted;
    MapDerivatives m_derivatives;
};

std::vector<NormalSums> SumBlocks(const EdgePoints& points, const FittedMap& fitted)
{
    const PointDerivatives derivatives(points, fitted);
    std::vector<NormalSums> blocks(points.Blocks());
    for (std::size_t block = 0; block < points.Blocks(); ++block)
    {
        for (std::size_t i = points.blocks[block]; i < points.blocks[block + 1]; ++i)
            if (derivatives.IsInside(i))
                blocks[block].Add(derivatives.At(i), derivatives.Difference(i), derivatives.Share(i));
        blocks[block].EliminateOffset();
    }
    return blocks;
}

MapTerms Minus(const MapTerms& a, const MapTerms& b)
{
    MapTerms difference{};
    for (std::size_t k = 0; k < nMapTerms; ++k)
        difference[k] = a[k] - b[k];
    return difference;
}

/// The directions that do not lead on over a limit at which the terms already are.
std::vector<MapTerms> Free(const std::vector<MapTerms>& directions, const MapTerms& terms, const MapTerms& change,
                           const MapLimits& limits)
{
    std::vector<MapTerms> kept;
    for (const MapTerms& direction : directions)
    {
        bool blocked = false;
        for (std::size_t k = 0; k < nMapTerms; ++k)
            blocked = blocked || (direction[k] != 0.0 && ((change[k] > 0.0 && terms[k] >= limits.high[k]) ||
                                                          (change[k] < 0.0 && terms[k] <= limits.low[k])));
        if (!blocked)
            kept.push_back(direction);
    }
    return kept;
}

} // namespace

void LookThrough(const EdgeLevel& level, const GlobalMap& map, PointLook& look)
{
    const SteppedMap places(map);
    const EdgePoints& points = level.Points();
    level.Look([&](std::size_t i) { return places.At(points.x[i], points.y[i]); }, look);
}

MapFit::MapFit(const EdgeLevel& level, const MapLimits& limits, const GlobalMap& start)
    : m_level(level), m_limits(limits), m_start(start)
{
    m_start.terms[MapTerm_Rotation] = 0.0;
}

FittedMap MapFit::Fit(const GlobalMap& map, Registration::Model model, int steps) const
{
    const EdgePoints& points = m_level.Points();
    FittedMap fitted;
    fitted.map = map;
    const bool seam = map.seam.has_value();
    fitted.map.terms = Restrict(map.terms, model, seam);
    Clamp(fitted.map.terms, m_limits);
    LookThrough(m_level, fitted.map, fitted.look);
    StartLight(points, fitted.look, fitted.differences);
    const std::vector<MapTerms> directions = Directions(model, seam, m_limits);
    // Steps in the determined directions; once settled, what is undetermined goes back to the simplest.
    bool settled = false;
    for (int i = 0; i < steps; ++i)
    {
        const std::vector<NormalSums> blocks = SumBlocks(points, fitted);
        const MapTerms away = settled ? Minus(fitted.map.terms, m_start.terms) : MapTerms{};
        const double error = dUndetermined * m_level.Scale();
        const double noise = fitted.differences.scale / dScaleToNoise;
        NormalStep step = SolveStep(blocks, directions, away, noise, error);
        const std::vector<MapTerms> free = Free(directions, fitted.map.terms, step.change, m_limits);
        if (free.size() < directions.size())
            step = SolveStep(blocks, free, away, noise, error);
        double largest = 0.0;
        for (std::size_t k = 0; k < nMapTerms; ++k)
        {
            fitted.map.terms[k] += step.change[k];
            largest = std::max(largest, std::abs(step.change[k]));
        }
        const bool clamped = Clamp(fitted.map.terms, m_limits);
        fitted.atLimit = clamped || free.size() < directions.size();
        fitted.differences.gain += step.gain;
        LookThrough(m_level, fitted.map, fitted.look);
        Differ(points, fitted.look, fitted.differences);
        CentreOffsets(points, fitted.look, fitted.differences);
        const bool still = largest < dSettled * m_level.Scale();
        if (still && settled)
            break;
        settled = settled || still || i == steps - 2;
    }
    return fitted;
}

std::optional<Seam> MapFit::FindSeam(const FittedMap& fitted, Registration::Model model) const
{
    const EdgePoints& points = m_level.Points();
    const PointDerivatives derivatives(points, fitted);
    const std::vector<MapTerms> directions = Directions(model, true, m_limits);
    std::optional<Seam> best;
    double most = 0.0;
    for (const bool vertical : {true, false})
    {
        const double side = 2.0 * (vertical ? fitted.map.centreX : fitted.map.centreY) + 1.0;
        std::vector<NormalSums> strips(nStrips);
        for (std::size_t i = 0; i < points.Size(); ++i)
            if (derivatives.IsInside(i))
            {
                const double place = vertical ? points.x[i] : points.y[i];
                const auto strip = static_cast<std::size_t>(std::clamp(place / side * nStrips, 0.0, nStrips - 1.0));
                strips[strip].Add(derivatives.At(i), derivatives.Difference(i), derivatives.Share(i));
            }
        // From the far side on, what lies behind the line takes part in the step as it does in the shift.
        NormalSums all;
        for (const NormalSums& strip : strips)
            all.Add(strip);
        NormalSums behind;
        for (int strip = nStrips - 1; strip > 0; --strip)
        {
            behind.Add(strips[static_cast<std::size_t>(strip)]);
            NormalSums both = all;
            const auto set = [&](int i, int j, double value) { both.square[NormalSums::Place(i, j)] = value; };
            for (const int axis : {0, 1})
            {
                const int step = MapTerm_SeamX + axis;
                both.score[static_cast<std::size_t>(step)] = behind.score[static_cast<std::size_t>(axis)];
                for (const int other :
                     {MapTerm_ShiftX, MapTerm_ShiftY, MapTerm_Rotation, MapTerm_ScaleX, MapTerm_ScaleY, MapTerm_Shear})
                    set(other, step, behind.Square(other, axis));
                set(step, nMapTerms, behind.Square(axis, nMapTerms));
                set(step, MapTerm_SeamX, behind.Square(axis, MapTerm_ShiftX));
                set(step, MapTerm_SeamY, behind.Square(axis, MapTerm_ShiftY));
            }
            const NormalStep step =
                SolveStep({both}, directions, {}, fitted.differences.scale / dScaleToNoise, m_level.Scale());
            if (step.explained > most)
            {
                most = step.explained;
                best = Seam{vertical, static_cast<int>(std::lround(strip * side / nStrips)), {}};
            }
        }
    }
    return best;
}

double MapFit::DirectionShare(const PointLook& look)
{
    double xx = 0.0;
    double yy = 0.0;
    double xy = 0.0;
    for (std::size_t i = 0; i < look.value.size(); ++i)
    {
        xx += static_cast<double>(look.gradientX[i]) * look.gradientX[i];
        yy += static_cast<double>(look.gradientY[i]) * look.gradientY[i];
        xy += static_cast<double>(look.gradientX[i]) * look.gradientY[i];
    }
    const double middle = 0.5 * (xx + yy);
    const double spread = std::hypot(0.5 * (xx - yy), xy);
    return middle + spread > 0.0 ? std::sqrt(std::max(0.0, middle - spread) / (middle + spread)) : 0.0;
}

} // namespace narvo
