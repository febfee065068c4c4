// SPDX-License-Identifier: MIT
// The local part of a registration: what a global map leaves over, such as uneven feed of a line camera or a stretched
// board, as offsets on a coarse mesh.
#pragma once

#include <vector>

#include "host/golden/map_fit.h"

namespace narvo
{

/// A mesh on top of a global map, and what both leave over at the points of the finest level.
struct FittedMesh : PointFit
{
    OffsetMesh mesh; ///< empty where the global map is as good
};

/// A mesh for an image of that size, with nodes `spacing` pixels apart (0: none), on top of the global map; empty
/// unless it explains points that it was not fitted to better than the global map does, by more than the scatter of the
/// blocks. `levels` has the finest first.
FittedMesh FitMesh(const std::vector<EdgeLevel>& levels, const FittedMap& fitted, int width, int height, int spacing);

} // namespace narvo
