// SPDX-License-Identifier: MIT
// Conversion of a polygon to rectangles. The region algebra on rectangles is not here.
#pragma once

#include <cstdint>

#include <pixman.h>

#include "narvoassem/platform.h"

namespace narvo::engine
{

/// A growing list of boxes, right and bottom exclusive. Nothing throws: Add reports a list that cannot grow.
class CBoxList
{
public:
    CBoxList() = default;
    ~CBoxList();
    CBoxList(const CBoxList&) = delete;
    CBoxList& operator=(const CBoxList&) = delete;

    /// @return false without memory, and beyond 2 to the 24 boxes
    bool Add(const pixman_box32_t& box);
    int GetCount() const { return m_nCount; }
    const pixman_box32_t* GetData() const { return m_pBox; }

private:
    pixman_box32_t* m_pBox = nullptr;
    int m_nCount = 0;
    int m_nCapacity = 0;
};

/// Appends the part of a closed polygon's interior that lies in rtClip, under the even-odd rule. A pixel is inside
/// when, on its own row's ordinate, it lies at or right of an odd crossing of the outline and left of the next one; an
/// edge crosses the rows from its upper end, included, to its lower end, excluded. Coordinates may be any ints.
/// @return false without memory or with too many boxes
bool ScanPolygon(const CPoint* pPoint, int nCount, const pixman_box32_t& rtClip, CBoxList& boxes);

} // namespace narvo::engine
