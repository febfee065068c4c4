// SPDX-License-Identifier: MIT
// The grouping pass: the plain walk, and for long lists the same walk over an index. Types are never grouped together,
// so each is handled by itself.
#include "narvoassem/storage/blobs/pair_groups.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <new>
#include <type_traits>

#include "narvoassem/storage/blobs/column_chains.h"
#include "narvoassem/storage/blobs/first_greater.h"
#include "narvoassem/storage/blobs/place_counts.h"
#include "narvoassem/storage/blobs/place_map.h"
#include "narvoassem/storage/blobs/thread_scratch.h"

namespace narvo::engine
{

namespace
{

constexpr int nPlainLimit = 256;        ///< up to this many pairs the plain walk is taken
constexpr int nIndexedTypes = 4;        ///< types 0 .. 3; hosts may write others, which are walked plainly
constexpr std::int64_t nLookAhead = 16; ///< columns of the vertical window's look-ahead
constexpr int nVertReach = 3;
constexpr int nHoriReach = 1;
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
        return isWithin(offset.x, nHoriReach);
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
    int nOfType[nIndexedTypes + 1] = {}; ///< the last is that of all other types

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
            const CDefectPair& pair = list.pPairs[i];
            const bool bCrowded = bAll || !counts.IsLone(pair.ptDefect, nVertReach);
            pPairs[nCount] = i;
            nCount += static_cast<int>(bCrowded);
            nOfType[std::min<unsigned>(static_cast<unsigned>(pair.nDefectType), nIndexedTypes)] +=
                static_cast<int>(bCrowded && pair.nDefectType != DefectType_Removed);
        }
    }
};

/// The walk over the pairs of one type. Crowded pairs that are not claimed are found by place for the vertical window,
/// by column for the horizontal one.
template <EGroupWindow kWindow>
class CGroupIndex
{
    static constexpr bool kVertical = kWindow == EGroupWindow::Vertical;
    using CPlaces = std::conditional_t<kVertical, CPlaceMap<nVertReach>, CColumnChains<nHoriReach>>;

public:
    /// Words of memory for a list of nCount pairs. The memory begins at a multiple of 8 bytes.
    static std::size_t GetWords(int nCount)
    {
        return static_cast<std::size_t>(nCount) * nMemberWords + CPlaces::GetWords(nCount) +
               CFirstGreater::GetWords(nCount);
    }
    static void Group(const SPairList& list, const SCrowdedPairs& crowded, int nType, int* pWords)
    {
        if (crowded.nOfType[nType] < 2)
            return;
        auto* const pMembers = reinterpret_cast<SGroupMember*>(pWords);
        int nMembers = 0;
        for (int i = 0; i < crowded.nCount; ++i)
        {
            const CDefectPair& pair = list.pPairs[crowded.pPairs[i]];
            if (pair.nDefectType == nType)
                new (&pMembers[nMembers++]) SGroupMember{pair.ptDefect, crowded.pPairs[i], nNoMember};
        }
        CGroupIndex index(list, pMembers, nMembers, nType);
        for (int i = 0; i < nMembers; ++i)
            index.Claim(i);
    }

private:
    static constexpr int nStripShift = 4; ///< strips of 16 columns, in which vertical lists are ordered

    CGroupIndex(const SPairList& list, SGroupMember* pMembers, int nMembers, int nType)
        : m_list(list), m_nType(nType), m_pMember(pMembers),
          m_places(pMembers, nMembers, reinterpret_cast<int*>(pMembers + nMembers)),
          m_ends(reinterpret_cast<int*>(pMembers + nMembers) + CPlaces::GetWords(nMembers), list.nCount)
    {
    }

    /// A finder's walk: it claims what lies within its window, up to the first unclaimed pair whose ending coordinate
    /// is greater than nLimit.
    void Claim(int nFinder)
    {
        const SGroupMember finder = m_pMember[nFinder];
        const std::int64_t nLimit = kVertical ? finder.pt.x + nLookAhead : std::int64_t{finder.pt.y} + 1;
        int nSafeEnd = nUnknownEnd;
        int nEnd = nUnknownEnd;
        m_places.Show(nFinder,
                      [&](int nFound)
                      {
                          const int nPair = m_pMember[nFound].nPair;
                          if (nSafeEnd == nUnknownEnd)
                              nSafeEnd = GetSafeEnd(finder);
                          if (nPair >= nSafeEnd)
                          {
                              if (nEnd == nUnknownEnd)
                                  nEnd = FindUnclaimed(finder.nPair + 1, nLimit);
                              if (nPair >= nEnd)
                                  return EClaim::Beyond;
                          }
                          m_list.Link(finder.nPair, nPair);
                          return EClaim::Claimed;
                      });
    }

