// SPDX-License-Identifier: MIT
// From a polygon to rectangles of at least 16 image columns. Regions are built with x and y exchanged, so that a band
// of the region is a run of image columns.
#include "narvoassem/narvoassem.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "narvoassem/base/memory_shortage.h"
#include "narvoassem/base/wrap_int.h"

using namespace narvo::engine;

namespace
{

constexpr int nThinBand = 16;

struct CFree
{
    void operator()(void* p) const { std::free(p); }
};

/// Joins bands of a transposed region: wide ones stand alone, thin ones are gathered until they make a wide one.
class CBandJoiner
{
public:
    /// pSlot has room for one slot per rectangle, all empty.
    explicit CBandJoiner(CRect* pSlot) : m_pSlot(pSlot) {}

    /// Takes the next rectangle; pBefore is the one before it in the region, null for the first.
    void Add(const CRect& rt, const CRect* pBefore)
    {
        const int nHeight = WrapAbs(rt.Height());
        if (nHeight >= nThinBand)
        {
            if (m_nGathered == 0)
                m_pSlot[m_nGroup] = rt;
            else
                Widen(m_pSlot[m_nGroup], rt);
            ++m_nGroup;
            m_nGathered = 0;
            return;
        }
        if (m_nGathered >= nThinBand)
            OpenNext(rt);
        if (m_nGathered == 0)
        {
            if (m_pSlot[m_nGroup].IsRectEmpty())
                m_pSlot[m_nGroup] = rt;
        }
        else if (pBefore != nullptr && WrapSub(rt.top, pBefore->bottom) > nThinBand)
        {
            OpenNext(rt);
        }
        else
        {
            Narrow(m_pSlot[m_nGroup], rt);
        }
        m_nGathered += nHeight;
    }

    /// Closed groups; one still open is not among them.
    int GetCount() const { return m_nGroup; }

private:
    void OpenNext(const CRect& rt)
    {
        m_pSlot[++m_nGroup] = rt;
        m_nGathered = 0;
    }
    static void Widen(CRect& slot, const CRect& rt)
    {
        slot = CRect(std::min(slot.left, rt.left), std::min(slot.top, rt.top), std::max(slot.right, rt.right),
                     std::max(slot.bottom, rt.bottom));
    }
    /// Keeps the columns that all thin bands share; the slot may end up reversed, and counts as empty then.
    static void Narrow(CRect& slot, const CRect& rt)
    {
        slot = CRect(std::max(slot.left, rt.left), std::min(slot.top, rt.top), std::min(slot.right, rt.right),
                     std::max(slot.bottom, rt.bottom));
    }

    CRect* m_pSlot;
    int m_nGroup = 0;
    int m_nGathered = 0; ///< height of the thin bands in the open group
};

/// The result of a call that ran out of memory.
int FailWithoutMemory()
{
    NoteMemoryShortage();
    return 0;
}

CRect* AllocateRects(std::size_t nCount)
{
    return static_cast<CRect*>(std::calloc(std::max<std::size_t>(nCount, 1), sizeof(CRect)));
}

} // namespace

int CNarvoAssem::MakeFrameRegion(CPoint* pPoint, int nCount, CRect rtFrame, int& nRectCount, CRect** prtArry)
{
    const CRect rtTransposed(rtFrame.top, rtFrame.left, rtFrame.bottom, rtFrame.right);
    CRgn InsRgn;
    if (InsRgn.CreateRectRgnIndirect(&rtTransposed) == 0)
        return FailWithoutMemory();
    if (nCount <= 0 || pPoint == nullptr)
        return 0;
    const std::unique_ptr<CPoint[], CFree> pTransposed(
        static_cast<CPoint*>(std::malloc(static_cast<std::size_t>(nCount) * sizeof(CPoint))));
    if (pTransposed == nullptr)
        return FailWithoutMemory();
    for (int i = 0; i < nCount; ++i)
        pTransposed[i] = CPoint(pPoint[i].y, pPoint[i].x);
    CRgn PolygonRgn;
    if (PolygonRgn.CreatePolygonRgn(pTransposed.get(), nCount, ALTERNATE) == 0)
        return nCount < 2 ? 0 : FailWithoutMemory();
    CRgn FrameRgn;
    if (FrameRgn.CreateRectRgn(0, 0, 0, 0) == 0)
        return FailWithoutMemory();
    const int nCombined = FrameRgn.CombineRgn(&InsRgn, &PolygonRgn, RGN_AND);
    if (nCombined == RGN_ERROR)
        return FailWithoutMemory();
    return nCombined != NULLREGION && ExtractRectInRgn(FrameRgn, nRectCount, prtArry) == 1 ? 1 : 0;
}

int CNarvoAssem::ExtractRectInRgn(CRgn& rgn, int& nRectCount, CRect** prtArry)
{
    const int nSize = static_cast<int>(rgn.GetRegionData(nullptr, 0));
    if (nSize < 1)
        return 0;
    const std::unique_ptr<RGNDATA, CFree> pData(
        static_cast<RGNDATA*>(std::malloc(std::max(static_cast<std::size_t>(nSize), sizeof(RGNDATA)))));
    if (pData == nullptr || rgn.GetRegionData(pData.get(), nSize) < 1)
        return FailWithoutMemory();
    nRectCount = static_cast<int>(pData->rdh.nCount);
    if (nRectCount <= 0)
        return 0;
    const auto getRect = [&pData](int nIndex)
    {
        CRect rt;
        std::memcpy(static_cast<void*>(&rt), pData->Buffer + static_cast<std::size_t>(nIndex) * sizeof rt, sizeof rt);
        return rt;
    };

    const std::unique_ptr<CRect[], CFree> pSlot(AllocateRects(static_cast<std::size_t>(nRectCount)));
    if (pSlot == nullptr)
        return FailWithoutMemory();
    CBandJoiner joiner(pSlot.get());
    CRect rtBefore;
    for (int i = 0; i < nRectCount; ++i)
    {
        const CRect rt = getRect(i);
        joiner.Add(rt, i > 0 ? &rtBefore : nullptr);
        rtBefore = rt;
    }

    const int nGroups = joiner.GetCount();
    CRect* pList = AllocateRects(static_cast<std::size_t>(nGroups));
    if (pList == nullptr)
        return FailWithoutMemory();
    for (int i = 0; i < nGroups; ++i)
        pList[i] = CRect(pSlot[i].top, pSlot[i].left, pSlot[i].bottom, pSlot[i].right);
    nRectCount = nGroups;
    *prtArry = pList;
    return 1;
}
