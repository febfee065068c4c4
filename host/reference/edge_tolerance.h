// SPDX-License-Identifier: MIT
// How far a good image's grey levels may stray from the reference's because an edge lies a little elsewhere.
#pragma once

#include "host/image/grey_image.h"

namespace narvo
{

/// The darkest and the brightest level that a pixel may show.
struct GreyRange
{
    GreyImage darkest;
    GreyImage brightest;
};

/// Share that the tolerance has of what lies a pixel beyond it: an edge may lie between pixels.
constexpr double dOuterShare = 0.7;

/// Widens `range` (both of the same size) to what lies within `tolerance` pixels, and by `dOuterShare` to what lies a
/// pixel further. The distance shrinks where the pattern itself, `picture`, is narrow: it is less than half of the
/// width of any track or gap that stands out by more than `contrast` grey levels, so that one that is missing or
/// bridged is still seen in its middle.
GreyRange WidenRange(const GreyRange& range, const GreyImage& picture, double tolerance, int contrast);

/// 255 where the picture changes by more than `contrast` grey levels within `reach` pixels along x and along y.
GreyImage NearEdges(const GreyImage& picture, int reach, int contrast);

} // namespace narvo
