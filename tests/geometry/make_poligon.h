// SPDX-License-Identifier: MIT
// Polygons from their vertices.
#pragma once

#include <initializer_list>

#include "narvoassem/padpoligon.h"

namespace narvo::test
{

inline CPadPoligon MakePoligon(std::initializer_list<CPadPoint> points)
{
    CPadPoligon poligon;
    for (const CPadPoint& pt : points)
        poligon.AddPoint(pt);
    return poligon;
}

} // namespace narvo::test
