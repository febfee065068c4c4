// SPDX-License-Identifier: MIT
// Blobs by place: a hashed grid of square cells, for the walks that look for the blobs near a rectangle or a point.
// What counts as near is tested by the walks; the grid only limits the candidates.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <new>

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
    int nMark; ///< the walk's own
};

/// Every blob is registered in all cells that its rectangle, widened by a margin, touches; a rectangle that is reversed
/// after that is registered nowhere. A bucket holds the blobs of its cell and, by chance, of others. All of it is in
/// the scratch memory of the thread.
class CBlobGrid
{
public:
    /// Prepares for at most nMost blobs; bByType keeps blobs of different types apart. @return false when memory ran
    /// out
    bool Start(int nMost, int nMargin, bool bByType);
    /// Adds a blob. They are numbered in this order, from 0.
    void Add(const CDefectBlob& blob, int nMark)
    {
        const CRect& rt = blob.rtDefect;
        new (&m_pBlobs[m_nCount++]) SGridBlob{rt, blob.nDefectType, nMark};
        m_bReversed = m_bReversed || rt.left > rt.right || rt.top > rt.bottom;
    }
    /// Registers the blobs. @return false when they are too large for few cells each
    bool Finish();
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

    /// Whether the cells certainly hold no blob after this one. Never true for more than two cells along an axis.
    bool HasNoLater(int nBlob, const SCells& cells) const
    {
        if (cells.nRight - cells.nLeft > 1 || cells.nBottom - cells.nTop > 1)
            return false;
        // Without branches that depend on the place: lone pixels come in any. The newest registration leads a bucket.
        const std::size_t nType = GetTypePart(m_pBlobs[nBlob].nDefectType);
        const std::size_t nColumns[] = {GetColumnPart(cells.nLeft), GetColumnPart(cells.nRight)};
        const std::size_t nRows[] = {GetRowPart(cells.nTop) + nType, GetRowPart(cells.nBottom) + nType};
        int nNewest = -1;
        for (const std::size_t nColumn : nColumns)
        {
            for (const std::size_t nRow : nRows)
                nNewest = std::max(nNewest, m_pHead[(nColumn + nRow) & m_nBucketMask]);
        }
        return nNewest <= nBlob;
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
            const EVisit eVisit = fnVisit(nEntry < m_nCount ? nEntry : m_pBlobOf[nEntry - m_nCount]);
            if (eVisit == EVisit::Stop)
                return;
            if (eVisit == EVisit::Drop)
                *pLink = m_pNext[nEntry];
            else
                pLink = &m_pNext[nEntry];
        }
    }

private:
    // A cell's bucket is the sum of three parts. Squares of 4 by 4 cells share one cache line: ordered lists look up
    // neighbours one after another.
    static std::size_t GetColumnPart(std::int64_t nColumn)
    {
        return static_cast<std::size_t>(nColumn >> 2) * (std::size_t{0x9E3779B1U} * 16) +
               static_cast<std::size_t>(nColumn & 3) * 4;
    }
    static std::size_t GetRowPart(std::int64_t nRow)
    {
        return static_cast<std::size_t>(nRow >> 2) * (std::size_t{0x85EBCA77U} * 16) +
               static_cast<std::size_t>(nRow & 3);
    }
    std::size_t GetTypePart(int nType) const
    {
        return m_bByType ? static_cast<std::size_t>(nType) * (std::size_t{0xC2B2AE3DU} * 16) : 0;
    }
    std::size_t GetBucket(std::int64_t nColumn, std::int64_t nRow, int nType) const
    {
        return (GetColumnPart(nColumn) + GetRowPart(nRow) + GetTypePart(nType)) & m_nBucketMask;
    }

    /// Registers the blobs in cells of the present size. @return false when that takes too many registrations
    bool RegisterAll();
    /// Enters a blob in a cell's bucket.
    void Register(int nEntry, int nBlob, std::int64_t nColumn, std::int64_t nRow)
    {
        int& nHead = m_pHead[GetBucket(nColumn, nRow, m_pBlobs[nBlob].nDefectType)];
        m_pNext[nEntry] = nHead;
        nHead = nEntry;
    }

    int m_nCount = 0;
    int m_nMargin = 0;
    int m_nShift = 0; ///< cells are 1 << m_nShift pixels wide
    bool m_bByType = false;
    bool m_bReversed = false;
    std::size_t m_nMostBuckets = 0;
    std::size_t m_nBucketMask = 0;
    int* m_pHead = nullptr;   ///< first registration of each bucket, -1 where there is none
    int* m_pNext = nullptr;   ///< next registration of the bucket; the first of each blob has the blob's index
    int* m_pBlobOf = nullptr; ///< blob of each registration after those
    SGridBlob* m_pBlobs = nullptr;
    int* m_pSpare = nullptr;
};

} // namespace narvo::engine
