// SPDX-License-Identifier: MIT
// Difference of a small block of the image and the block at a sub-pixel distance along one axis: source minus
// reference. The pair filters decide with it.
#pragma once

#include "narvoassem/narvostrg.h"

namespace narvo::engine
{

// Hori: the reference lies dPitch (pixels, of either sign) along x; Vert: along y. The numbers are width by height of
// the block; its window is moved over the sub-pixel position, so the outer samples carry the two weights.
double ConvDiffHori1x1(const CNarvoBufferSudo& view, int x, int y, double dPitch);
double ConvDiffVert1x1(const CNarvoBufferSudo& view, int x, int y, double dPitch);
double ConvDiffHori2x2(const CNarvoBufferSudo& view, int x, int y, double dPitch);
double ConvDiffVert2x2(const CNarvoBufferSudo& view, int x, int y, double dPitch);
double ConvDiffHori3x2(const CNarvoBufferSudo& view, int x, int y, double dPitch);
double ConvDiffVert2x3(const CNarvoBufferSudo& view, int x, int y, double dPitch);

} // namespace narvo::engine
