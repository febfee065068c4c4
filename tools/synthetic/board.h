// SPDX-License-Identifier: MIT
// A made-up circuit board: a pattern that does not repeat, photographed as reference and, with known defects and from
// elsewhere, as image. Everything follows from the numbers in BoardPlan.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "host/image/grey_image.h"
#include "tools/truth/truth.h"

namespace narvo::tools
{

struct BoardPlan
{
    int width = 640;
    int height = 640;
    int references = 1;     ///< photographs of good boards, each with its own noise and label
    double shiftX = 0.0;    ///< of the image's pattern against the reference's, pixels
    double shiftY = 0.0;    ///< pixels
    double rotation = 0.0;  ///< about the middle, degrees, clockwise on the screen
    double scaleX = 1.0;    ///< along x, about the middle
    double scaleY = 1.0;    ///< along y
    double sway = 0.0;      ///< uneven feed: the rows' places go to and fro by this, pixels
    double noise = 2.0;     ///< standard deviation, grey levels
    double labelPlay = 0.0; ///< how far the printed label may lie off on any board, pixels
    int defects = 10;
    std::uint64_t seed = 1;
};

struct Board
{
    std::vector<GreyImage> references;
    GreyImage image;
    std::vector<TruthDefect> truth; ///< in the image's coordinates
    /// From the image's places to the first reference's: x is [0] x + [1] y + [2] of the image's x and y, y the same
    /// with [3] to [5]; the sway comes on top of y.
    std::array<double, 6> affine;
    double swayDepth = 0.0; ///< y of the reference goes further by this times sin(swayRate * y of the image)
    double swayRate = 0.0;
};

/// Sides 256 .. 8192, references 1 .. 100, shifts up to 100, rotation up to 15, scales 0.8 .. 1.2, sway 0 .. 8, noise
/// 0 .. 20, label play 0 .. 10, defects 0 .. 200. @throws HostError otherwise, with all problems
Board MakeBoard(const BoardPlan& plan);

} // namespace narvo::tools
