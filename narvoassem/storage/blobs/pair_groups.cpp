// SPDX-License-Identifier: MIT
// The grouping pass: the plain walk, and for long lists the same walk over an index. Types are never grouped together,
// so each is handled by itself.
#include "narvoassem/storage/blobs/pair_groups.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <limits>
#include <new>

#include "narvoassem/storage/blobs/first_greater.h"
#include "narvoassem/storage/blobs/place_counts.h"
#include "narvoassem/storage/blobs/thread_scratch.h"

namespace narvo::engine
{

namespace
{

constexpr int nPlainLimit = 256;        ///< up to this many pairs the plain walk is taken
constexpr int nIndexedTypes = 4;        ///< types 0 .. 3; hosts may write others, which are walked plainly
constexpr std::int64_t nLookAhead = 16; ///< columns of the vertical window's look-ahead
constexpr std::int64_t nVertReach = 3;
static_assert(nVertReach <= CPlaceCounts::nLargestReach);

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

/// The pairs of a list that others of any type are near, or may be. The rest are lone: they claim nothing and are not
/// claimed, but end the walks of others.
struct SCrowdedPairs
{
    int* pPairs; ///< list indices, ascending
    int nCount;

    /// Words of memory that finding them takes, besides their own.
    static std::size_t GetWords(int nCount) { return CPlaceCounts::GetWords(nCount); }

