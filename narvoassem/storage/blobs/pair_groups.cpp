// SPDX-License-Identifier: MIT
// The grouping pass: the plain walk, and for long lists the same walk over an index. Types are never grouped together,
// so each is handled by itself.
#include "narvoassem/storage/blobs/pair_groups.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <limits>
#include <new>

#include "narvoassem/storage/blobs/thread_scratch.h"

namespace narvo::engine
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
    const auto isWithin = [](std::int64_t nOffset, std::int64_t nReach)
    { return static_cast<std::uint64_t>(nOffset + nReach) <= static_cast<std::uint64_t>(2 * nReach); };
    if (eWindow == EGroupWindow::Horizontal)
        return isWithin(offset.x, 1);
    return isWithin(offset.x, nVertReach) && isWithin(offset.y, nVertReach);
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

/// Finds, in a list of coordinates from which entries are removed, the first entry at or after a place that is greater
/// than a limit: a binary tree of maxima, the list in its leaves.
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
    /// The entry, or the number of entries if there is none. nLimit is above the lowest int.
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

/// The walk over the pairs of one type. Unclaimed pairs are in buckets by place, in list order: by
/// cell for the vertical window, by column for the horizontal one. A claimed pair leaves its bucket.
template <EGroupWindow kWindow>
class CGroupIndex
{
public:
    /// Members are the list's pairs of the type, in list order. @return false when memory ran out
    static bool Group(const SPairList& list, int nType, int nMembers)
    {
        const std::size_t nBuckets = std::bit_ceil(static_cast<std::size_t>(nMembers) * 2);
        const auto nCount = static_cast<std::size_t>(nMembers);
        int* pWords = GetThreadScratch(nCount * nMemberWords + nBuckets + CFirstGreater::GetWords(nMembers));
        if (pWords == nullptr)
            return false;
        CGroupIndex index(list, nType, nMembers, pWords, nBuckets);
        for (int i = 0; i < nMembers; ++i)
            index.Claim(i);
        return true;
    }

private:
    static constexpr bool kVertical = kWindow == EGroupWindow::Vertical;
    static constexpr int nCellShiftX = 3; ///< cells of 8 by 2 pixels: smaller cost lookups, larger cost long chains
    static constexpr int nCellShiftY = 1;
    static constexpr int nStripShift = 4; ///< strips of 16 columns, in which vertical lists are ordered

    struct SMember
    {
        CPoint pt;
        int nPair; ///< list index
        int nNext; ///< the next member of the same bucket, -1 at the end
    };
    static constexpr std::size_t nMemberWords = sizeof(SMember) / sizeof(int);

    CGroupIndex(const SPairList& list, int nType, int nMembers, int* pWords, std::size_t nBuckets)
        : m_list(list), m_nBucketMask(nBuckets - 1), m_pMember(reinterpret_cast<SMember*>(pWords)),
          m_pHead(pWords + static_cast<std::size_t>(nMembers) * nMemberWords), m_ends(m_pHead + nBuckets, nMembers)
    {
        int nMember = 0;
        for (int i = 0; i < list.nCount; ++i)
        {
            if (list.pPairs[i].nDefectType == nType)
                new (&m_pMember[nMember++]) SMember{list.pPairs[i].ptDefect, i, -1};
        }
        std::fill_n(m_pHead, nBuckets, -1);
        for (int i = nMembers - 1; i >= 0; --i)
        {
            const CPoint& pt = m_pMember[i].pt;
            int& nHead = m_pHead[kVertical ? GetBucket(pt.x >> nCellShiftX, pt.y >> nCellShiftY) : GetBucket(0, pt.x)];
            m_pMember[i].nNext = nHead;
            nHead = i;
            m_ends.Set(i, kVertical ? pt.x : pt.y);
        }
        m_ends.Finish();
    }

    void Claim(int nFinder)
    {
        const CPoint& pt = m_pMember[nFinder].pt;
        const std::int64_t x = pt.x;
        const std::int64_t y = pt.y;
        SWalk walk{nFinder, x, y, kVertical ? x + nLookAhead : y + 1, GetSafeEnd(nFinder), nUnknownEnd};
        if constexpr (kVertical)
        {
            for (std::int64_t nCellX = (x - nVertReach) >> nCellShiftX; nCellX <= (x + nVertReach) >> nCellShiftX;
                 ++nCellX)
                for (std::int64_t nCellY = (y - nVertReach) >> nCellShiftY; nCellY <= (y + nVertReach) >> nCellShiftY;
                     ++nCellY)
                    ClaimInBucket(walk, GetBucket(nCellX, nCellY));
        }
        else
        {
            for (std::int64_t nColumn = x - 1; nColumn <= x + 1; ++nColumn)
                ClaimInBucket(walk, GetBucket(0, nColumn));
        }
    }

