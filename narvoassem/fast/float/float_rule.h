// SPDX-License-Identifier: MIT
// How a float kernel judges windows and pair records: the rule of its scan (scan.h). Hits hold
// values in the scale of their window, records grey levels.
#pragma once

#include <cstdint>
#include <cstdlib>

#include "narvoassem/base/wrap_int.h"
#include "narvoassem/fast/find/find_sums.h"
#include "narvoassem/fast/float/float_traits.h"
#include "narvoassem/fast/scan/hit_rules.h"
#include "narvoassem/pairstorage.h"

namespace narvo::engine
{

/// The second threshold set of the members: the parameters' base is in grey levels, that of the first set in quarters.
inline CThresholdSet SecondFloatSet(const CFloatCall& call)
{
    if (call.pParam == nullptr || call.pParam->nBlackFilterGray < 1)
        return call.first;
    return {std::int64_t{call.pParam->nBlackFilterGray} * 4, call.pParam->nBlackFilterGain};
}

template <CFloatTraits kTraits>
class CFloatRule : public CSumHits<kTraits.eFind, kTraits.Area(), true>
{
    using CHits = CSumHits<kTraits.eFind, kTraits.Area(), true>;

public:
    static constexpr CPairingTraits kPairing = {.eAxis = kTraits.bHorizontal ? PairAxis::X : PairAxis::Y,
                                                .bLastBandFirst = false,
                                                .bPassUnusable = kTraits.bHorizontal,
                                                .bAnyAcross = kTraits.bHorizontal};
    static constexpr bool kFirstGroup = true;

    static constexpr CPairFields kFields = {.bZone = false, .nUnits = kTraits.Units()};

    explicit CFloatRule(const CFloatCall& call)
        : CHits{{call.hits, call.pairs, call.pairs.nCount, CDeadZones(kTraits.bMember ? call.pParam : nullptr),
                 call.pEndLine}},
          m_call(call), m_second(SecondFloatSet(call))
    {
    }

    void SetUpRow(CSumsRow& row) const
    {
        row.nLimit = static_cast<std::uint16_t>(m_call.nGrayLimit * kTraits.Units());
        row.nUnits = static_cast<std::uint16_t>(kTraits.Units());
        row.nBase = GrayBase(m_call.first.nBase);
        row.nGain = static_cast<std::uint16_t>(m_call.first.nGain);
        row.nBase2 = GrayBase(m_second.nBase);
        row.nGain2 = static_cast<std::uint16_t>(m_second.nGain);
    }

    bool KeepsSingle(std::int64_t /*nHit*/) const
    {
        return !kTraits.bMember || kTraits.bRegion || m_call.pParam->bKeepSingle != 0;
    }

    /// Bright records are judged by the first set, the others by the second, both in the scale of the window with the
    /// base's fraction kept; the hit takes the threshold in either case.
    PairVerdict Judge(std::int64_t nHit, CPairValues& values) const
    {
        if (!kTraits.bMember)
            return PairVerdict::Stands;
        const bool bBright = values.nSrc > values.nCmp;
        const CThresholdSet& set = bBright ? m_call.first : m_second;
        const int nProduct = WrapMul(bBright ? values.nSrc : values.nCmp, static_cast<int>(set.nGain));
        values.nThreshold = WrapAdd(nProduct / 256, WrapMul(static_cast<int>(set.nBase), 16));
        this->hits.pThreshold[nHit] = values.nThreshold;
        return std::abs(values.nSrc - values.nCmp) > values.nThreshold ? PairVerdict::Stands : PairVerdict::Refused;
    }

    void Finish(const CPairCandidate& candidate, const CPairValues& /*values*/, CDefectPair& pair) const
    {
        if (kTraits.bRegion && candidate.ePair == DefectPair_Single &&
            m_call.pStore->JumpFilter_Vert2by2(&pair, m_call.rtRegion) == 0)
            pair.nDefectType = DefectType_Removed;
    }

private:
    /// The base in grey levels, truncated: it is a threshold on the sum of the window's pixels.
    static std::uint16_t GrayBase(std::int64_t nBase)
    {
        if (kTraits.Area() == 4)
            return static_cast<std::uint16_t>(static_cast<std::uint16_t>(nBase * 16) >> 6);
        return static_cast<std::uint16_t>(nBase / kTraits.Area());
    }

    const CFloatCall& m_call;
    CThresholdSet m_second;
};

} // namespace narvo::engine
