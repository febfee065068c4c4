// SPDX-License-Identifier: MIT
// Boxes around defects: right and bottom are exclusive.
#pragma once

#include "narvoassem/platform.h"

namespace narvo
{

/// The box with `dx` columns more on either side and `dy` rows more above and below.
inline CRect Grown(const CRect& box, int dx, int dy)
{
    return {box.left - dx, box.top - dy, box.right + dx, box.bottom + dy};
}

/// The same on all sides.
inline CRect Grown(const CRect& box, int margin)
{
    return Grown(box, margin, margin);
}

/// Whether two boxes share a pixel.
inline bool Overlap(const CRect& a, const CRect& b)
{
    return a.left < b.right && b.left < a.right && a.top < b.bottom && b.top < a.bottom;
}

} // namespace narvo
