// Blobs by place: a hashed grid of square cells, for the walks that ask each blob for others near a rectangle or a
// point. What counts as near is tested by the walks; the grid only narrows the choice.
#pragma once

#include <cstddef>
#include <cstdint>

#include "narvoassem/defectblob.h"

namespace narvo
{

/// Cells from (nLeft, nTop) to (nRight, nBottom), all included.
struct SCells
{
    std::int64_t nLeft;
    std::int64_t nTop;
    std::int64_t nRight;
    std::int64_t nBottom;

    friend bool operator==(const SCells& a, const SCells& b) = default;
    bool HasRow(std::int64_t nRow) const { return nTop <= nRow && nRow <= nBottom; }
};

/// Every blob is registered in all cells that its rectangle, widened by a margin, touches; a rectangle that is reversed
/// after that stands nowhere. A bucket holds the blobs of its cell and, by chance, of others.
class CBlobGrid
{
public:
    /// Registers pBlobs[0 .. nCount - 1]; bByType keeps blobs of different types apart. The grid, and nSpareWords ints
    /// behind it for the caller, lie in the scratch memory of the thread. Answers false when that cannot be had.
    bool Build(const CDefectBlob* pBlobs, int nCount, int nMargin, bool bByType, std::size_t nSpareWords);
    int* GetSpareWords() const { return m_pSpare; }

    /// The cells of the area from (nLeft, nTop) to (nRight, nBottom), both included.
    SCells GetCells(std::int64_t nLeft, std::int64_t nTop, std::int64_t nRight, std::int64_t nBottom) const
    {
        return {nLeft >> m_nShift, nTop >> m_nShift, nRight >> m_nShift, nBottom >> m_nShift};
    }

    /// Calls fnVisit(blob index) for the blobs of a cell's bucket. It answers what to do: drop the registration for
    /// good, go on, or stop.
    enum class EVisit
    {
        Drop,
        GoOn,
        Stop
    };
    template <class TVisit>
    void VisitCell(std::int64_t nColumn, std::int64_t nRow, int nType, TVisit fnVisit)
    {
        int* pLink = &m_pHead[GetBucket(nColumn, nRow, nType)];
        while (*pLink >= 0)
        {
            const int nEntry = *pLink;
            const EVisit eVisit = fnVisit(m_pBlob[nEntry]);
            if (eVisit == EVisit::Stop)
                return;
            if (eVisit == EVisit::Drop)
                *pLink = m_pNext[nEntry];
            else
                pLink = &m_pNext[nEntry];
        }
    }

private:
    std::size_t GetBucket(std::int64_t nColumn, std::int64_t nRow, int nType) const
    {
        return (static_cast<std::size_t>(nColumn) + static_cast<std::size_t>(nRow) * 0x9E3779B1U +
                (m_bByType ? static_cast<std::size_t>(nType) * 0x85EBCA77U : 0)) &
               m_nBucketMask;
    }

    int m_nShift = 0; ///< cells are 1 << m_nShift pixels wide
    bool m_bByType = false;
    std::size_t m_nBucketMask = 0;
    int* m_pHead = nullptr; ///< first registration of each bucket, -1 where there is none
    int* m_pNext = nullptr; ///< next registration of the bucket
    int* m_pBlob = nullptr; ///< blob of each registration
    int* m_pSpare = nullptr;
};

} // namespace narvo
