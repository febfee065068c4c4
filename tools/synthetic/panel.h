// SPDX-License-Identifier: MIT
// A made-up panel: a periodic pattern as a camera would see it, with known defects. Everything follows from the
// numbers in PanelPlan, the seed among them.
#pragma once

#include <cstdint>
#include <vector>

#include "host/image/grey_image.h"
#include "host/recipe/recipe.h"
#include "tools/truth/truth.h"

namespace narvo::tools
{

struct PanelPlan
{
    int width = 4096;
    int height = 4096;
    double pitchX = 60.4375; ///< pixels, a multiple of 1/16
    double pitchY = 75.3125; ///< pixels, a multiple of 1/16
    double noise = 2.0;      ///< standard deviation, grey levels
    double drift = 0.06;     ///< slow change of brightness over the panel, share of the mean
    int defects = 120;
    std::uint64_t seed = 1;
};

struct Panel
{
    GreyImage image;
    std::vector<TruthDefect> truth;
    Recipe recipe; ///< ready for the image except for the zone image's file name
};

/// Sides 256 .. 32768, pitches 24 .. 300 and at most a fifth of the side, noise 0 .. 20, drift 0 .. 0.3, defects
/// 0 .. 20000. @throws HostError otherwise, with all problems
Panel MakePanel(const PanelPlan& plan);

} // namespace narvo::tools
