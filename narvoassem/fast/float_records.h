// Pair records of the float kernels: which candidates stand, and what is written. Hits hold values in the scale of
// their window, records grey levels.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <utility>

#include "narvoassem/fast/band_pairing.h"
#include "narvoassem/fast/dead_zones.h"
#include "narvoassem/fast/float_traits.h"
#include "narvoassem/pairstorage.h"
#include "narvoassem/wrap_int.h"

namespace narvo
{

/// The second threshold set of the members: the parameters' base is in grey levels, that of the first set in quarters.
inline CThresholdSet SecondFloatSet(const CFloatCall& call)
{
    if (call.pParam == nullptr || call.pParam->nBlackFilterGray < 1)
        return call.first;
    return {std::int64_t{call.pParam->nBlackFilterGray} * 4, call.pParam->nBlackFilterGain};
}

/// Writes the records of one kernel call; the pairing walk asks it (band_pairing.h).
template <CFloatTraits kTraits>
class CFloatRecords
{
public:
    explicit CFloatRecords(const CFloatCall& call)
        : m_call(call), m_second(SecondFloatSet(call)), m_nCount(call.pairs.nCount)
    {
        if (kTraits.bMember)
            m_deadZones = CDeadZones(call.pParam->rtDeadZone);
    }

    std::int64_t Count() const { return m_nCount; }
    bool IsFull() const { return m_nCount >= m_call.pairs.nSize; }
    bool KeepsSingle(std::int64_t /*nHit*/) const
    {
        return !kTraits.bMember || kTraits.bRegion || m_call.pParam->bKeepSingle != 0;
    }

    bool Write(const CPairCandidate& candidate)
    {
        const CHitArrays& hits = m_call.hits;
        const std::int64_t nHit = candidate.nHit;
        int nSrc = hits.pSrcGray[nHit];
        int nCmp = hits.pCmpGray[nHit];
        int nType = hits.pType[nHit];
        if (candidate.bMirrored)
        {
            std::swap(nSrc, nCmp);
            nType = (nType + 1) & 1;
        }
        if (kTraits.bMember && (m_deadZones.Contains(candidate.x, candidate.y) || !PassesItsSet(nHit, nSrc, nCmp)))
            return false;

        CDefectPair& pair = m_call.pairs.At(m_nCount++);
        pair.nDefectPos = candidate.ePos;
        pair.nDefectPair = candidate.ePair;
        pair.nDefectType = nType;
        pair.nPeak = hits.pPeak[nHit];
        pair.ptDefect = CPoint(candidate.x, candidate.y);
        pair.nSrcGray = nSrc / kTraits.Units();
        pair.nCmpGray = nCmp / kTraits.Units();
        pair.nThreshold = hits.pThreshold[nHit] / kTraits.Units();
        if (kTraits.bRegion && candidate.ePair == DefectPair_Single &&
            m_call.pStore->JumpFilter_Vert2by2(&pair, m_call.rtRegion) == 0)
            pair.nDefectType = DefectType_Removed;
        return true;
    }

private:
    /// Bright records are judged by the first set, the others by the second, both in the scale of the window with the
    /// base's fraction kept; the hit takes the threshold either way.
    bool PassesItsSet(std::int64_t nHit, int nSrc, int nCmp)
    {
        const bool bBright = nSrc > nCmp;
        const CThresholdSet& set = bBright ? m_call.first : m_second;
        const int nProduct = WrapMul(bBright ? nSrc : nCmp, static_cast<int>(set.nGain));
        const int nThreshold = WrapAdd(nProduct / 256, WrapMul(static_cast<int>(set.nBase), 16));
        m_call.hits.pThreshold[nHit] = nThreshold;
        return std::abs(nSrc - nCmp) > nThreshold;
    }

    const CFloatCall& m_call;
    CThresholdSet m_second;
    std::int64_t m_nCount;
    CDeadZones m_deadZones;
};

} // namespace narvo
