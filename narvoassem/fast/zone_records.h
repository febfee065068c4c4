// Pair records of the zone kernels: which candidates stand, and what is written.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>

#include "narvoassem/fast/band_pairing.h"
#include "narvoassem/fast/dead_zones.h"
#include "narvoassem/fast/zone_traits.h"
#include "narvoassem/grow_buffer.h"
#include "narvoassem/wrap_int.h"

namespace narvo
{

/// The 16 zone offsets and gains that replace the threshold maps. Tables not given and zones outside count as 0.
class CTspTables
{
public:
    explicit CTspTables(const CConvParam* pParam)
        : m_pOffset(pParam != nullptr ? pParam->pTspTable : nullptr),
          m_pGain(pParam != nullptr ? pParam->pTspTable2 : nullptr)
    {
    }

    /// Smallest nonzero offset below 256; 256 where there is none. Hits are found above it.
    int Floor() const
    {
        int nFloor = 256;
        for (int nZone = 0; m_pOffset != nullptr && nZone < CConvParam::nZoneLimit; ++nZone)
            if (m_pOffset[nZone] != 0)
                nFloor = std::min(nFloor, m_pOffset[nZone]);
        return nFloor;
    }

    int Threshold(int nZone, int nGray) const
    {
        return WrapAdd(WrapMul(nGray, Entry(m_pGain, nZone)) >> 8, Entry(m_pOffset, nZone));
    }

private:
    static int Entry(const int* pTable, int nZone)
    {
        return pTable != nullptr && nZone >= 0 && nZone < CConvParam::nZoneLimit ? pTable[nZone] : 0;
    }

    const int* m_pOffset;
    const int* m_pGain;
};

/// Writes the records of one kernel call; the pairing walk asks it (band_pairing.h).
template <CZoneTraits kTraits>
class CZoneRecords
{
public:
    /// classId holds a class id for each hit, where kTraits writes them.
    CZoneRecords(const CZoneCall& call, CGrowBuffer<std::uint8_t>& classId)
        : m_call(call), m_nCount(call.pairs.nCount), m_tsp(call.pParam), m_classId(classId)
    {
        if (kTraits.bDeadZones && call.pParam != nullptr)
            m_deadZones = CDeadZones(call.pParam->rtDeadZone);
    }

    std::int64_t Count() const { return m_nCount; }
    const CTspTables& Tsp() const { return m_tsp; }

    bool IsFull() const { return m_nCount >= m_call.pairs.nSize; }

    bool KeepsSingle(std::int64_t nHit) const
    {
        if (m_call.bKeepSingle != 1)
            return false;
        return !kTraits.bThresholdExtra || m_call.hits.pPeak[nHit] > m_call.nThresholdExtra;
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
        if (kTraits.bDeadZones && m_deadZones.Contains(candidate.x, candidate.y))
            return false;
        int nThreshold = hits.pThreshold[nHit];
        if (!PassesGate(nHit, nSrc, nCmp, nThreshold))
            return false;

        CDefectPair& pair = m_call.pairs.At(m_nCount++);
        pair.nDefectPos = candidate.ePos;
        pair.nDefectPair = candidate.ePair;
        pair.nDefectType = nType;
        if (kTraits.bPeak)
            pair.nPeak = hits.pPeak[nHit];
        pair.ptDefect = CPoint(candidate.x, candidate.y);
        pair.nSrcGray = nSrc;
        pair.nCmpGray = nCmp;
        pair.nZoneIndex = hits.pZoneIndex[nHit];
        pair.nThreshold = nThreshold;
        if (kTraits.bClassId && m_call.pClassIdMap != nullptr)
            pair.nSubZone =
                static_cast<std::size_t>(nHit) < m_classId.Capacity() ? m_classId[static_cast<std::size_t>(nHit)] : 0;
        return true;
    }

private:
    /// Puts the threshold that the record carries into nThreshold.
    bool PassesGate(std::int64_t nHit, int nSrc, int nCmp, int& nThreshold)
    {
        const std::int64_t nDiff = std::abs(static_cast<std::int64_t>(nSrc) - nCmp);
        if constexpr (kTraits.eGate == ZoneGate::Tsp)
        {
            nThreshold = m_tsp.Threshold(m_call.hits.pZoneIndex[nHit], std::max(nSrc, nCmp));
            return nDiff > nThreshold;
        }
        else if constexpr (kTraits.eGate == ZoneGate::BlackFilter)
        {
            if (nSrc >= nCmp)
                return true;
            const CConvParam& param = *m_call.pParam;
            const int nBlack = WrapAdd(WrapMul(nCmp, param.nBlackFilterGain) / 256, param.nBlackFilterGray);
            if (nDiff <= nBlack)
                return false;
            m_call.hits.pThreshold[nHit] = nThreshold = nBlack;
        }
        return true;
    }

    const CZoneCall& m_call;
    std::int64_t m_nCount;
    CDeadZones m_deadZones;
    CTspTables m_tsp;
    CGrowBuffer<std::uint8_t>& m_classId;
};

} // namespace narvo
