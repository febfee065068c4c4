// SPDX-License-Identifier: MIT
// The region object: rectangles in the algebra of pixman, polygons kept as vertices until their pixels are asked for.
#include "narvoassem/platform.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>

#include <pixman.h>

#include "narvoassem/platform/polygon_scan.h"

using namespace narvo::engine;

namespace
{

/// A pixman region that is always valid.
class CRectangles
{
public:
    CRectangles() { pixman_region32_init(&m_region); }
    ~CRectangles() { pixman_region32_fini(&m_region); }
    CRectangles(const CRectangles&) = delete;
    CRectangles& operator=(const CRectangles&) = delete;

    void SetBox(const pixman_box32_t& box)
    {
        pixman_box32_t boxCopy = box;
        pixman_region32_fini(&m_region);
        // pixman would report an empty or reversed box on the error stream.
        if (box.x1 < box.x2 && box.y1 < box.y2)
            pixman_region32_init_with_extents(&m_region, &boxCopy);
        else
            pixman_region32_init(&m_region);
    }
    /// @return false without memory; the region is empty then
    bool SetBoxes(const CBoxList& boxes)
    {
        if (boxes.GetCount() == 0)
        {
            SetBox({});
            return true;
        }
        pixman_region32_fini(&m_region);
        if (pixman_region32_init_rects(&m_region, boxes.GetData(), boxes.GetCount()) != 0)
            return true;
        pixman_region32_init(&m_region);
        return false;
    }
    bool SetIntersection(const CRectangles& a, const CRectangles& b)
    {
        return pixman_region32_intersect(&m_region, a.Get(), b.Get()) != 0;
    }
    void Swap(CRectangles& other) { std::swap(m_region, other.m_region); }

    int GetCount() const { return pixman_region32_n_rects(Get()); }
    const pixman_box32_t* GetData() const { return pixman_region32_rectangles(Get(), nullptr); }
    pixman_box32_t GetBounds() const { return *pixman_region32_extents(Get()); }

private:
    // pixman takes its sources without const and does not change them.
    pixman_region32_t* Get() const { return const_cast<pixman_region32_t*>(&m_region); }

    pixman_region32_t m_region;
};

bool IsEmpty(const pixman_box32_t& box)
{
    return box.x1 >= box.x2 || box.y1 >= box.y2;
}

} // namespace

struct CRgn::CBody
{
    CRectangles rectangles;
    CPoint* pPoint = nullptr; ///< vertices of a polygon that is not converted yet; otherwise the rectangles count
    int nPoints = 0;

    CBody() = default;
    ~CBody() { std::free(pPoint); }
    CBody(const CBody&) = delete;
    CBody& operator=(const CBody&) = delete;

    pixman_box32_t GetBounds() const
    {
        if (pPoint == nullptr)
            return rectangles.GetBounds();
        pixman_box32_t box{INT_MAX, INT_MAX, INT_MIN, INT_MIN};
        for (int i = 0; i < nPoints; ++i)
        {
            box.x1 = std::min(box.x1, pPoint[i].x);
            box.y1 = std::min(box.y1, pPoint[i].y);
            box.x2 = std::max(box.x2, pPoint[i].x);
            box.y2 = std::max(box.y2, pPoint[i].y);
        }
        return box;
    }

    /// The polygon's rectangles inside a box.
    bool Convert(const pixman_box32_t& rtClip, CRectangles& target) const
    {
        CBoxList boxes;
        return (IsEmpty(rtClip) || ScanPolygon(pPoint, nPoints, rtClip, boxes)) && target.SetBoxes(boxes);
    }

    /// Replaces what the body held.
    void Take(CRectangles& source)
    {
        rectangles.Swap(source);
        std::free(pPoint);
        pPoint = nullptr;
        nPoints = 0;
    }
};

CRgn::~CRgn()
{
    delete m_pBody;
}

int CRgn::CreateRectRgn(int x1, int y1, int x2, int y2)
{
    if (m_pBody != nullptr)
        return 0;
    m_pBody = new (std::nothrow) CBody;
    if (m_pBody == nullptr)
        return 0;
    m_pBody->rectangles.SetBox({x1, y1, x2, y2});
    return 1;
}

