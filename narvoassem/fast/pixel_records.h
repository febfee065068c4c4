// Pair records of the pixel kernels: which candidates stand, and what is written.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>

#include "narvoassem/fast/band_pairing.h"
#include "narvoassem/fast/dead_zones.h"
#include "narvoassem/fast/pixel_traits.h"
#include "narvoassem/wrap_int.h"

namespace narvo
{

/// Writes the records of one kernel call; the pairing walk asks it (band_pairing.h).
template <CPixelTraits kTraits>
class CPixelRecords
{
public:
    CPixelRecords(const CPixelCall& call, const CHitArrays& hits)
        : m_call(call), m_hits(hits), m_nCount(call.pairs.nCount)
    {
        if (kTraits.bDeadZones && call.pParam != nullptr)
            m_deadZones = CDeadZones(call.pParam->rtDeadZone);
    }

    std::int64_t Count() const { return m_nCount; }
    bool IsFull() const { return m_nCount >= m_call.pairs.nSize; }

    bool KeepsSingle(std::int64_t /*nHit*/) const
    {
        return kTraits.eSecond == SecondSet::ByType ? m_call.bKeepSingle == 1 : m_call.bKeepSingle != 0;
    }

    bool Write(const CPairCandidate& candidate)
    {
        const std::int64_t nHit = candidate.nHit;
        int nSrc = m_hits.pSrcGray[nHit];
        int nCmp = m_hits.pCmpGray[nHit];
        int nType = m_hits.pType[nHit];
        if (candidate.bMirrored)
        {
            std::swap(nSrc, nCmp);
            nType = (nType + 1) & 1;
        }
        if (kTraits.bDeadZones && m_deadZones.Contains(candidate.x, candidate.y))
            return false;
        if (kTraits.eSecond == SecondSet::ByType && !PassesItsSet(nHit, nSrc, nCmp))
            return false;
        if (kTraits.eSecond == SecondSet::Narrows && m_call.second.nBase > 0 && nType == DefectType_Dark &&
            !PassesSecondSet(nHit))
            return true; // refused, and consumed all the same

        CDefectPair& pair = m_call.pairs.At(m_nCount++);
        pair.nDefectPos = candidate.ePos;
        pair.nDefectPair = candidate.ePair;
        pair.nDefectType = nType;
        if (kTraits.bPeak)
            pair.nPeak = m_hits.pPeak[nHit];
        if (kTraits.bRecordPeak)
            pair.nPeak = WrapSub(std::abs(nSrc - nCmp), m_hits.pThreshold[nHit]);
        pair.ptDefect = CPoint(candidate.x, candidate.y);
        pair.nSrcGray = nSrc;
        pair.nCmpGray = nCmp;
        pair.nZoneIndex = m_hits.pZoneIndex[nHit];
        pair.nThreshold = m_hits.pThreshold[nHit];
        return true;
    }

private:
    /// Bright records are judged by the first set, the others by the second; the hit takes the threshold either way.
    bool PassesItsSet(std::int64_t nHit, int nSrc, int nCmp)
    {
        const bool bBright = nSrc > nCmp;
        const CThresholdSet set = bBright ? m_call.first : EffectiveSecondSet(m_call);
        const int nProduct = WrapMul(bBright ? nSrc : nCmp, static_cast<int>(set.nGain));
        m_hits.pThreshold[nHit] = WrapAdd(nProduct / 256, static_cast<int>(set.nBase));
        return std::abs(nSrc - nCmp) > m_hits.pThreshold[nHit];
    }

    /// Threshold and peak of a hit that passes follow the second set. Compared as signed 16-bit values.
    bool PassesSecondSet(std::int64_t nHit)
    {
        const int nMax = std::max(m_hits.pSrcGray[nHit], m_hits.pCmpGray[nHit]);
        const int nThreshold =
            WrapAdd(WrapMul(nMax, static_cast<int>(m_call.second.nGain)) >> 8, static_cast<int>(m_call.second.nBase));
        const auto nMagnitude = static_cast<std::int16_t>(WrapAdd(m_hits.pThreshold[nHit], m_hits.pPeak[nHit]));
        if (static_cast<std::int16_t>(nThreshold) >= nMagnitude)
            return false;
        m_hits.pThreshold[nHit] = nThreshold;
        m_hits.pPeak[nHit] = static_cast<std::int16_t>(WrapSub(nMagnitude, nThreshold));
        return true;
    }

    const CPixelCall& m_call;
    const CHitArrays& m_hits;
    std::int64_t m_nCount;
    CDeadZones m_deadZones;
};

} // namespace narvo
