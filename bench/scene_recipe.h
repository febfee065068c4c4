// SPDX-License-Identifier: MIT
// The scene's recipe for figures of the host layer.
#pragma once

#include "bench/bench_scene.h"
#include "host/recipe/recipe.h"

namespace bench
{

/// Pixel mode at the scene's periods.
inline narvo::Recipe PixelRecipe(bool bVertical, bool bBands)
{
    narvo::Recipe recipe;
    recipe.mode = narvo::Mode_Pixel;
    recipe.direction = bVertical ? narvo::Direction_Vertical : narvo::Direction_Horizontal;
    recipe.pitchX = dConvPeriod;
    recipe.pitchY = dScanPeriod;
    recipe.thresholdBase = 20;
    recipe.bandSplit = bBands;
    return recipe;
}

} // namespace bench
