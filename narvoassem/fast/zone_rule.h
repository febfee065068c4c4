// What a zone kernel asks of each pixel, and where its thresholds come from: the rule that a scan runs by (scan.h).
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "narvoassem/fast/pixel_values.h"
#include "narvoassem/fast/zone_records.h"
#include "narvoassem/fast/zone_traits.h"
#include "narvoassem/fast/zone_walk.h"

namespace narvo
{

template <CZoneTraits kTraits>
class CZoneRule : public std::conditional_t<kTraits.scan.bHorizontal, CRowZones, CStripZones>
{
    using CZones = std::conditional_t<kTraits.scan.bHorizontal, CRowZones, CStripZones>;

public:
    static constexpr CScanTraits kScan = kTraits.scan;

    explicit CZoneRule(const CZoneCall& call)
        : CZones(call, kTraits.bFlagged, GetScanScratch()), hits(call.hits), records(call, GetScanScratch().classId),
          m_call(call), m_classId(GetScanScratch().classId), m_nFloor(records.Tsp().Floor())
    {
        // Hits that the caller put in front have no class.
        if constexpr (kTraits.bClassId)
        {
            // Without memory for all of them the records take those beyond for 0.
            const auto nFirst = static_cast<std::size_t>(std::max<std::int64_t>(hits.nCount, 0));
            m_classId.Reserve(std::max<std::size_t>(nFirst, 1));
            std::fill_n(m_classId.Data(), std::min(nFirst, m_classId.Capacity()), std::uint8_t{0});
        }
    }

    void SetUpRow(CFindRow& row) const
    {
        row.nBase = static_cast<std::uint16_t>(m_nFloor);
        row.pOffsetMap = m_call.pOffsetMap;
        row.pGainMap = m_call.pGainMap;
        row.pKneeMap = m_call.pKneeMap;
        row.pOffsetMap2 = m_call.pOffsetMap2;
        row.pGainMap2 = m_call.pGainMap2;
    }

    std::int64_t MapRow(std::int64_t y) const { return y * m_call.nMapStride; }
    bool Inspects(std::int64_t /*x*/, std::int64_t /*y*/) const { return true; }
    /// Column tables: displacement of the block that column x lies in, unsigned.
    std::int64_t BlockDisplacement(std::int64_t x) const
    {
        return m_call.pConvPitchTable[ColumnBlockIndex(m_call.region.nLeft, x - m_call.region.nLeft)];
    }

    CFoundHit Compare(const CPitch16& pitch, std::int64_t x, std::int64_t y, std::int64_t nElement, int nColumn) const
    {
        CFoundHit hit(y, nColumn);
        hit.nSrc = ReadSample<kScan>(m_call.image, x, y);
        if constexpr (kScan.eFind == FindVariant::ColumnMap)
            hit.nCmp = ReadColumnReference(m_call, BlockDisplacement(x), x, y);
        else
            hit.nCmp = ReadReference<kScan>(m_call, pitch, x, y);
        if constexpr (kScan.eFind != FindVariant::LinearKnee)
        {
            const auto nLimit = static_cast<std::uint16_t>(m_call.nGrayLimit);
            hit.nSrc = std::min(hit.nSrc, nLimit);
            hit.nCmp = std::min(hit.nCmp, nLimit);
        }
        hit.nThreshold = Threshold(std::max(hit.nSrc, hit.nCmp), nElement);
        hit.nZone = static_cast<std::int16_t>(ReadMap(m_call.pZoneIndexMap, nElement));
        if constexpr (kTraits.bClassId)
            hit.SetClassId(ReadMap(m_call.pClassIdMap, nElement) & 15);
        return hit;
    }

    bool Store(std::int64_t nIndex, std::int64_t x, const CFoundHit& hit)
    {
        if constexpr (kTraits.bClassId)
        {
            const auto n = static_cast<std::size_t>(nIndex);
            if (n >= m_classId.Capacity() && !m_classId.Reserve(2 * n + 64))
                return false;
            m_classId[n] = static_cast<std::uint8_t>(hit.ClassId());
        }
        StoreHit<kTraits.bPeak>(hits, nIndex, x, hit);
        return true;
    }

    const CHitArrays& hits;
    CZoneRecords<kTraits> records;

private:
    /// A map that is not given counts as all 0.
    static std::uint16_t ReadMap(const std::int16_t* pMap, std::int64_t nElement)
    {
        return pMap != nullptr ? static_cast<std::uint16_t>(pMap[nElement]) : std::uint16_t{0};
    }

    std::int16_t Threshold(std::uint16_t nMax, std::int64_t nElement) const
    {
        if constexpr (kScan.eFind == FindVariant::LinearFloor)
            return static_cast<std::int16_t>(m_nFloor);
        const bool bUpper =
            kScan.eFind == FindVariant::LinearKnee &&
            static_cast<std::int16_t>(nMax) > static_cast<std::int16_t>(ReadMap(m_call.pKneeMap, nElement));
        return FormThreshold(nMax, ReadMap(bUpper ? m_call.pGainMap2 : m_call.pGainMap, nElement),
                             ReadMap(bUpper ? m_call.pOffsetMap2 : m_call.pOffsetMap, nElement));
    }

    const CZoneCall& m_call;
    CGrowBuffer<std::uint8_t>& m_classId;
    int m_nFloor; ///< threshold of the floor variant
};

} // namespace narvo