    /// How far a walk reaches at least: as far as the first pair reached from the finder's strip (vertical) or row
    /// on whose coordinate ends the walk of any pair of that strip or row. Asked once for each: pairs that are claimed
    /// meanwhile only make walks longer.
    int GetSafeEnd(const SGroupMember& finder)
    {
        const int nGroup = kVertical ? finder.pt.x >> nStripShift : finder.pt.y;
        if (nGroup != m_nSafeGroup || m_nSafeEnd == nUnknownEnd)
        {
            const std::int64_t nLeast =
                kVertical ? (std::int64_t{nGroup} << nStripShift) + nLookAhead : std::int64_t{nGroup} + 1;
            m_nSafeGroup = nGroup;
            m_nSafeEnd = FindUnclaimed(finder.nPair + 1, nLeast);
        }
        return m_nSafeEnd;
    }

    /// The first unclaimed pair from nFrom on whose ending coordinate is greater than nLimit. nFrom does not descend.
    int FindUnclaimed(int nFrom, std::int64_t nLimit)
    {
        SKnownEnd& known = m_known[nLimit & (nKnownEnds - 1)];
        // Pairs are only taken away, so none before the known end lies beyond the limit since.
        if (known.nLimit != nLimit || known.nEnd < nFrom)
            known = {nLimit, LookFor(nFrom, nLimit)};
        else if (known.nEnd < m_list.nCount && m_list.pLinked[known.nEnd] != 0)
            known.nEnd = LookFor(known.nEnd, nLimit);
        return known.nEnd;
    }

    /// The same, looked for in the list as far as it mostly is, and then in the tree.
    int LookFor(int nFrom, std::int64_t nLimit)
    {
        const int nNear = std::min(nFrom + nNearPairs, m_list.nCount);
        for (; nFrom < nNear; ++nFrom)
        {
            if (GetEnding(nFrom) > nLimit)
                return nFrom;
        }
        if (nFrom == m_list.nCount)
            return nFrom;
        if (!m_bTree)
        {
            for (int i = 0; i < m_list.nCount; ++i)
                m_ends.Set(i, GetEnding(i));
            m_ends.Finish();
            m_bTree = true;
        }
        // Claimed pairs leave the tree when they are found: most never are.
        for (;; m_ends.TakeOut(nFrom))
        {
            nFrom = m_ends.Find(nFrom, nLimit);
            if (nFrom == m_list.nCount || m_list.pLinked[nFrom] == 0)
                return nFrom;
        }
    }

    /// The coordinate of a pair that ends walks.
    int GetEnding(int nPair) const
    {
        const CDefectPair& pair = m_list.pPairs[nPair];
        if (pair.nDefectType != m_nType || m_list.pLinked[nPair] != 0)
            return CFirstGreater::nOut;
        return kVertical ? pair.ptDefect.x : pair.ptDefect.y;
    }

    static constexpr int nUnknownEnd = -1;
    static constexpr int nKnownEnds = 16; ///< the columns of a strip
    static constexpr int nNearPairs = 64; ///< looked at one by one

    /// Where walks with a limit end, as found last.
    struct SKnownEnd
    {
        std::int64_t nLimit = std::numeric_limits<std::int64_t>::min();
        int nEnd = 0;
    };

    const SPairList& m_list;
    int m_nType;
    SGroupMember* m_pMember;
    CPlaces m_places;
    CFirstGreater m_ends; ///< coordinate that ends walks, lone pairs included
    bool m_bTree = false; ///< m_ends is filled
    int m_nSafeGroup = 0; ///< strip or row of the last finder
    int m_nSafeEnd = nUnknownEnd;
    SKnownEnd m_known[nKnownEnds];
};

template <EGroupWindow kWindow>
bool GroupIndexed(const SPairList& list)
{
    const std::size_t nWords =
        std::max(SCrowdedPairs::GetWords(list.nCount), CGroupIndex<kWindow>::GetWords(list.nCount));
    int* const pWords = GetThreadScratch(nWords + static_cast<std::size_t>(list.nCount));
    if (pWords == nullptr)
        return false;
    const SCrowdedPairs crowded(list, pWords + nWords, pWords);
    for (int nType = 0; nType < nIndexedTypes; ++nType)
        CGroupIndex<kWindow>::Group(list, crowded, nType, pWords);
    if (crowded.nOfType[nIndexedTypes] > 0)
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
