// SPDX-License-Identifier: MIT
// Edge growth: by how much everything bright in an image is wider than in its reference at each of its edges, as
// etching, exposure or the level of a binarisation make it. It moves opposite edges apart or together, which no map
// does.
#pragma once

#include "host/image/grey_image.h"

namespace narvo
{

/// Largest growth, pixels; what goes beyond it is a difference.
constexpr double dMostGrowth = 1.0;

/// Pixels by which the bright side of edges grows from `reference` to `image`, both in the same place and light; less
/// than 0 where the dark side does. Looks at the pixels where `nearEdge` and `inside` are not 0. It is the mean over
/// edges that face each other of the medians of the image's parts, so that defects and a shift that is left over have
/// no part in it; 0 where there are no such edges, where it is small or less than the scatter of the parts proves.
double FitEdgeGrowth(const GreyImage& reference, const GreyImage& image, const GreyImage& nearEdge,
                     const GreyImage& inside);

/// Moves all edges of `picture` by `growth`, at most one pixel, in place.
void GrowBright(double growth, GreyImage& picture);

} // namespace narvo
