// SPDX-License-Identifier: MIT
// How the trapezium kernels judge windows and pair records: the rule of their scans (scan.h). Records
// take position, polarity and peak; their other fields are left unchanged.
#pragma once

#include <algorithm>
#include <cstdint>

#include "narvoassem/fast/find/find_sums.h"
#include "narvoassem/fast/scan/hit_rules.h"
#include "narvoassem/fast/trapezium/trapezium_call.h"

namespace narvo::engine
{

template <bool kHorizontal>
class CTrapeziumRule : public CSumHits<kHorizontal ? SumsVariant::Plain : SumsVariant::PlainWitness, 4, false>
{
public:
    static constexpr CPairingTraits kPairing = {.eAxis = kHorizontal ? PairAxis::X : PairAxis::Y,
                                                .bLastBandFirst = !kHorizontal,
                                                .bPassUnusable = kHorizontal,
                                                .bAnyAcross = kHorizontal};
    static constexpr bool kFirstGroup = kHorizontal;
    static constexpr CPairFields kFields = {.bValues = false, .bZone = false, .bOwnPlace = true};

    /// Vertical: the first record goes to index 0 for any count.
    explicit CTrapeziumRule(const CTrapeziumCall& call)
        : CTrapeziumRule::CSumHits{{call.hits, call.pairs, kHorizontal ? call.pairs.nCount : 0, CDeadZones(nullptr),
                                    nullptr}},
          m_call(call)
    {
        // Horizontal: a row ends where fewer than 16 places are left.
        if (kHorizontal)
            this->hits.nSize -= 2 * kGroupWidth;
    }

    void SetUpRow(CSumsRow& row) const
    {
        row.nLimit = static_cast<std::uint16_t>(m_call.nGrayLimit * 64);
        // No difference leaves the 16 bits, so neither need the threshold.
        row.nBase = static_cast<std::uint16_t>(std::clamp<std::int64_t>(m_call.nThreshold16, -32768, 32767));
    }

    bool KeepsSingle(std::int64_t /*nHit*/) const { return m_call.bKeepSingle == 1; }

private:
    const CTrapeziumCall& m_call;
};

/// Place of a slanted side nStep steps from its start: a 32-bit product over the length, toward zero.
inline std::int64_t SideAt(std::int64_t nStep, std::int64_t nLength, std::int64_t nStart, std::int64_t nEnd)
{
    const auto nProduct =
        static_cast<std::int32_t>(static_cast<std::uint32_t>(nStep) * static_cast<std::uint32_t>(nEnd - nStart));
    return nProduct / nLength + nStart;
}

/// Used in place of a shortest row or strip below 16.
constexpr std::int64_t ShortestUseful(std::int64_t nShortest)
{
    return nShortest < 16 ? 48 : nShortest;
}

} // namespace narvo::engine
