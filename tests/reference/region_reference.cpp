// SPDX-License-Identifier: MIT
// See region_reference.h.
#include "reference/region_reference.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace narvo::test
{

bool IsInPolygon(const std::vector<CPoint>& polygon, int x, int y)
{
    __extension__ using int128 = __int128;
    int nCrossings = 0;
    for (std::size_t i = 0; i < polygon.size(); ++i)
    {
        CPoint a = polygon[i];
        CPoint b = polygon[(i + 1) % polygon.size()];
        if (a.y > b.y)
            std::swap(a, b);
        if (y < a.y || y >= b.y)
            continue;
        // Crossing at or left of x: a.x + (y - a.y) * (b.x - a.x) / (b.y - a.y) <= x.
        const int128 nHeight = int128{b.y} - a.y;
        const int128 nAcross = (int128{y} - a.y) * (int128{b.x} - a.x);
        if (nAcross <= (int128{x} - a.x) * nHeight)
            ++nCrossings;
    }
    return nCrossings % 2 != 0;
}

std::vector<CRect> ReadRegion(const CRgn& rgn)
{
    const int nSize = rgn.GetRegionData(nullptr, 0);
    if (nSize < 1)
        return {};
    std::vector<char> block(static_cast<std::size_t>(nSize));
    auto* pData = reinterpret_cast<RGNDATA*>(block.data());
    if (rgn.GetRegionData(pData, nSize) != nSize)
        return {};
    std::vector<CRect> rects(pData->rdh.nCount);
    if (!rects.empty())
        std::memcpy(static_cast<void*>(rects.data()), pData->Buffer, rects.size() * sizeof(CRect));
    return rects;
}

std::vector<CRect> JoinBandsReference(const std::vector<CRect>& rects)
{
    std::vector<CRect> slot(rects.size() + 1);
    std::size_t g = 0;
    int a = 0;
    for (std::size_t i = 0; i < rects.size(); ++i)
    {
        const CRect& r = rects[i];
        const int h = std::abs(r.bottom - r.top);
        if (h >= 16 && a == 0)
        {
            slot[g] = r;
            g = g + 1;
        }
        else if (h >= 16)
        {
            slot[g].top = std::min(slot[g].top, r.top);
            slot[g].bottom = std::max(slot[g].bottom, r.bottom);
            slot[g].left = std::min(slot[g].left, r.left);
            slot[g].right = std::max(slot[g].right, r.right);
            g = g + 1;
            a = 0;
        }
        else
        {
            if (a >= 16)
            {
                g = g + 1;
                slot[g] = r;
                a = 0;
            }
            if (a == 0)
            {
                if (slot[g].right <= slot[g].left || slot[g].bottom <= slot[g].top)
                    slot[g] = r;
            }
            else if (r.top - rects[i - 1].bottom > 16)
            {
                g = g + 1;
                slot[g] = r;
                a = 0;
            }
            else
            {
                slot[g].top = std::min(slot[g].top, r.top);
                slot[g].bottom = std::max(slot[g].bottom, r.bottom);
                slot[g].left = std::max(slot[g].left, r.left);
                slot[g].right = std::min(slot[g].right, r.right);
            }
            a = a + h;
        }
    }
    std::vector<CRect> list;
    for (std::size_t i = 0; i < g; ++i)
        list.emplace_back(slot[i].top, slot[i].left, slot[i].bottom, slot[i].right);
    return list;
}

} // namespace narvo::test
