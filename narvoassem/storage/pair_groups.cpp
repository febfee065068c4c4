// The grouping pass: the plain walk, and for long lists the same walk over an index. Types never meet, so each is
// grouped by itself.
#include "narvoassem/storage/pair_groups.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstdlib>
#include <limits>

#include "narvoassem/storage/thread_scratch.h"

namespace narvo
{

namespace
{

constexpr int nPlainLimit = 256;        ///< up to this many pairs the plain walk is taken
constexpr int nIndexedTypes = 4;        ///< types 0 .. 3; hosts may write others, which are walked plainly
constexpr std::int64_t nLookAhead = 16; ///< columns of the vertical window's look-ahead
constexpr std::int64_t nVertReach = 3;

struct SOffset
{
    std::int64_t x;
    std::int64_t y;
};

bool EndsWalk(EGroupWindow eWindow, const SOffset& offset)
{
    return eWindow == EGroupWindow::Horizontal ? offset.y > 1 : offset.x > nLookAhead;
}

bool IsInWindow(EGroupWindow eWindow, const SOffset& offset)
{
    if (eWindow == EGroupWindow::Horizontal)
        return offset.x >= -1 && offset.x < 2;
    return std::abs(offset.x) <= nVertReach && std::abs(offset.y) <= nVertReach;
}

SOffset GetOffset(const CPoint& from, const CPoint& to)
{
    return {static_cast<std::int64_t>(to.x) - from.x, static_cast<std::int64_t>(to.y) - from.y};
}

struct SPairList
{
    EGroupWindow eWindow;
    const CDefectPair* pPairs;
    int nCount;
    int* pLabel;
    int* pLinked;

    void Link(int nFinder, int nFound) const
    {
        pLabel[nFound] = pLabel[nFinder];
        pLinked[nFound] = 1;
    }
};

/// Groups the pairs whose type lies within nLow .. nHigh or, with bOutside, outside of it.
void GroupPlainly(const SPairList& list, int nLow, int nHigh, bool bOutside)
{
    for (int i = 0; i < list.nCount; ++i)
    {
        const CDefectPair& first = list.pPairs[i];
        const bool bInside = first.nDefectType >= nLow && first.nDefectType <= nHigh;
        if (first.nDefectType == DefectType_Removed || bInside == bOutside)
            continue;
        for (int j = i + 1; j < list.nCount; ++j)
        {
            const CDefectPair& second = list.pPairs[j];
            if (second.nDefectType != first.nDefectType || list.pLinked[j] != 0)
                continue;
            const SOffset offset = GetOffset(first.ptDefect, second.ptDefect);
            if (EndsWalk(list.eWindow, offset))
                break;
            if (IsInWindow(list.eWindow, offset))
                list.Link(i, j);
        }
    }
}

/// Finds, in a list of coordinates from which entries are taken out, the first entry at or behind a place that is
/// greater than a limit: a binary tree of maxima, the list in its leaves.
class CFirstGreater
{
public:
    /// Words of memory for nCount entries.
    static std::size_t GetWords(int nCount) { return 2 * std::bit_ceil(static_cast<std::size_t>(nCount)); }