    SCrowdedPairs(const SPairList& list, int* pFound, int* pWords) : pPairs(pFound), nCount(0)
    {
        const bool bHorizontal = list.eWindow == EGroupWindow::Horizontal;
        CPlaceCounts counts(pWords, list.nCount);
        bool bOrdered = true; // out of order, a horizontal walk also claims pairs of rows far above
        int nLastRow = std::numeric_limits<int>::min();
        for (int i = 0; i < list.nCount; ++i)
        {
            if (list.pPairs[i].nDefectType == DefectType_Removed)
                continue;
            const CPoint& pt = list.pPairs[i].ptDefect;
            counts.Add(pt);
            bOrdered = bOrdered && nLastRow <= pt.y;
            nLastRow = pt.y;
        }
        const bool bAll = bHorizontal && !bOrdered;
        for (int i = 0; i < list.nCount; ++i)
        {
            pPairs[nCount] = i;
            nCount += static_cast<int>(bAll || !counts.IsLone(list.pPairs[i].ptDefect, nVertReach));
        }
    }
};

/// The walk over the pairs of one type. Unclaimed crowded pairs are in buckets by place, in list order: by
/// cell for the vertical window, by column for the horizontal one. A claimed pair leaves its bucket.
template <EGroupWindow kWindow>
class CGroupIndex
{
public:
    /// Words of memory for a list of nCount pairs.
    static std::size_t GetWords(int nCount)
    {
        return static_cast<std::size_t>(nCount) * nMemberWords + GetBuckets(nCount) + CFirstGreater::GetWords(nCount);
    }
    static void Group(const SPairList& list, const SCrowdedPairs& crowded, int nType, int* pWords)
    {
        CGroupIndex index(list, crowded, nType, pWords);
        if (index.m_nMembers < 2)
            return; // nothing is indexed
        for (int i = 0; i < index.m_nMembers; ++i)
            index.Claim(i);
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

    static std::size_t GetBuckets(int nMembers) { return std::bit_ceil(static_cast<std::size_t>(nMembers) * 2); }

    CGroupIndex(const SPairList& list, const SCrowdedPairs& crowded, int nType, int* pWords)
        : m_list(list), m_pMember(reinterpret_cast<SMember*>(pWords)),
          m_ends(pWords + static_cast<std::size_t>(list.nCount) * nMemberWords, list.nCount),
          m_pHead(pWords + static_cast<std::size_t>(list.nCount) * nMemberWords + CFirstGreater::GetWords(list.nCount))
    {
        for (int i = 0; i < crowded.nCount; ++i)
        {
            const CDefectPair& pair = list.pPairs[crowded.pPairs[i]];
            if (pair.nDefectType == nType)
                new (&m_pMember[m_nMembers++]) SMember{pair.ptDefect, crowded.pPairs[i], -1};
        }
        if (m_nMembers < 2)
            return;
        const std::size_t nBuckets = GetBuckets(m_nMembers);
        m_nBucketMask = nBuckets - 1;
        std::fill_n(m_pHead, nBuckets, -1);
        for (int i = m_nMembers - 1; i >= 0; --i)
        {
            const CPoint& pt = m_pMember[i].pt;
            int& nHead = m_pHead[kVertical ? GetBucket(pt.x >> nCellShiftX, pt.y >> nCellShiftY) : GetBucket(0, pt.x)];
            m_pMember[i].nNext = nHead;
            nHead = i;
        }
        for (int i = 0; i < list.nCount; ++i)
        {
            const CPoint& pt = list.pPairs[i].ptDefect;
            m_ends.Set(i, list.pPairs[i].nDefectType == nType ? (kVertical ? pt.x : pt.y) : CFirstGreater::nOut);
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
        std::int64_t nLimit; ///< the walk ends at the first unclaimed pair whose ending coordinate is beyond
        int nSafeEnd;        ///< the walk reaches at least this pair of the list
        int nEnd;            ///< the pair at which it ends, once that is known
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
            if (member.nPair >= walk.nSafeEnd)
            {
                if (walk.nEnd == nUnknownEnd)
                    walk.nEnd = m_ends.Find(m_pMember[walk.nFinder].nPair + 1, walk.nLimit);
                if (member.nPair >= walk.nEnd)
                    return; // so are all after it
            }
            m_list.Link(m_pMember[walk.nFinder].nPair, member.nPair);
            m_ends.TakeOut(member.nPair);
            *pLink = member.nNext;
        }
    }

    /// How far a walk reaches at least: as far as the first pair reached from the finder's strip (vertical) or row
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
            m_nSafeEnd = m_ends.Find(m_pMember[nFinder].nPair + 1, nLeast);
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
    SMember* m_pMember;
    int m_nMembers = 0;
    CFirstGreater m_ends; ///< coordinate that ends walks, of the unclaimed pairs, lone ones included
    int* m_pHead;         ///< the first member of each bucket
    std::size_t m_nBucketMask = 0;
    int m_nSafeGroup = 0; ///< strip or row of the last finder
    int m_nSafeEnd = nUnknownEnd;
};

template <EGroupWindow kWindow>
bool GroupIndexed(const SPairList& list)
{
    const std::size_t nWords =
        std::max(SCrowdedPairs::GetWords(list.nCount), CGroupIndex<kWindow>::GetWords(list.nCount));
    int* pWords = GetThreadScratch(static_cast<std::size_t>(list.nCount) + nWords);
    if (pWords == nullptr)
        return false;
    const SCrowdedPairs crowded(list, pWords, pWords + list.nCount);
    for (int nType = 0; nType < nIndexedTypes; ++nType)
        CGroupIndex<kWindow>::Group(list, crowded, nType, pWords + list.nCount);
    const bool bOthers = std::any_of(crowded.pPairs, crowded.pPairs + crowded.nCount,
                                     [&list](int nPair)
                                     {
                                         const int nType = list.pPairs[nPair].nDefectType;
                                         return nType != DefectType_Removed && (nType < 0 || nType >= nIndexedTypes);
                                     });
    if (bOthers)
        GroupPlainly(list, 0, nIndexedTypes - 1, true);
    return true;
}

} // namespace

void GroupPairs(EGroupWindow eWindow, const CDefectPair* pPairs, int nCount, int* pLabel, int* pLinked)
{
    const SPairList list{eWindow, pPairs, nCount, pLabel, pLinked};
    const auto isIndexed = [&list]
    {
        return list.eWindow == EGroupWindow::Vertical ? GroupIndexed<EGroupWindow::Vertical>(list)
                                                      : GroupIndexed<EGroupWindow::Horizontal>(list);
    };
    if (nCount <= nPlainLimit || !isIndexed())
        GroupPlainly(list, 1, 0, true);
}

} // namespace narvo::engine
