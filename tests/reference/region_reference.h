// SPDX-License-Identifier: MIT
// Polygon filling and the joining of bands again, pixel by pixel and step by step.
#pragma once

#include <cstdint>
#include <vector>

#include "narvoassem/platform.h"

namespace narvo::test
{

/// Whether a pixel belongs to the interior of a closed polygon under the even-odd rule.
bool IsInPolygon(const std::vector<CPoint>& polygon, int x, int y);

/// The rectangles that a region gives for its data.
std::vector<CRect> ReadRegion(const CRgn& rgn);

/// Strips of at least 16 columns, in image coordinates, from the rectangles of a transposed region.
std::vector<CRect> JoinBandsReference(const std::vector<CRect>& rects);

} // namespace narvo::test