int CRgn::CreateRectRgnIndirect(const CRect* pRect)
{
    return pRect != nullptr ? CreateRectRgn(pRect->left, pRect->top, pRect->right, pRect->bottom) : 0;
}

int CRgn::CreatePolygonRgn(const CPoint* pPoint, int nCount, int nMode)
{
    if (m_pBody != nullptr || pPoint == nullptr || nCount < 2 || nMode != ALTERNATE)
        return 0;
    const std::size_t nBytes = static_cast<std::size_t>(nCount) * sizeof(CPoint);
    auto* pCopy = static_cast<CPoint*>(std::malloc(nBytes));
    if (pCopy == nullptr)
        return 0;
    m_pBody = new (std::nothrow) CBody;
    if (m_pBody == nullptr)
    {
        std::free(pCopy);
        return 0;
    }
    std::memcpy(static_cast<void*>(pCopy), pPoint, nBytes);
    m_pBody->pPoint = pCopy;
    m_pBody->nPoints = nCount;
    return 1;
}

int CRgn::CombineRgn(CRgn* pFirst, CRgn* pSecond, int nMode)
{
    if (m_pBody == nullptr || pFirst == nullptr || pFirst->m_pBody == nullptr || pSecond == nullptr ||
        pSecond->m_pBody == nullptr || nMode != RGN_AND)
        return RGN_ERROR;
    const pixman_box32_t first = pFirst->m_pBody->GetBounds();
    const pixman_box32_t second = pSecond->m_pBody->GetBounds();
    const pixman_box32_t rtClip{std::max(first.x1, second.x1), std::max(first.y1, second.y1),
                                std::min(first.x2, second.x2), std::min(first.y2, second.y2)};

    // Polygons are converted only where the other operand can reach.
    CRectangles converted[2];
    const CRectangles* pOperand[2];
    const CBody* pBody[2] = {pFirst->m_pBody, pSecond->m_pBody};
    for (int i = 0; i < 2; ++i)
    {
        pOperand[i] = pBody[i]->pPoint != nullptr ? &converted[i] : &pBody[i]->rectangles;
        if (pBody[i]->pPoint != nullptr && !pBody[i]->Convert(rtClip, converted[i]))
            return RGN_ERROR;
    }
    CRectangles result;
    if (!result.SetIntersection(*pOperand[0], *pOperand[1]))
        return RGN_ERROR;
    m_pBody->Take(result);
    const int nRects = m_pBody->rectangles.GetCount();
    return nRects == 0 ? NULLREGION : nRects == 1 ? SIMPLEREGION : COMPLEXREGION;
}

const void* CRgn::GetSafeHandle() const
{
    return m_pBody;
}

int CRgn::GetRegionData(RGNDATA* pData, int nSize) const
{
    if (m_pBody == nullptr)
        return 0;
    if (m_pBody->pPoint != nullptr)
    {
        CRectangles converted;
        if (!m_pBody->Convert(m_pBody->GetBounds(), converted))
            return 0;
        m_pBody->Take(converted);
    }
    const CRectangles& rectangles = m_pBody->rectangles;
    static_assert(sizeof(pixman_box32_t) == sizeof(CRect) && offsetof(pixman_box32_t, x2) == offsetof(CRect, right));
    const std::size_t nRectBytes = static_cast<std::size_t>(rectangles.GetCount()) * sizeof(CRect);
    const std::size_t nNeeded = offsetof(RGNDATA, Buffer) + nRectBytes;
    if (nNeeded > INT_MAX)
        return 0;
    if (pData == nullptr)
        return static_cast<int>(nNeeded);
    if (nSize < 0 || static_cast<std::size_t>(nSize) < nNeeded)
        return 0;
    const pixman_box32_t bounds = rectangles.GetBounds();
    pData->rdh = {sizeof(RGNDATAHEADER),
                  1,
                  static_cast<std::uint32_t>(rectangles.GetCount()),
                  static_cast<std::uint32_t>(nRectBytes),
                  {bounds.x1, bounds.y1, bounds.x2, bounds.y2}};
    if (nRectBytes > 0)
        std::memcpy(pData->Buffer, rectangles.GetData(), nRectBytes);
    return static_cast<int>(nNeeded);
}

int CRgn::DeleteObject()
{
    if (m_pBody == nullptr)
        return 0;
    delete m_pBody;
    m_pBody = nullptr;
    return 1;
}
