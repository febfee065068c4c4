// SPDX-License-Identifier: MIT
// Steps of the fit, and the search for a seam among all lines.
#include "host/golden/map_fit.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

#include "host/golden/normal_sums.h"

namespace narvo
{

namespace
{

constexpr double dUndetermined = 0.2;   // pixels of the level: a standard error from which on a direction stays put
constexpr double dScaleToNoise = 2.385; // the scale of the weights over the noise's standard deviation
constexpr double dSettled = 0.05;       // pixels of the level: a step that is no more ends the fit
constexpr int nStrips = 80;             // across the image, at whose borders a seam is tried
constexpr int nStripPieces = 16;        // of each strip

/// Sums of one group of close points by what all of them have: gradients, value and difference.
struct LocalSums
{
    enum Unknown : int
    {
        Unknown_X,
        Unknown_Y,
        Unknown_Gain,
        nLocal
    };

    double weight = 0.0;
    double x = 0.0; ///< weighted sums of the places
    double y = 0.0;
    double difference = 0.0;
    std::array<double, nLocal> derivative{};
    std::array<double, nLocal> score{};
    std::array<std::array<double, nLocal>, nLocal> square{}; ///< its upper triangle

    void Add(double px, double py, const std::array<double, nLocal>& derivatives, double value, double share)
    {
        weight += share;
        x += share * px;
        y += share * py;
        difference += share * value;
        for (std::size_t i = 0; i < nLocal; ++i)
        {
            const double weighted = share * derivatives[i];
            derivative[i] += weighted;
            score[i] += weighted * value;
            for (std::size_t j = i; j < nLocal; ++j)
                square[i][j] += weighted * derivatives[j];
        }
    }

    /// Adds them as sums of the map's terms. The group is small against the image: all of it counts at its mean place.
    void AddTo(NormalSums& sums, const MapDerivatives& derivatives) const
    {
        if (!(weight > 0.0))
            return;
        MapTerms alongX;
        MapTerms alongY;
        derivatives.At(x / weight, y / weight, alongX, alongY);
        // How much of each local unknown an unknown of the map is.
        std::array<std::array<double, nLocal>, nUnknowns> parts{};
        for (std::size_t k = 0; k < nMapTerms; ++k)
            parts[k] = {alongX[k], alongY[k], 0.0};
        parts[nMapTerms] = {0.0, 0.0, 1.0};
        sums.weight += weight;
        sums.difference += difference;
        std::size_t k = 0;
        for (std::size_t i = 0; i < nUnknowns; ++i)
        {
            std::array<double, nLocal> row{};
            for (std::size_t a = 0; a < nLocal; ++a)
            {
                sums.derivative[i] += parts[i][a] * derivative[a];
                sums.score[i] += parts[i][a] * score[a];
                for (std::size_t b = 0; b < nLocal; ++b)
                    row[b] += parts[i][a] * (a <= b ? square[a][b] : square[b][a]);
            }
            for (std::size_t j = i; j < nUnknowns; ++j)
                for (std::size_t b = 0; b < nLocal; ++b)
                    sums.square[k + j - i] += row[b] * parts[j][b];
            k += nUnknowns - i;
        }
    }
};

void AddToSums(const EdgePoints& points, const FittedMap& fitted, std::size_t i, LocalSums& sums)
{
    const PointLook& look = fitted.look;
    const double gain = fitted.differences.gain;
    const double difference = fitted.differences.difference[i];
    sums.Add(points.x[i], points.y[i], {gain * look.gradientX[i], gain * look.gradientY[i], look.value[i]}, difference,
             RobustWeight(difference, fitted.differences.scale));
}

std::vector<NormalSums> SumBlocks(const EdgePoints& points, const FittedMap& fitted)
{
    const MapDerivatives derivatives(fitted.map);
    std::vector<NormalSums> blocks(points.Blocks());
    for (std::size_t block = 0; block < points.Blocks(); ++block)
    {
        // In front of the seam and behind it.
        std::array<LocalSums, 2> sides;
        for (std::size_t i = points.blocks[block]; i < points.blocks[block + 1]; ++i)
            if (fitted.look.inside[i] != 0)
            {
                const bool behind = fitted.map.seam && fitted.map.seam->IsBehind(points.x[i], points.y[i]);
                AddToSums(points, fitted, i, sides[behind ? 1 : 0]);
            }
        for (const LocalSums& side : sides)
            side.AddTo(blocks[block], derivatives);
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
    const MapDerivatives derivatives(fitted.map);
    const std::vector<MapTerms> directions = Directions(model, true, m_limits);
    std::optional<Seam> best;
    double most = 0.0;
    for (const bool vertical : {true, false})
    {
        const double side = 2.0 * (vertical ? fitted.map.centreX : fitted.map.centreY) + 1.0;
        const double length = 2.0 * (vertical ? fitted.map.centreY : fitted.map.centreX) + 1.0;
        std::vector<LocalSums> pieces(static_cast<std::size_t>(nStrips) * nStripPieces);
        const auto part = [](double share, int parts)
        { return static_cast<std::size_t>(std::clamp(share * parts, 0.0, parts - 1.0)); };
        for (std::size_t i = 0; i < points.Size(); ++i)
            if (fitted.look.inside[i] != 0)
            {
                const double across = (vertical ? points.x[i] : points.y[i]) / side;
                const double along = (vertical ? points.y[i] : points.x[i]) / length;
                AddToSums(points, fitted, i, pieces[part(across, nStrips) * nStripPieces + part(along, nStripPieces)]);
            }
        std::vector<NormalSums> strips(nStrips);
        for (std::size_t i = 0; i < pieces.size(); ++i)
            pieces[i].AddTo(strips[i / nStripPieces], derivatives);
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
