// SPDX-License-Identifier: MIT
// How a region looks apart from its defects, image by image: what drifts when a lamp ages, a camera warms up or the
// distance to the material changes.
#pragma once

#include <limits>

#include "host/image/grey_image.h"
#include "host/recipe/recipe.h"

namespace narvo
{

/// Measures of a region from some of its pixels; no number (NaN) where there is none.
struct DriftMeasures
{
    static constexpr double dNone = std::numeric_limits<double>::quiet_NaN();
    double light = dNone;  ///< mean, grey levels
    double noise = dNone;  ///< standard deviation of a pixel, grey levels
    double pitchX = dNone; ///< pixels
    double pitchY = dNone; ///< pixels
};

/// Measures up to nDriftPixels in stretches of rows spread over the region, so that it costs the same whatever the size
/// of the image. The noise is that of the differences which the recipe's direction compares, by their median absolute
/// value (F. R. Hampel, The influence curve and its role in robust estimation, Journal of the American Statistical
/// Association 69, 1974, p. 383): a few defects do not change it, and clipped pixels have none. A pitch is where the
/// squares of the differences along its axis are least, between whole pixels by a parabola: it follows a change, by
/// less than the whole of it where edges are sharp. There is none where that place is more than a pixel from the
/// recipe's pitch, or uncertain by more than a twentieth of a pixel. Without a pitch in the recipe there is neither
/// noise nor pitch.
DriftMeasures MeasureDrift(const GreyView& image, const CRect& region, const Recipe& recipe, Direction direction);

constexpr int nDriftPixels = 2048;

} // namespace narvo
