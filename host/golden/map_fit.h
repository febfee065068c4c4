// SPDX-License-Identifier: MIT
// Gauss-Newton fit of the global map to the points of one level, with light and robust weights, within limits. Where
// the picture leaves a direction undetermined the map stays at the simplest there.
#pragma once

#include <vector>

#include "host/golden/edge_points.h"
#include "host/golden/global_map.h"
#include "host/golden/robust_light.h"

namespace narvo
{

/// A map and how it explains the points.
struct FittedMap : PointFit
{
    GlobalMap map;
    bool atLimit = false;
};

/// A fit of one level's points.
class MapFit
{
public:
    /// The shift of `start` is where it stays along undetermined directions.
    MapFit(const EdgeLevel& level, const MapLimits& limits, const GlobalMap& start);

    /// Fits the terms of a model, from `map` on.
    FittedMap Fit(const GlobalMap& map, Registration::Model model, int steps) const;

    /// The line at which a step improves the fitted map most, or none.
    std::optional<Seam> FindSeam(const FittedMap& fitted, Registration::Model model) const;

    /// Weakest over strongest direction of the gradients of the points, root mean square.
    static double DirectionShare(const PointLook& look);

private:
    const EdgeLevel& m_level;
    const MapLimits& m_limits;
    GlobalMap m_start;
};

/// Looks at the points under a map.
void LookThrough(const EdgeLevel& level, const GlobalMap& map, PointLook& look);

} // namespace narvo
