// SPDX-License-Identifier: MIT
// Blobs by place: a hashed grid of square cells, for the walks that look for the blobs near a rectangle or a point.
// What counts as near is tested by the walks; the grid only limits the candidates.
#pragma once

#include <cstddef>
#include <cstdint>

#include "narvoassem/defectblob.h"

namespace narvo::engine
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

/// The fields of a blob that the walks read, close together: the records themselves are far apart in memory.
struct SGridBlob
{
    CRect rtDefect;
    int nDefectType;
    int nMark; ///< bRemoved at first, then the walk's own
};

/// Every blob is registered in all cells that its rectangle, widened by a margin, touches; a rectangle that is reversed
/// after that is registered nowhere. A bucket holds the blobs of its cell and, by chance, of others. All of it is in
/// the scratch memory of the thread.
class CBlobGrid
{
public:
    /// Registers pBlobs[0 .. nCount - 1]; bByType keeps blobs of different types apart. @return false when memory
    /// ran out
    bool Build(const CDefectBlob* pBlobs, int nCount, int nMargin, bool bByType);
    SGridBlob& GetBlob(int nBlob) { return m_pBlobs[nBlob]; }
    /// Whether some rectangle, not widened, is reversed.
    bool HasReversed() const { return m_bReversed; }
    /// One int for each blob, for the caller.
    int* GetSpareWords() const { return m_pSpare; }

    /// The cells of the area from (nLeft, nTop) to (nRight, nBottom), both included.
    SCells GetCells(std::int64_t nLeft, std::int64_t nTop, std::int64_t nRight, std::int64_t nBottom) const
    {
        return {nLeft >> m_nShift, nTop >> m_nShift, nRight >> m_nShift, nBottom >> m_nShift};
    }

    /// Calls fnVisit(blob index) for the blobs of a cell's bucket. It returns what to do: remove the registration,
    /// continue, or stop.
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
            const EVisit eVisit = fnVisit(m_pBlobOf[nEntry]);
            if (eVisit == EVisit::Stop)
                return;
            if (eVisit == EVisit::Drop)
                *pLink = m_pNext[nEntry];
            else
                pLink = &m_pNext[nEntry];
        }
    }

private:
    // Squares of 4 by 4 cells share one cache line: ordered lists look up neighbours one after another.
    std::size_t GetBucket(std::int64_t nColumn, std::int64_t nRow, int nType) const
    {
        const std::size_t nSquare = static_cast<std::size_t>(nColumn >> 2) * 0x9E3779B1U +
                                    static_cast<std::size_t>(nRow >> 2) * 0x85EBCA77U +
                                    (m_bByType ? static_cast<std::size_t>(nType) * 0xC2B2AE3DU : 0);
        return (nSquare * 16 + static_cast<std::size_t>((nColumn & 3) * 4 + (nRow & 3))) & m_nBucketMask;
    }

    int m_nShift = 0; ///< cells are 1 << m_nShift pixels wide
    bool m_bByType = false;
    bool m_bReversed = false;
    std::size_t m_nBucketMask = 0;
    int* m_pHead = nullptr;   ///< first registration of each bucket, -1 where there is none
    int* m_pNext = nullptr;   ///< next registration of the bucket
    int* m_pBlobOf = nullptr; ///< blob of each registration
    SGridBlob* m_pBlobs = nullptr;
    int* m_pSpare = nullptr;
};

} // namespace narvo::engine