    /// One finder's walk.
    struct SWalk
    {
        int nFinder;
        std::int64_t x;
        std::int64_t y;
        std::int64_t nLimit; ///< the walk ends at the first unclaimed member whose ending coordinate is beyond
        int nSafeEnd;        ///< the walk reaches at least this far
        int nEnd;            ///< the member at which it ends, once that is known
    };

    void ClaimInBucket(SWalk& walk, std::size_t nBucket)
    {
        int* pLink = &m_pHead[nBucket];
        while (*pLink >= 0 && *pLink <= walk.nFinder)
            *pLink = m_pMember[*pLink].nNext; // already processed: no later pair can claim it
        while (*pLink >= 0)
        {
            const int nFound = *pLink;
            SMember& member = m_pMember[nFound];
            if (!IsInWindow(kWindow, {member.pt.x - walk.x, member.pt.y - walk.y}))
            {
                pLink = &member.nNext;
                continue;
            }
            if (nFound >= walk.nSafeEnd)
            {
                if (walk.nEnd == nUnknownEnd)
                    walk.nEnd = m_ends.Find(walk.nFinder + 1, walk.nLimit);
                if (nFound >= walk.nEnd)
                    return; // so are all after it
            }
            m_list.Link(m_pMember[walk.nFinder].nPair, member.nPair);
            m_ends.TakeOut(nFound);
            *pLink = member.nNext;
        }
    }

    /// How far a walk reaches at least: as far as the first member reached from the finder's strip (vertical) or row
    /// on whose coordinate ends the walk of any pair of that strip or row. Asked once for each: pairs that are claimed
    /// meanwhile only make walks longer.
    int GetSafeEnd(int nFinder)
    {
        const CPoint& pt = m_pMember[nFinder].pt;
        const int nGroup = kVertical ? pt.x >> nStripShift : pt.y;
        if (nGroup != m_nSafeGroup || m_nSafeEnd == nUnknownEnd)
        {
            const std::int64_t nLeast =
                kVertical ? (std::int64_t{nGroup} << nStripShift) + nLookAhead : std::int64_t{nGroup} + 1;
            m_nSafeGroup = nGroup;
            m_nSafeEnd = m_ends.Find(nFinder + 1, nLeast);
        }
        return m_nSafeEnd;
    }

    // Successive places of an ordered list fall into neighbouring buckets: down a strip of columns in the
    // vertical list, along a row in the horizontal one.
    std::size_t GetBucket(std::int64_t nOuter, std::int64_t nInner) const
    {
        return (static_cast<std::size_t>(nInner) + static_cast<std::size_t>(nOuter) * 0x9E3779B1U) & m_nBucketMask;
    }

    static constexpr int nUnknownEnd = -1;

    const SPairList& m_list;
    std::size_t m_nBucketMask;
    SMember* m_pMember;
    int* m_pHead;         ///< the first member of each bucket
    CFirstGreater m_ends; ///< coordinate that ends walks, of the unclaimed members
    int m_nSafeGroup = 0; ///< strip or row of the last finder
    int m_nSafeEnd = nUnknownEnd;
};

template <EGroupWindow kWindow>
void GroupIndexed(const SPairList& list, const int* pMembers)
{
    for (int nType = 0; nType < nIndexedTypes; ++nType)
    {
        if (pMembers[nType] > 1 && !CGroupIndex<kWindow>::Group(list, nType, pMembers[nType]))
            GroupPlainly(list, nType, nType, false);
    }
}

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
    if (eWindow == EGroupWindow::Vertical)
        GroupIndexed<EGroupWindow::Vertical>(list, nMembers);
    else
        GroupIndexed<EGroupWindow::Horizontal>(list, nMembers);
    if (bOthers)
        GroupPlainly(list, 0, nIndexedTypes - 1, true);
}

} // namespace narvo::engine
