// SPDX-License-Identifier: MIT
// How a zone kernel judges pixels and pair records: the rule of its scan (scan.h).
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <type_traits>

#include "narvoassem/base/wrap_int.h"
#include "narvoassem/fast/scan/hit_rules.h"
#include "narvoassem/fast/source/column_tables.h"
#include "narvoassem/fast/zone/zone_traits.h"
#include "narvoassem/fast/zone/zone_walk.h"

namespace narvo::engine
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

    /// Smallest nonzero offset below 256; 256 if there is none. Hits are found above it.
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

template <CZoneTraits kTraits>
class CZoneRule : public CPixelHits<kTraits.scan, kTraits.bPeak>,
                  public std::conditional_t<kTraits.scan.bHorizontal, CRowZones, CStripZones>
{
    using CHits = CPixelHits<kTraits.scan, kTraits.bPeak>;
    using CZones = std::conditional_t<kTraits.scan.bHorizontal, CRowZones, CStripZones>;

public:
    static constexpr CPairFields kFields = {.bPeak = kTraits.bPeak};

    explicit CZoneRule(const CZoneCall& call)
        : CHits{{call.hits, call.pairs, call.pairs.nCount, CDeadZones(kTraits.bDeadZones ? call.pParam : nullptr),
                 call.pEndLine}},
          CZones(call, kTraits.bFlagged, GetScanScratch()), m_call(call), m_tsp(call.pParam),
          m_classId(GetScanScratch().classId)
    {
        // Hits passed by the caller have no class.
        if constexpr (kTraits.bClassId)
        {
            // Without memory for all of them, the class ids beyond count as 0.
            const auto nFirst = static_cast<std::size_t>(std::max<std::int64_t>(call.hits.nCount, 0));
            m_classId.Reserve(std::max<std::size_t>(nFirst, 1));
            std::fill_n(m_classId.Data(), std::min(nFirst, m_classId.Capacity()), std::uint8_t{0});
        }
    }

    void SetUpRow(CFindRow& row) const
    {
        row.nBase = static_cast<std::uint16_t>(m_tsp.Floor());
        row.pOffsetMap = m_call.pOffsetMap;
        row.pGainMap = m_call.pGainMap;
        row.pKneeMap = m_call.pKneeMap;
        row.pOffsetMap2 = m_call.pOffsetMap2;
        row.pGainMap2 = m_call.pGainMap2;
    }
    std::int64_t MapRow(std::int64_t y) const { return y * m_call.nMapStride; }
    bool Inspects(std::int64_t /*x*/, std::int64_t /*y*/) const { return true; }
    /// Unsigned.
    std::int64_t BlockDisplacement(std::int64_t x) const
    {
        return m_call.pConvPitchTable[ColumnBlockIndex(m_call.region.nLeft, x - m_call.region.nLeft)];
    }

    void ReadMaps(std::int64_t nElement, CFoundHit& hit) const
    {
        hit.SetZone(ReadMap(m_call.pZoneIndexMap, nElement));
        if constexpr (kTraits.bClassId)
            hit.SetClassId(ReadMap(m_call.pClassIdMap, nElement) & 15);
    }

    bool Store(std::int64_t nIndex, std::int64_t x, std::int64_t y, const CFoundHit& hit, int nPass)
    {
        if constexpr (kTraits.bClassId)
        {
            const auto n = static_cast<std::size_t>(nIndex);
            if (n >= m_classId.Capacity() && !m_classId.Reserve(2 * n + 64))
                return false;
            m_classId[n] = static_cast<std::uint8_t>(hit.ClassId());
        }
        return CHits::Store(nIndex, x, y, hit, nPass);
    }

    bool KeepsSingle(std::int64_t nHit) const
    {
        return m_call.bKeepSingle == 1 && (!kTraits.bThresholdExtra || this->hits.pPeak[nHit] > m_call.nThresholdExtra);
    }

    PairVerdict Judge(std::int64_t nHit, CPairValues& values) const
    {
        if (kTraits.eGate == ZoneGate::None || (kTraits.eGate == ZoneGate::BlackFilter && values.nSrc >= values.nCmp))
            return PairVerdict::Stands;
        values.nThreshold = GateThreshold(nHit, values);
        if (std::abs(static_cast<std::int64_t>(values.nSrc) - values.nCmp) <= values.nThreshold)
            return PairVerdict::Refused;
        if (kTraits.eGate == ZoneGate::BlackFilter)
            this->hits.pThreshold[nHit] = values.nThreshold;
        return PairVerdict::Stands;
    }

    void Finish(const CPairCandidate& candidate, const CPairValues& /*values*/, CDefectPair& pair) const
    {
        const auto nHit = static_cast<std::size_t>(candidate.nHit);
        if (kTraits.bClassId && m_call.pClassIdMap != nullptr)
            pair.nSubZone = nHit < m_classId.Capacity() ? m_classId[nHit] : 0;
    }

private:
    int GateThreshold(std::int64_t nHit, const CPairValues& values) const
    {
        if constexpr (kTraits.eGate == ZoneGate::Tsp)
            return m_tsp.Threshold(this->hits.pZoneIndex[nHit], std::max(values.nSrc, values.nCmp));
        else
            return WrapAdd(WrapMul(values.nCmp, m_call.pParam->nBlackFilterGain) / 256,
                           m_call.pParam->nBlackFilterGray);
    }

    const CZoneCall& m_call;
    CTspTables m_tsp;
    CGrowBuffer<std::uint8_t>& m_classId;
};

} // namespace narvo::engine
