// SPDX-License-Identifier: MIT
// The start of a registration: rotation and shift by correlation of strongly reduced pictures.
#pragma once

#include <vector>

#include "host/golden/global_map.h"
#include "host/golden/picture_pyramid.h"

namespace narvo
{

/// Shift and rotation within the limits under which the pictures correlate best on that level: of no displacement, of a
/// shift along x, along y, along both, and of shift and rotation the best of each, the simplest first. Each holds the
/// ones before it.
std::vector<GlobalMap> SearchCoarsely(const PictureLevel& level, const GlobalMap& map, const MapLimits& limits);

} // namespace narvo
