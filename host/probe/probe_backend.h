// SPDX-License-Identifier: MIT
// A kernel behind one face: what a probe asks of it, and the pairing of one chain with an ear to its answers. For the
// files of this folder alone; what others may ask is kernel_probe.h.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "host/probe/kernel_probe.h"
#include "narvoassem/fast/pair/band_pairing.h"
#include "narvoassem/pairstorage.h"

namespace narvo
{

/// Listens to the pairing of one chain: passes every question on to the kernel's records and notes the answers for the
/// hit whose turn it is. Links of a chain lie one hop apart, so the first hit of a pair is that of the link before.
template <class TRecords>
class ListeningRecords
{
public:
    /// For each hit its link, or -1 for hits of other chains.
    ListeningRecords(TRecords& records, std::vector<ChainLink>& links, const std::vector<int>& owners)
        : m_records(records), m_links(links), m_owners(owners)
    {
    }

    bool IsFull() const { return m_records.IsFull(); }

    bool KeepsSingle(std::int64_t hit) const
    {
        const bool keeps = m_records.KeepsSingle(hit);
        if (ChainLink* link = Link(hit); link != nullptr && !keeps)
            link->fate = HitFate::SingleUnkept;
        return keeps;
    }

    bool Write(const engine::CPairCandidate& candidate)
    {
        const std::int64_t before = m_records.Count();
        const bool settled = m_records.Write(candidate);
        const bool written = m_records.Count() > before;
        const bool pair = candidate.ePair == DefectPair_Paired;
        ChainLink* const carrier = Link(candidate.nHit);
        if (carrier == nullptr)
            return settled;
        ChainLink& turn = pair ? *(carrier - 1) : *carrier;
        if (pair)
            turn.fate = written ? HitFate::Paired : HitFate::PairRefused;
        else
            turn.fate = written ? HitFate::Single : HitFate::SingleRefused;
        if (written)
            turn.record = static_cast<int>(before);
        if (pair && settled)
            carrier->fate = HitFate::Consumed;
        return settled;
    }

private:
    ChainLink* Link(std::int64_t hit) const
    {
        const int owner = m_owners[static_cast<std::size_t>(hit)];
        return owner >= 0 ? &m_links[static_cast<std::size_t>(owner)] : nullptr;
    }

    TRecords& m_records;
    std::vector<ChainLink>& m_links;
    const std::vector<int>& m_owners;
};

/// A kernel behind one face.
class KernelProbe::Backend
{
public:
    /// @throws HostError without memory for the hits of one column
    Backend(const CConvParam& param, bool horizontal);
    virtual ~Backend() = default;
    Backend(const Backend&) = delete;
    Backend& operator=(const Backend&) = delete;

    virtual int Units() const = 0;
    virtual engine::CBands Bands() const = 0;
    virtual bool Covers(int x, int y) const = 0;
    virtual ProbedPixel Compare(int x, int y, bool zones) const = 0;
    virtual ProbedChain Pair(int x, int y) const = 0;

protected:
    /// The chain of (x, y) without its pairing.
    ProbedChain MakeChain(int x, int y) const;

    virtual bool LastBandFirst() const = 0;

    /// Runs the pairing over hits in the kernel's order. owners: for each its link, or -1 for hits of other chains.
    template <engine::CPairingTraits kPairing, class TRecords>
    void RunPairing(ProbedChain& chain, const engine::CHitArrays& hits, const std::vector<int>& owners,
                    TRecords& records) const
    {
        for (ChainLink& link : chain.links)
            if (link.pixel.hit)
                link.fate = link.band == DefectPos_Middle ? HitFate::NoPartner : HitFate::Blocked;
        engine::PairHits<kPairing>({&hits, static_cast<std::int64_t>(owners.size())}, Bands(),
                                   ListeningRecords<TRecords>(records, chain.links, owners));
        // A middle hit that gave nothing although there is a hit one hop on was blocked by it.
        for (std::size_t i = 0; i + 1 < chain.links.size(); ++i)
            if (chain.links[i].fate == HitFate::NoPartner && chain.links[i + 1].pixel.hit)
                chain.links[i].fate = HitFate::Blocked;
        chain.records.assign(m_store.pPair, m_store.pPair + records.Count());
    }

    mutable CPairStorage m_store;
    mutable int m_endLine = 0;
    bool m_horizontal;
};

using BackendPointer = std::unique_ptr<KernelProbe::Backend>;

/// The kernel of a family that the block selects, and its name in words; null where it selects none.
BackendPointer MakeZoneBackend(const CConvParam& param, bool asg, std::string& name);
BackendPointer MakePixelBackend(const CConvParam& param, std::string& name);
BackendPointer MakeFloatBackend(const CConvParam& param, std::string& name);

} // namespace narvo
