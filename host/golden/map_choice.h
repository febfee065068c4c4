// SPDX-License-Identifier: MIT
// The choice of the global map from the simplest to the richest: shift, rigid, similarity, affine; and of a seam. A
// richer one is taken where it explains the picture better by more than the scatter of its blocks.
#pragma once

#include <optional>
#include <vector>

#include "host/golden/map_fit.h"
#include "host/golden/picture_pyramid.h"

namespace narvo
{

/// The chosen map on the finest level.
struct ChosenMap
{
    FittedMap fitted;
    Registration::Model model = Registration::Model_Shift;
};

/// The simplest of the candidates, from the simplest to the richest, that no richer one improves on that level.
GlobalMap ChooseStart(const EdgeLevel& level, const std::vector<GlobalMap>& candidates);

/// Fits and chooses from level to level. `levels` has the finest first; `start` comes from a coarse search.
ChosenMap ChooseMap(const std::vector<EdgeLevel>& levels, const MapLimits& limits, const GlobalMap& start);

/// The chosen map with a step at the line that explains the picture best, where there is one.
std::optional<ChosenMap> ChooseSeam(const std::vector<EdgeLevel>& levels, const MapLimits& limits,
                                    const GlobalMap& start, const ChosenMap& chosen);

/// Leaves inside only the points that lie from `from` to `to` pixels away from the seam's line.
void KeepBand(const EdgePoints& points, const Seam& seam, int from, int to, PointLook& look);

} // namespace narvo
