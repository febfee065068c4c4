// SPDX-License-Identifier: MIT
// Members by column, in list order, for the horizontal walks of the grouping pass: these reach to rows far above where
// a list is out of order.
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>

#include "narvoassem/storage/blobs/group_member.h"

namespace narvo::engine
{

/// A bucket holds the members of its column and, by chance, of others. kReach: columns that a walk reaches on each
/// side.
template <int kReach>
class CColumnChains
{
public:
    /// Words of memory for nMembers members.
    static std::size_t GetWords(int nMembers) { return GetBuckets(nMembers); }

    CColumnChains(SGroupMember* pMembers, int nMembers, int* pWords)
        : m_pMember(pMembers), m_pHead(pWords), m_nMask(GetBuckets(nMembers) - 1)
    {
        std::fill_n(m_pHead, m_nMask + 1, nNoMember);
        for (int i = nMembers - 1; i >= 0; --i)
        {
            int& nHead = m_pHead[GetBucket(m_pMember[i].pt.x)];
            m_pMember[i].nNext = nHead;
            nHead = i;
        }
    }

    /// Calls fnClaim(nMember) for later members, not yet claimed, of the columns within reach of nFinder's, until it
    /// answers Beyond. Finders come in order: what lies before them is not shown again.
    template <class TClaim>
    void Show(int nFinder, TClaim&& fnClaim)
    {
        const std::int64_t x = m_pMember[nFinder].pt.x;
        for (std::int64_t nColumn = x - kReach; nColumn <= x + kReach; ++nColumn)
            ShowColumn(nFinder, nColumn, fnClaim);
    }

private:
    template <class TClaim>
    void ShowColumn(int nFinder, std::int64_t nColumn, TClaim& fnClaim)
    {
        int* pLink = &m_pHead[GetBucket(nColumn)];
        while (*pLink != nNoMember && *pLink <= nFinder)
            *pLink = m_pMember[*pLink].nNext;
        while (*pLink != nNoMember)
        {
            SGroupMember& member = m_pMember[*pLink];
            const EClaim eClaim = member.pt.x == nColumn ? fnClaim(*pLink) : EClaim::Left;
            if (eClaim == EClaim::Beyond)
                return;
            if (eClaim == EClaim::Claimed)
                *pLink = member.nNext;
            else
                pLink = &member.nNext;
        }
    }

    static std::size_t GetBuckets(int nMembers) { return std::bit_ceil(static_cast<std::size_t>(nMembers) * 2); }
    std::size_t GetBucket(std::int64_t nColumn) const { return static_cast<std::size_t>(nColumn) & m_nMask; }

    SGroupMember* m_pMember;
    int* m_pHead; ///< the first member of each bucket
    std::size_t m_nMask;
};

} // namespace narvo::engine
