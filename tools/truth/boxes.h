// SPDX-License-Identifier: MIT
// Boxes round defects.
#pragma once

#include "narvoassem/platform.h"

namespace narvo::tools
{

inline CRect Grow(const CRect& rect, int dx, int dy)
{
    return {rect.left - dx, rect.top - dy, rect.right + dx, rect.bottom + dy};
}

inline bool Touches(const CRect& a, const CRect& b)
{
    return a.left < b.right && b.left < a.right && a.top < b.bottom && b.top < a.bottom;
}

} // namespace narvo::tools
