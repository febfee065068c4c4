// SPDX-License-Identifier: MIT
// Scan conversion of polygons: edges stepped row by row in exact integers.
#include "narvoassem/platform/polygon_scan.h"

#include <algorithm>
#include <cstdlib>
#include <memory>

namespace narvo::engine
{

namespace
{

struct CFree
{
    void operator()(void* p) const { std::free(p); }
};

template <typename TElement>
std::unique_ptr<TElement[], CFree> Allocate(std::size_t nCount)
{
    // NOLINTNEXTLINE(bugprone-sizeof-expression): arrays of pointers are meant
    const std::size_t nBytes = std::max<std::size_t>(nCount, 1) * sizeof(TElement);
    return std::unique_ptr<TElement[], CFree>(static_cast<TElement*>(std::malloc(nBytes)));
}

/// An edge that is followed downward: the crossing with row nRow is nFloor + nRest / nHeight, 0 <= nRest < nHeight.
struct CEdge
{
    std::int64_t nRow;
    std::int64_t nEnd; ///< first row that it does not cross
    std::int64_t nFloor;
    std::int64_t nRest;
    std::int64_t nHeight;
    std::int64_t nStep; ///< change of the crossing per row: nStep + nStepRest / nHeight, 0 <= nStepRest < nHeight
    std::int64_t nStepRest;

    CEdge(const CPoint& ptTop, const CPoint& ptBottom, std::int64_t nFirstRow, std::int64_t nEndRow)
        : nRow(nFirstRow), nEnd(nEndRow), nHeight(std::int64_t{ptBottom.y} - ptTop.y)
    {
        const std::int64_t nWidth = std::int64_t{ptBottom.x} - ptTop.x;
        nStep = nWidth / nHeight;
        nStepRest = nWidth % nHeight;
        if (nStepRest < 0)
        {
            nStepRest += nHeight;
            --nStep;
        }
        // Rows and remainders stay below 2 to the 32 each, so their product fits 64 bits without sign.
        const auto nDown = static_cast<std::uint64_t>(nFirstRow - ptTop.y);
        const std::uint64_t nProduct = nDown * static_cast<std::uint64_t>(nStepRest);
        const auto nDivisor = static_cast<std::uint64_t>(nHeight);
        nFloor = ptTop.x + static_cast<std::int64_t>(nDown) * nStep + static_cast<std::int64_t>(nProduct / nDivisor);
        nRest = static_cast<std::int64_t>(nProduct % nDivisor);
    }

    /// The crossing rounded up: the first pixel at or right of it.
    int GetPixel() const { return static_cast<int>(nFloor + (nRest > 0 ? 1 : 0)); }
    bool IsUpright() const { return nStep == 0 && nStepRest == 0; }
    void MoveDown()
    {
        nFloor += nStep;
        nRest += nStepRest;
        if (nRest >= nHeight)
        {
            nRest -= nHeight;
            ++nFloor;
        }
    }
};

/// The edges that cross rows of the clip box, by their first row. @return their number
std::size_t CollectEdges(const CPoint* pPoint, int nCount, const pixman_box32_t& rtClip, CEdge* pEdge)
{
    std::size_t nEdges = 0;
    for (int i = 0; i < nCount; ++i)
    {
        const CPoint& a = pPoint[i];
        const CPoint& b = pPoint[i + 1 < nCount ? i + 1 : 0];
        const CPoint& ptTop = a.y < b.y ? a : b;
        const CPoint& ptBottom = a.y < b.y ? b : a;
        const int nFirst = std::max(ptTop.y, rtClip.y1);
        const int nEnd = std::min(ptBottom.y, rtClip.y2);
        if (nFirst < nEnd)
            ::new (&pEdge[nEdges++]) CEdge(ptTop, ptBottom, nFirst, nEnd);
    }
    std::sort(pEdge, pEdge + nEdges, [](const CEdge& a, const CEdge& b) { return a.nRow < b.nRow; });
    return nEdges;
}

} // namespace

CBoxList::~CBoxList()
{
    std::free(m_pBox);
}

bool CBoxList::Add(const pixman_box32_t& box)
{
    constexpr int nBoxLimit = 1 << 24;
    if (m_nCount == m_nCapacity)
    {
        const int nWanted = m_nCapacity == 0 ? 256 : 2 * m_nCapacity;
        if (nWanted > nBoxLimit)
            return false;
        void* pBox = std::realloc(m_pBox, static_cast<std::size_t>(nWanted) * sizeof *m_pBox);
        if (pBox == nullptr)
            return false;
        m_pBox = static_cast<pixman_box32_t*>(pBox);
        m_nCapacity = nWanted;
    }
    m_pBox[m_nCount++] = box;
    return true;
}

bool ScanPolygon(const CPoint* pPoint, int nCount, const pixman_box32_t& rtClip, CBoxList& boxes)
{
    const auto pEdges = Allocate<CEdge>(static_cast<std::size_t>(nCount));
    const auto pActive = Allocate<CEdge*>(static_cast<std::size_t>(nCount));
    const auto pCrossing = Allocate<int>(static_cast<std::size_t>(nCount));
    if (pEdges == nullptr || pActive == nullptr || pCrossing == nullptr)
        return false;

    const std::size_t nEdges = CollectEdges(pPoint, nCount, rtClip, pEdges.get());
    std::size_t nNext = 0;
    std::size_t nActive = 0;
    std::int64_t y = rtClip.y1;
    while (nNext < nEdges || nActive > 0)
    {
        if (nActive == 0)
            y = pEdges[nNext].nRow;
        for (; nNext < nEdges && pEdges[nNext].nRow == y; ++nNext)
            pActive[nActive++] = &pEdges[nNext];

        // Rows of the same crossings are one band: to the next change where all edges are vertical, else one row.
        std::int64_t nBandEnd = nNext < nEdges ? pEdges[nNext].nRow : rtClip.y2;
        for (std::size_t i = 0; i < nActive; ++i)
        {
            pCrossing[i] = pActive[i]->GetPixel();
            nBandEnd = std::min(nBandEnd, pActive[i]->IsUpright() ? pActive[i]->nEnd : y + 1);
        }
        std::sort(pCrossing.get(), pCrossing.get() + nActive);
        for (std::size_t i = 0; i + 1 < nActive; i += 2)
        {
            const pixman_box32_t box{std::max(pCrossing[i], rtClip.x1), static_cast<int>(y),
                                     std::min(pCrossing[i + 1], rtClip.x2), static_cast<int>(nBandEnd)};
            if (box.x1 < box.x2 && !boxes.Add(box))
                return false;
        }

        std::size_t nKept = 0;
        for (std::size_t i = 0; i < nActive; ++i)
            if (pActive[i]->nEnd > nBandEnd)
            {
                pActive[i]->MoveDown(); // no change to a vertical edge, for a band of any length
                pActive[nKept++] = pActive[i];
            }
        nActive = nKept;
        y = nBandEnd;
    }
    return true;
}

} // namespace narvo::engine
