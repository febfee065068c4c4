// SPDX-License-Identifier: MIT
// The writing of pair records, the same for all kernels; a family decides which candidates are kept.
#pragma once

#include <concepts>
#include <cstdint>
#include <utility>

#include "narvoassem/fast/call/kernel_call.h"
#include "narvoassem/fast/pair/band_pairing.h"
#include "narvoassem/fast/pair/dead_zones.h"

namespace narvo::engine
{

/// What a record holds besides its place, exchanged where it represents an unseen partner.
struct CPairValues
{
    int nType = 0;
    int nSrc = 0;
    int nCmp = 0;
    int nThreshold = 0;
};

enum class PairVerdict
{
    Stands,
    Refused, ///< the hit whose values it carries stays free
    Consumed ///< refused, but the hit is consumed
};

/// Which fields of a record a family writes; the others keep what they held.
struct CPairFields
{
    bool bPeak = true;
    bool bValues = true; ///< grey values and threshold
    bool bZone = true;
    bool bOwnPlace = false; ///< a pair is placed at its second hit, not at the target
    int nUnits = 1;         ///< units of the hits' values in a grey level
};

/// What a family adds to the writing.
// clang-format off
template <class T>
concept PairJudge = requires(const T& state, std::int64_t nHit, CPairValues& values, const CPairCandidate& candidate,
                             CDefectPair& pair)
{
    { T::kFields } -> std::convertible_to<CPairFields>;
    { state.hits } -> std::convertible_to<const CHitArrays&>;
    { state.pairs } -> std::convertible_to<const CPairSink&>;
    { state.nFirstRecord } -> std::convertible_to<std::int64_t>;
    { state.deadZones } -> std::convertible_to<const CDeadZones&>;
    { state.KeepsSingle(nHit) } -> std::same_as<bool>;          ///< a single of this hit may be written
    { state.Judge(nHit, values) } -> std::same_as<PairVerdict>; ///< may replace the threshold and the hit's peak
    state.Finish(candidate, values, pair);                      ///< final changes to a record just written
};
// clang-format on

/// The parts of it that all rules have.
struct CRuleBase
{
    CHitArrays hits;
    CPairSink pairs;
    std::int64_t nFirstRecord; ///< index of the first record written
    CDeadZones deadZones;
    int* pEndLine; ///< null where the kernel writes none

    PairVerdict Judge(std::int64_t /*nHit*/, CPairValues& /*values*/) const { return PairVerdict::Stands; }
    void Finish(const CPairCandidate& /*candidate*/, const CPairValues& /*values*/, CDefectPair& /*pair*/) const {}
};

template <PairJudge TJudge>
class CPairWriter
{
    static constexpr CPairFields kFields = TJudge::kFields;

public:
    explicit CPairWriter(const TJudge& judge)
        : m_judge(judge), m_hits(judge.hits), m_nNext(judge.nFirstRecord), m_nCount(judge.pairs.nCount)
    {
    }

    std::int64_t Count() const { return m_nCount; }
    bool IsFull() const { return m_nCount >= m_judge.pairs.nSize; }
    bool KeepsSingle(std::int64_t nHit) const { return m_judge.KeepsSingle(nHit); }

    bool Write(const CPairCandidate& candidate)
    {
        const std::int64_t nHit = candidate.nHit;
        if (m_judge.deadZones.Contains(candidate.x, candidate.y))
            return false;
        CPairValues values = Values(candidate);
        if (const PairVerdict eVerdict = m_judge.Judge(nHit, values); eVerdict != PairVerdict::Stands)
            return eVerdict == PairVerdict::Consumed;

        CDefectPair& pair = m_judge.pairs.At(m_nNext++);
        ++m_nCount;
        pair.nDefectPos = candidate.ePos;
        pair.nDefectPair = candidate.ePair;
        pair.nDefectType = values.nType;
        pair.ptDefect = CPoint(candidate.x, candidate.y);
        if (kFields.bOwnPlace && candidate.ePair == DefectPair_Paired)
            pair.ptDefect = CPoint(m_hits.pX[nHit], m_hits.pY[nHit]);
        if constexpr (kFields.bPeak)
            pair.nPeak = m_hits.pPeak[nHit];
        if constexpr (kFields.bValues)
        {
            pair.nSrcGray = values.nSrc / kFields.nUnits;
            pair.nCmpGray = values.nCmp / kFields.nUnits;
            pair.nThreshold = values.nThreshold / kFields.nUnits;
        }
        if constexpr (kFields.bZone)
            pair.nZoneIndex = m_hits.pZoneIndex[nHit];
        m_judge.Finish(candidate, values, pair);
        return true;
    }

private:
    CPairValues Values(const CPairCandidate& candidate) const
    {
        const std::int64_t nHit = candidate.nHit;
        CPairValues values;
        values.nType = candidate.bMirrored ? (m_hits.pType[nHit] + 1) & 1 : m_hits.pType[nHit];
        if constexpr (kFields.bValues)
        {
            values.nSrc = m_hits.pSrcGray[nHit];
            values.nCmp = m_hits.pCmpGray[nHit];
            values.nThreshold = m_hits.pThreshold[nHit];
            if (candidate.bMirrored)
                std::swap(values.nSrc, values.nCmp);
        }
        return values;
    }

    const TJudge& m_judge;
    const CHitArrays& m_hits;
    std::int64_t m_nNext; ///< index of the next record
    std::int64_t m_nCount;
};

} // namespace narvo::engine