    CFirstGreater(int* pWords, int nCount)
        : m_pMax(pWords), m_nCount(nCount), m_nLeaves(std::bit_ceil(static_cast<unsigned>(nCount)))
    {
        std::fill(m_pMax + m_nLeaves + m_nCount, m_pMax + 2 * m_nLeaves, nOut);
    }
    int Get(int nEntry) const { return m_pMax[m_nLeaves + static_cast<unsigned>(nEntry)]; }
    void Set(int nEntry, int nValue) { m_pMax[m_nLeaves + static_cast<unsigned>(nEntry)] = nValue; }
    /// To be called when all entries are set.
    void Finish()
    {
        for (unsigned nNode = m_nLeaves - 1; nNode > 0; --nNode)
            m_pMax[nNode] = std::max(m_pMax[2 * nNode], m_pMax[2 * nNode + 1]);
    }
    void TakeOut(int nEntry)
    {
        unsigned nNode = m_nLeaves + static_cast<unsigned>(nEntry);
        m_pMax[nNode] = nOut;
        for (nNode /= 2; nNode > 0; nNode /= 2)
        {
            const int nMax = std::max(m_pMax[2 * nNode], m_pMax[2 * nNode + 1]);
            if (m_pMax[nNode] == nMax)
                return;
            m_pMax[nNode] = nMax;
        }
    }
    /// The entry, or the number of entries when there is none. nLimit is above the lowest int.
    int Find(int nFrom, std::int64_t nLimit) const
    {
        if (nFrom >= m_nCount)
            return m_nCount;
        unsigned nNode = m_nLeaves + static_cast<unsigned>(nFrom);
        while (m_pMax[nNode] <= nLimit)
        {
            while ((nNode & 1U) != 0)
                nNode /= 2;
            if (nNode == 0)
                return m_nCount;
            ++nNode;
        }
        while (nNode < m_nLeaves)
        {
            nNode *= 2;
            if (m_pMax[nNode] <= nLimit)
                ++nNode;
        }
        return static_cast<int>(nNode - m_nLeaves);
    }

private:
    static constexpr int nOut = std::numeric_limits<int>::min(); ///< below every limit asked for

    int* m_pMax;
    int m_nCount;
    unsigned m_nLeaves;
};

/// The walk over the pairs of one type. Those that nobody has claimed yet stand in buckets by place, in list order: by
/// cell for the vertical window, by column for the horizontal one. A claimed pair leaves its bucket.
class CGroupIndex
{
public:
    /// Members are the list's pairs of the type, in list order. Answers false when memory cannot be had.
    static bool Group(const SPairList& list, int nType, int nMembers)
    {
        const std::size_t nBuckets = std::bit_ceil(static_cast<std::size_t>(nMembers) * 2);
        const auto nCount = static_cast<std::size_t>(nMembers);
        int* pWords = GetThreadScratch(3 * nCount + nBuckets + CFirstGreater::GetWords(nMembers));
        if (pWords == nullptr)
            return false;
        CGroupIndex index(list, nType, nMembers, pWords, nBuckets);
        for (int i = 0; i < nMembers; ++i)
            index.Claim(i);
        return true;
    }

private:
    static constexpr int nCellShift = 3; ///< cells of 8 by 8: the vertical window touches four at most

    CGroupIndex(const SPairList& list, int nType, int nMembers, int* pWords, std::size_t nBuckets)
        : m_list(list), m_nBucketMask(nBuckets - 1), m_pMember(pWords), m_pNext(m_pMember + nMembers),
          m_pAcross(m_pNext + nMembers), m_pHead(m_pAcross + nMembers), m_ends(m_pHead + nBuckets, nMembers)
    {
        int nMember = 0;
        for (int i = 0; i < list.nCount; ++i)
        {
            if (list.pPairs[i].nDefectType == nType)
                m_pMember[nMember++] = i;
        }
        std::fill_n(m_pHead, nBuckets, -1);
        for (int i = nMembers - 1; i >= 0; --i)
        {
            const CPoint& pt = list.pPairs[m_pMember[i]].ptDefect;
            int& nHead = m_pHead[IsVertical() ? GetBucket(pt.x >> nCellShift, pt.y >> nCellShift) : GetBucket(0, pt.x)];
            m_pNext[i] = nHead;
            nHead = i;
            m_ends.Set(i, IsVertical() ? pt.x : pt.y);
            m_pAcross[i] = IsVertical() ? pt.y : pt.x;
        }
        m_ends.Finish();
    }

