// SPDX-License-Identifier: MIT
// Terms of the global map, their limits, and their derivatives.
#include "host/golden/global_map.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace narvo
{

namespace
{

constexpr double dMapDegree = std::numbers::pi / 180.0;
constexpr double dShiftShare = 0.25; // of the shorter side that a pattern may lie outside the other picture
constexpr double dSeamStep = 16.0;   // pixels, the largest step at a seam

} // namespace

GlobalMap MakeGlobalMap(int width, int height)
{
    GlobalMap map;
    map.centreX = 0.5 * (width - 1);
    map.centreY = 0.5 * (height - 1);
    map.radius = 0.5 * std::hypot(width, height);
    return map;
}

AffineMap GlobalMap::Affine() const
{
    const double angle = terms[MapTerm_Rotation] / radius;
    const double c = std::cos(angle);
    const double s = std::sin(angle);
    const double xx = 1.0 + terms[MapTerm_ScaleX] / radius;
    const double yy = 1.0 + terms[MapTerm_ScaleY] / radius;
    const double xy = 0.5 * terms[MapTerm_Shear] / radius;
    AffineMap a = {c * xx - s * xy, c * xy - s * yy, 0.0, s * xx + c * xy, s * xy + c * yy, 0.0};
    a[2] = centreX + terms[MapTerm_ShiftX] - a[0] * centreX - a[1] * centreY;
    a[5] = centreY + terms[MapTerm_ShiftY] - a[3] * centreX - a[4] * centreY;
    return a;
}

std::optional<Seam> GlobalMap::SeamWithStep() const
{
    std::optional<Seam> whole = seam;
    if (whole)
        whole->step = {terms[MapTerm_SeamX], terms[MapTerm_SeamY]};
    return whole;
}

MapDerivatives::MapDerivatives(const GlobalMap& map)
    : m_map(map), m_cos(std::cos(map.terms[MapTerm_Rotation] / map.radius) / map.radius),
      m_sin(std::sin(map.terms[MapTerm_Rotation] / map.radius) / map.radius)
{
    const AffineMap affine = map.Affine();
    m_turn = {-affine[3] / map.radius, -affine[4] / map.radius, affine[0] / map.radius, affine[1] / map.radius};
}

MapLimits MakeLimits(const GlobalMap& map, int width, int height, int referenceWidth, int referenceHeight,
                     const RegistrationSettings& settings)
{
    MapLimits limits;
    const auto set = [&](MapTerm term, double middle, double reach)
    {
        limits.low[term] = middle - reach;
        limits.high[term] = middle + reach;
    };
    const auto shift = [&](MapTerm term, int side, int referenceSide)
    {
        const double most = std::min(settings.maxShift, dShiftShare * std::min(side, referenceSide));
        set(term, 0.5 * (referenceSide - side), 0.5 * std::abs(referenceSide - side) + most);
    };
    shift(MapTerm_ShiftX, width, referenceWidth);
    shift(MapTerm_ShiftY, height, referenceHeight);
    set(MapTerm_Rotation, 0.0, settings.maxRotation * dMapDegree * map.radius);
    for (const MapTerm term : {MapTerm_ScaleX, MapTerm_ScaleY, MapTerm_Shear})
        set(term, 0.0, 0.01 * settings.maxScale * map.radius);
    set(MapTerm_SeamX, 0.0, dSeamStep);
    set(MapTerm_SeamY, 0.0, dSeamStep);
    return limits;
}

std::vector<MapTerms> Directions(Registration::Model model, bool seam, const MapLimits& limits)
{
    std::vector<MapTerms> directions;
    const auto add = [&](std::initializer_list<MapTerm> terms)
    {
        MapTerms direction{};
        for (const MapTerm term : terms)
        {
            if (!(limits.high[term] > limits.low[term]))
                return;
            direction[term] = 1.0 / std::sqrt(static_cast<double>(terms.size()));
        }
        directions.push_back(direction);
    };
    add({MapTerm_ShiftX});
    add({MapTerm_ShiftY});
    if (model >= Registration::Model_Rigid)
        add({MapTerm_Rotation});
    if (model == Registration::Model_Similarity)
        add({MapTerm_ScaleX, MapTerm_ScaleY});
    if (model == Registration::Model_Affine)
        for (const MapTerm term : {MapTerm_ScaleX, MapTerm_ScaleY, MapTerm_Shear})
            add({term});
    if (seam)
    {
        add({MapTerm_SeamX});
        add({MapTerm_SeamY});
    }
    return directions;
}

MapTerms Restrict(const MapTerms& terms, Registration::Model model, bool seam)
{
    MapTerms kept = terms;
    if (model < Registration::Model_Rigid)
        kept[MapTerm_Rotation] = 0.0;
    if (model < Registration::Model_Affine)
    {
        const double scale =
            model == Registration::Model_Similarity ? 0.5 * (kept[MapTerm_ScaleX] + kept[MapTerm_ScaleY]) : 0.0;
        kept[MapTerm_ScaleX] = kept[MapTerm_ScaleY] = scale;
        kept[MapTerm_Shear] = 0.0;
    }
    if (!seam)
        kept[MapTerm_SeamX] = kept[MapTerm_SeamY] = 0.0;
    return kept;
}

bool Clamp(MapTerms& terms, const MapLimits& limits)
{
    bool beyond = false;
    for (int i = 0; i < nMapTerms; ++i)
    {
        const double kept = std::clamp(terms[static_cast<std::size_t>(i)], limits.low[static_cast<std::size_t>(i)],
                                       limits.high[static_cast<std::size_t>(i)]);
        beyond = beyond || kept != terms[static_cast<std::size_t>(i)];
        terms[static_cast<std::size_t>(i)] = kept;
    }
    return beyond;
}

} // namespace narvo
