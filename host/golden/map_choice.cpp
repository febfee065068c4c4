// SPDX-License-Identifier: MIT
// Fits of all models on the reduced levels, of the chosen one on the finest.
#include "host/golden/map_choice.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace narvo
{

namespace
{

constexpr int nSteps = 6;
constexpr int nFinestSteps = 5;
constexpr double dLost = 1.2;      // times the scale of a simpler map's differences: a richer fit has gone astray
constexpr double dLeastStep = 1.0; // pixels: a smaller step at a seam is none
constexpr int nSeamScale = 4;      // a step is sought where it is no more than a few pixels of the level
constexpr double dSeamProof = 1.5; // standard errors: the mesh is asked for more
constexpr int nSeamMargin = 24;    // pixels beside the line that say nothing of what lies behind it
constexpr int nSeamSearch = 24;    // pixels to either side
constexpr int nSeamRim = 16;       // pixels from a border: what lies beyond is too little to be displaced by itself

/// The simplest model that no richer one improves. `richest` is the richest map of the level before, from which each
/// model starts, and becomes that of this level.
void Choose(const EdgeLevel& level, const MapFit& fit, const MapLimits& limits, GlobalMap& richest, ChosenMap& chosen)
{
    const GlobalMap carried = richest;
    chosen.model = Registration::Model_Shift;
    chosen.fitted = fit.Fit(carried, chosen.model, nSteps);
    richest = chosen.fitted.map;
    std::size_t directions = Directions(chosen.model, false, limits).size();
    for (const Registration::Model model :
         {Registration::Model_Rigid, Registration::Model_Similarity, Registration::Model_Affine})
    {
        if (Directions(model, false, limits).size() == directions)
            continue; // the limits allow nothing of it
        FittedMap rich = fit.Fit(carried, model, nSteps);
        if (rich.differences.scale < dLost * chosen.fitted.differences.scale)
            richest = rich.map;
        if (Explains(level.Points(), chosen.fitted, rich))
        {
            chosen.fitted = std::move(rich);
            chosen.model = model;
            directions = Directions(model, false, limits).size();
        }
    }
}

/// Puts the line where it parts the points best that fit with the step from those that fit without.
void PlaceSeam(const EdgeLevel& level, const MapFit& fit, ChosenMap& chosen)
{
    FittedMap& fitted = chosen.fitted;
    const EdgePoints& points = level.Points();
    const bool vertical = fitted.map.seam->vertical;
    const int side = static_cast<int>(2.0 * (vertical ? fitted.map.centreX : fitted.map.centreY)) + 1;
    const int old = fitted.map.seam->place;
    const auto losses = [&](int place)
    {
        FittedMap moved = fitted;
        moved.map.seam->place = place;
        LookThrough(level, moved.map, moved.look);
        Differ(points, moved.look, moved.differences);
        return moved.differences.difference;
    };
    const std::vector<float> displaced = losses(0);
    const std::vector<float> plain = losses(side);
    // By how much each column's points, or row's, are better off in front of the line than behind it.
    std::vector<double> better(static_cast<std::size_t>(side), 0.0);
    const double scale = fitted.differences.scale;
    for (std::size_t i = 0; i < points.Size(); ++i)
    {
        const double behind = displaced[i] / scale;
        const double before = plain[i] / scale;
        better[static_cast<std::size_t>(vertical ? points.x[i] : points.y[i])] +=
            std::log1p(behind * behind) - std::log1p(before * before);
    }
    double sum = 0.0;
    double most = 0.0;
    int best = old;
    for (int place = std::max(1, old - nSeamSearch); place < std::min(side, old + nSeamSearch); ++place)
    {
        sum += better[static_cast<std::size_t>(place - 1)];
        if (sum > most)
        {
            most = sum;
            best = place;
        }
    }
    GlobalMap map = fitted.map;
    map.seam->place = best;
    fitted = fit.Fit(map, chosen.model, nFinestSteps);
}

} // namespace

GlobalMap ChooseStart(const EdgeLevel& level, const std::vector<GlobalMap>& candidates)
{
    FittedMap chosen;
    for (const GlobalMap& candidate : candidates)
    {
        FittedMap looked;
        looked.map = candidate;
        LookThrough(level, looked.map, looked.look);
        StartLight(level.Points(), looked.look, looked.differences);
        if (chosen.look.value.empty() || Explains(level.Points(), chosen, looked))
            chosen = std::move(looked);
    }
    return chosen.map;
}

ChosenMap ChooseMap(const std::vector<EdgeLevel>& levels, const MapLimits& limits, const GlobalMap& start)
{
    ChosenMap chosen;
    GlobalMap richest = start;
    for (std::size_t i = levels.size(); i-- > 0;)
    {
        const MapFit fit(levels[i], limits, start);
        if (i > 0 || levels.size() == 1)
            Choose(levels[i], fit, limits, richest, chosen);
        else
            chosen.fitted = fit.Fit(chosen.fitted.map, chosen.model, nFinestSteps);
    }
    return chosen;
}

std::optional<ChosenMap> ChooseSeam(const std::vector<EdgeLevel>& levels, const MapLimits& limits,
                                    const GlobalMap& start, const ChosenMap& chosen)
{
    // The coarsest level that is fine enough.
    std::size_t seamLevel = levels.size() - 1;
    while (seamLevel > 0 && levels[seamLevel].Scale() > nSeamScale)
        --seamLevel;
    std::optional<ChosenMap> stepped;
    for (std::size_t i = levels.size(); i-- > 0;)
    {
        const EdgeLevel& level = levels[i];
        const MapFit fit(level, limits, start);
        if (stepped)
            stepped->fitted = fit.Fit(stepped->fitted.map, stepped->model, nFinestSteps);
        else if (i == seamLevel)
        {
            const FittedMap plain = fit.Fit(chosen.fitted.map, chosen.model, nSteps);
            const std::optional<Seam> seam = fit.FindSeam(plain, chosen.model);
            if (!seam)
                continue;
            const double side = 2.0 * (seam->vertical ? plain.map.centreX : plain.map.centreY) + 1.0;
            if (seam->place < nSeamRim || seam->place > side - nSeamRim)
                continue;
            GlobalMap map = plain.map;
            map.seam = seam;
            FittedMap rich = fit.Fit(map, chosen.model, nSteps);
            if (std::hypot(rich.map.terms[MapTerm_SeamX], rich.map.terms[MapTerm_SeamY]) >= dLeastStep &&
                Explains(level.Points(), plain, rich))
                stepped = ChosenMap{std::move(rich), chosen.model};
        }
        if (i == 0 && stepped)
            PlaceSeam(level, fit, *stepped);
    }
    if (!stepped)
        return {};
    // The pattern behind the line must bear the step out: an edge at the line alone lies elsewhere for itself.
    const EdgePoints& points = levels.front().Points();
    FittedMap plain = chosen.fitted;
    FittedMap rich = stepped->fitted;
    KeepBand(points, *rich.map.seam, nSeamMargin, std::numeric_limits<int>::max(), plain.look);
    KeepBand(points, *rich.map.seam, nSeamMargin, std::numeric_limits<int>::max(), rich.look);
    if (std::hypot(rich.map.terms[MapTerm_SeamX], rich.map.terms[MapTerm_SeamY]) < dLeastStep ||
        !Explains(points, plain, rich, dSeamProof))
        return {};
    return stepped;
}

void KeepBand(const EdgePoints& points, const Seam& seam, int from, int to, PointLook& look)
{
    for (std::size_t i = 0; i < points.Size(); ++i)
    {
        const double away = std::abs((seam.vertical ? points.x[i] : points.y[i]) - static_cast<double>(seam.place));
        if (away < from || away > to)
            look.inside[i] = 0;
    }
}

} // namespace narvo
