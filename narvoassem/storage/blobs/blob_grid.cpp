// SPDX-License-Identifier: MIT
// Construction of the grid.
#include "narvoassem/storage/blobs/blob_grid.h"

#include <algorithm>
#include <bit>

#include "narvoassem/storage/blobs/thread_scratch.h"

namespace narvo::engine
{

namespace
{

constexpr int nFirstShift = 5;            ///< 32 pixels: a small blob with its surroundings touches one cell or two
constexpr int nLastShift = 33;            ///< one cell holds every widened rectangle, or a few
constexpr std::int64_t nCellsPerBlob = 2; ///< mean number of registrations above which cells are made larger

SCells GetWidened(const CRect& rt, std::int64_t nMargin, int nShift)
{
    return {(rt.left - nMargin) >> nShift, (rt.top - nMargin) >> nShift, (rt.right + nMargin) >> nShift,
            (rt.bottom + nMargin) >> nShift};
}

bool IsReversed(const CRect& rt, std::int64_t nMargin)
{
    return rt.left - nMargin > rt.right + nMargin || rt.top - nMargin > rt.bottom + nMargin;
}

std::int64_t CountCells(const SCells& cells, std::int64_t nLimit)
{
    const std::int64_t nColumns = cells.nRight - cells.nLeft + 1;
    const std::int64_t nRows = cells.nBottom - cells.nTop + 1;
    return std::min(nColumns, nLimit) * std::min(nRows, nLimit);
}

} // namespace

bool CBlobGrid::Start(int nMost, int nMargin, bool bByType)
{
    const auto nBlobs = static_cast<std::size_t>(nMost);
    const std::size_t nMostEntries = nBlobs * nCellsPerBlob;
    constexpr std::size_t nWordsPerBlob = sizeof(SGridBlob) / sizeof(int);
    m_nMostBuckets = std::bit_ceil(2 * std::max<std::size_t>(nMostEntries, 1));
    int* pWords = GetThreadScratch((nWordsPerBlob + 2) * nBlobs + 2 * nMostEntries + m_nMostBuckets);
    if (pWords == nullptr)
        return false;
    m_pBlobs = reinterpret_cast<SGridBlob*>(pWords);
    m_pSpare = pWords + nWordsPerBlob * nBlobs;
    m_pNext = m_pSpare + nBlobs;
    m_pBlobOf = m_pNext + nBlobs + nMostEntries;
    m_pHead = m_pBlobOf + nMostEntries;
    m_nCount = 0;
    m_nMargin = nMargin;
    m_bByType = bByType;
    m_bReversed = false;
    return true;
}

bool CBlobGrid::Finish()
{
    const std::size_t nBuckets = std::min(std::bit_ceil(4 * static_cast<std::size_t>(m_nCount) + 1), m_nMostBuckets);
    m_nBucketMask = nBuckets - 1;
    for (m_nShift = nFirstShift; m_nShift <= nLastShift; ++m_nShift)
    {
        std::fill_n(m_pHead, nBuckets, -1);
        if (RegisterAll())
            return true;
    }
    return false;
}

bool CBlobGrid::RegisterAll()
{
    const std::int64_t nLimit = nCellsPerBlob * m_nCount;
    std::int64_t nEntries = 0;
    int nEntry = m_nCount;
    for (int i = 0; i < m_nCount; ++i)
    {
        if (IsReversed(m_pBlobs[i].rtDefect, m_nMargin))
            continue;
        const SCells cells = GetWidened(m_pBlobs[i].rtDefect, m_nMargin, m_nShift);
        nEntries += CountCells(cells, nLimit + 1);
        if (nEntries > nLimit)
            return false;
        Register(i, i, cells.nLeft, cells.nTop);
        if (cells.nLeft == cells.nRight && cells.nTop == cells.nBottom)
            continue;
        for (std::int64_t nRow = cells.nTop; nRow <= cells.nBottom; ++nRow)
        {
            for (std::int64_t nColumn = cells.nLeft; nColumn <= cells.nRight; ++nColumn)
            {
                if (nRow == cells.nTop && nColumn == cells.nLeft)
                    continue;
                m_pBlobOf[nEntry - m_nCount] = i;
                Register(nEntry++, i, nColumn, nRow);
            }
        }
    }
    return true;
}

} // namespace narvo::engine
