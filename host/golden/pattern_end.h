// SPDX-License-Identifier: MIT
// Where the pattern ends along a straight line parallel to a side of the image, such as the edge of an exposure or of a
// board, and the image has that line elsewhere than its reference.
#pragma once

#include <vector>

#include "host/image/grey_image.h"

namespace narvo
{

/// A straight end of the pattern, behind which neither picture shows anything.
struct PatternEnd
{
    enum Side : int
    {
        Side_Bottom,
        Side_Top,
        Side_Right,
        Side_Left
    };
    Side side = Side_Bottom;
    int image = 0;     ///< outermost row of the pattern, or column, in the image
    int reference = 0; ///< in the registered reference

    bool IsVertical() const { return side == Side_Right || side == Side_Left; }
};

/// The ends that lie more than `least` pixels elsewhere, and not so far that something else may be missing. Both
/// pictures have the same size and light; only pixels where `inside` is not 0 count.
std::vector<PatternEnd> FindMovedEnds(const GreyImage& reference, const GreyImage& image, const GreyImage& inside,
                                      double least);

/// Takes the strip between both lines, and `margin` pixels on either side of it, out of `inside`.
void LeaveEndOut(const PatternEnd& end, int margin, GreyImage& inside);

} // namespace narvo
