// SPDX-License-Identifier: MIT
// Construction of the grid.
#include "narvoassem/storage/blobs/blob_grid.h"

#include <algorithm>
#include <bit>
#include <new>

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

// Stops counting once the limit is passed.
std::int64_t CountRegistrations(const SGridBlob* pBlobs, int nCount, int nMargin, int nShift, std::int64_t nLimit)
{
    std::int64_t nSum = 0;
    for (int i = 0; i < nCount && nSum <= nLimit; ++i)
    {
        if (IsReversed(pBlobs[i].rtDefect, nMargin))
            continue;
        const SCells cells = GetWidened(pBlobs[i].rtDefect, nMargin, nShift);
        const std::int64_t nColumns = cells.nRight - cells.nLeft + 1;
        const std::int64_t nRows = cells.nBottom - cells.nTop + 1;
        nSum += std::min(nColumns, nLimit + 1) * std::min(nRows, nLimit + 1);
    }
    return nSum;
}

} // namespace

bool CBlobGrid::Build(const CDefectBlob* pBlobs, int nCount, int nMargin, bool bByType)
{
    const auto nBlobs = static_cast<std::size_t>(nCount);
    const std::size_t nMostEntries = nBlobs * nCellsPerBlob;
    const std::size_t nMostBuckets = std::bit_ceil(2 * nMostEntries);
    constexpr std::size_t nWordsPerBlob = sizeof(SGridBlob) / sizeof(int);
    int* pWords = GetThreadScratch((nWordsPerBlob + 1) * nBlobs + 2 * nMostEntries + nMostBuckets);
    if (pWords == nullptr)
        return false;
    m_pBlobs = reinterpret_cast<SGridBlob*>(pWords);
    m_pSpare = pWords + nWordsPerBlob * nBlobs;
    m_pNext = m_pSpare + nBlobs;
    m_pBlobOf = m_pNext + nMostEntries;
    m_pHead = m_pBlobOf + nMostEntries;
    m_bByType = bByType;
    m_bReversed = false;
    for (int i = 0; i < nCount; ++i)
    {
        new (&m_pBlobs[i]) SGridBlob{pBlobs[i].rtDefect, pBlobs[i].nDefectType, pBlobs[i].bRemoved};
        m_bReversed = m_bReversed || IsReversed(pBlobs[i].rtDefect, 0);
    }

    const std::int64_t nLimit = nCellsPerBlob * nCount;
    std::int64_t nEntries = nLimit + 1;
    for (m_nShift = nFirstShift; m_nShift <= nLastShift; ++m_nShift)
    {
        nEntries = CountRegistrations(m_pBlobs, nCount, nMargin, m_nShift, nLimit);
        if (nEntries <= nLimit)
            break;
    }
    if (nEntries > nLimit)
        return false;

    const std::size_t nBuckets = std::bit_ceil(2 * std::max<std::size_t>(static_cast<std::size_t>(nEntries), 1));
    m_nBucketMask = nBuckets - 1;
    std::fill_n(m_pHead, nBuckets, -1);
    int nEntry = 0;
    for (int i = 0; i < nCount; ++i)
    {
        if (IsReversed(m_pBlobs[i].rtDefect, nMargin))
            continue;
        const SCells cells = GetWidened(m_pBlobs[i].rtDefect, nMargin, m_nShift);
        for (std::int64_t nRow = cells.nTop; nRow <= cells.nBottom; ++nRow)
        {
            for (std::int64_t nColumn = cells.nLeft; nColumn <= cells.nRight; ++nColumn)
            {
                int& nHead = m_pHead[GetBucket(nColumn, nRow, m_pBlobs[i].nDefectType)];
                m_pBlobOf[nEntry] = i;
                m_pNext[nEntry] = nHead;
                nHead = nEntry++;
            }
        }
    }
    return true;
}

} // namespace narvo::engine
