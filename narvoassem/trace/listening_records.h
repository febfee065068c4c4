// SPDX-License-Identifier: MIT
// The pairing of one chain with what it did to each hit.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "narvoassem/fast/pair/band_pairing.h"
#include "narvoassem/trace/kernel_trace.h"

namespace narvo::engine
{

/// Passes every question of the pairing on to the kernel's records and notes the answers for the hit whose turn it is.
/// Links of a chain lie one hop apart, so the first hit of a pair is that of the link before.
template <class TRecords>
class CListeningRecords
{
public:
    /// owners: for each hit its link, or -1 for hits of other chains.
    CListeningRecords(TRecords& records, std::vector<CChainLink>& links, const std::vector<int>& owners)
        : m_records(records), m_links(links), m_owners(owners)
    {
    }

    bool IsFull() const { return m_records.IsFull(); }

    bool KeepsSingle(std::int64_t nHit) const
    {
        const bool bKeeps = m_records.KeepsSingle(nHit);
        if (CChainLink* pLink = Link(nHit); pLink != nullptr && !bKeeps)
            pLink->eFate = HitFate::SingleUnkept;
        return bKeeps;
    }

    bool Write(const CPairCandidate& candidate)
    {
        const std::int64_t nBefore = m_records.Count();
        const bool bSettled = m_records.Write(candidate);
        const bool bWritten = m_records.Count() > nBefore;
        CChainLink* const pLink = Link(candidate.nHit);
        if (pLink == nullptr)
            return bSettled;
        if (candidate.ePair != DefectPair_Paired)
            pLink->eFate = bWritten ? HitFate::Single : HitFate::SingleRefused;
        else
        {
            (pLink - 1)->eFate = bWritten ? HitFate::Paired : HitFate::PairRefused;
            if (bSettled)
                pLink->eFate = HitFate::Consumed;
        }
        return bSettled;
    }

private:
    CChainLink* Link(std::int64_t nHit) const
    {
        const int nOwner = m_owners[static_cast<std::size_t>(nHit)];
        return nOwner >= 0 ? &m_links[static_cast<std::size_t>(nOwner)] : nullptr;
    }

    TRecords& m_records;
    std::vector<CChainLink>& m_links;
    const std::vector<int>& m_owners;
};

/// Pairs hits in the kernel's order.
template <CPairingTraits kPairing, class TRecords>
void PairChain(std::vector<CChainLink>& links, const CHitArrays& hits, const std::vector<int>& owners,
               const CBands& bands, TRecords& records)
{
    for (CChainLink& link : links)
        if (link.pixel.bHit)
            link.eFate = link.ePos == DefectPos_Middle ? HitFate::NoPartner : HitFate::Blocked;
    PairHits<kPairing>({&hits, static_cast<std::int64_t>(owners.size())}, bands,
                       CListeningRecords<TRecords>(records, links, owners));
    // A middle hit that gave nothing although there is a hit one hop on was blocked by it.
    for (std::size_t n = 0; n + 1 < links.size(); ++n)
        if (links[n].eFate == HitFate::NoPartner && links[n + 1].pixel.bHit)
            links[n].eFate = HitFate::Blocked;
}

} // namespace narvo::engine
