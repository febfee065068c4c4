// SPDX-License-Identifier: MIT
// Made-up woven cloth as a line camera sees it: fine weave whose pitch and slope drift, light that falls off, a table
// beside it, and known defects. Everything follows from the numbers in ClothPlan.
#pragma once

#include <cstdint>
#include <vector>

#include "host/image/grey_image.h"
#include "tools/truth/truth.h"

namespace narvo::tools
{

struct ClothPlan
{
    int width = 2048;
    int height = 256;
    double pitchX = 9.3; ///< from thread to thread along x, pixels
    double pitchY = 7.4; ///< along y, pixels
    double slope = 0.03; ///< rows that the threads rise for each column
    double drift = 0.03; ///< change of pitch over the image and from image to image, share of it
    double noise = 5.0;  ///< standard deviation, grey levels
    double light = 0.2;  ///< fall of the light to the sides, share of the mean
    int margin = 160;    ///< columns of table on either side
    int defects = 0;
    std::uint64_t seed = 1;
};

struct Cloth
{
    GreyImage image;
    GreyImage mask; ///< 255 where there is a defect
    std::vector<TruthDefect> truth;
};

/// Sides 128 .. 8192, pitches 4 .. 40, slope -0.2 .. 0.2, drift 0 .. 0.1, noise 0 .. 20, light 0 .. 0.5, margin 0 to a
/// quarter of the width, defects 0 .. 200. @throws HostError otherwise, with all problems
Cloth MakeCloth(const ClothPlan& plan);

} // namespace narvo::tools