    void Claim(int nFinder)
    {
        const CPoint& pt = m_list.pPairs[m_pMember[nFinder]].ptDefect;
        const std::int64_t x = pt.x;
        const std::int64_t y = pt.y;
        if (!IsVertical())
        {
            const int nEnd = m_ends.Find(nFinder + 1, y + 1);
            for (std::int64_t nColumn = x - 1; nColumn <= x + 1; ++nColumn)
                ClaimInBucket(nFinder, pt, GetBucket(0, nColumn), nEnd);
            return;
        }
        int nEnd = nUnknownEnd;
        for (std::int64_t nCellX = (x - nVertReach) >> nCellShift; nCellX <= (x + nVertReach) >> nCellShift; ++nCellX)
        {
            for (std::int64_t nCellY = (y - nVertReach) >> nCellShift; nCellY <= (y + nVertReach) >> nCellShift;
                 ++nCellY)
                nEnd = ClaimInBucket(nFinder, pt, GetBucket(nCellX, nCellY), nEnd);
        }
    }

    // nEnd is the member at which the finder's walk ends, as far as it is known; answers the same.
    int ClaimInBucket(int nFinder, const CPoint& pt, std::size_t nBucket, int nEnd)
    {
        int* pLink = &m_pHead[nBucket];
        while (*pLink >= 0 && *pLink <= nFinder)
            *pLink = m_pNext[*pLink]; // had its own turn: no later pair can claim it
        while (*pLink >= 0 && (nEnd == nUnknownEnd || *pLink < nEnd))
        {
            const int nFound = *pLink;
            if (!IsInWindow(m_list.eWindow, GetOffset(pt, GetPlace(nFound))))
            {
                pLink = &m_pNext[nFound];
                continue;
            }
            // Few pairs of a vertical list have a neighbour: the end of the walk is sought for those alone.
            if (nEnd == nUnknownEnd)
                nEnd = m_ends.Find(nFinder + 1, pt.x + nLookAhead);
            if (nFound >= nEnd)
                break;
            m_list.Link(m_pMember[nFinder], m_pMember[nFound]);
            m_ends.TakeOut(nFound);
            *pLink = m_pNext[nFound];
        }
        return nEnd;
    }

    bool IsVertical() const { return m_list.eWindow == EGroupWindow::Vertical; }
    // Of a member that nobody has claimed.
    CPoint GetPlace(int nMember) const
    {
        return IsVertical() ? CPoint(m_ends.Get(nMember), m_pAcross[nMember])
                            : CPoint(m_pAcross[nMember], m_ends.Get(nMember));
    }
    // Places that follow each other in an ordered list fall into neighbouring buckets: down a strip of columns in the
    // vertical list, along a row in the horizontal one.
    std::size_t GetBucket(std::int64_t nOuter, std::int64_t nInner) const
    {
        return (static_cast<std::size_t>(nInner) + static_cast<std::size_t>(nOuter) * 0x9E3779B1U) & m_nBucketMask;
    }

    static constexpr int nUnknownEnd = -1;

    const SPairList& m_list;
    std::size_t m_nBucketMask;
    int* m_pMember;       ///< member to list index
    int* m_pNext;         ///< the next member of the same bucket, -1 at the end
    int* m_pAcross;       ///< the coordinate that does not end walks
    int* m_pHead;         ///< the first member of each bucket
    CFirstGreater m_ends; ///< coordinate that ends walks, of the members nobody has claimed
};

} // namespace

void GroupPairs(EGroupWindow eWindow, const CDefectPair* pPairs, int nCount, int* pLabel, int* pLinked)
{
    const SPairList list{eWindow, pPairs, nCount, pLabel, pLinked};
    if (nCount <= nPlainLimit)
    {
        GroupPlainly(list, 1, 0, true);
        return;
    }
    int nMembers[nIndexedTypes] = {};
    bool bOthers = false;
    for (int i = 0; i < nCount; ++i)
    {
        const int nType = pPairs[i].nDefectType;
        if (nType >= 0 && nType < nIndexedTypes)
            ++nMembers[nType];
        else
            bOthers = bOthers || nType != DefectType_Removed;
    }
    for (int nType = 0; nType < nIndexedTypes; ++nType)
    {
        if (nMembers[nType] > 1 && !CGroupIndex::Group(list, nType, nMembers[nType]))
            GroupPlainly(list, nType, nType, false);
    }
    if (bOthers)
        GroupPlainly(list, 0, nIndexedTypes - 1, true);
}

} // namespace narvo
