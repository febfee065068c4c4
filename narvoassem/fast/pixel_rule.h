// What a pixel kernel asks of each pixel: the rule that a scan runs by (scan.h). Thresholds are the same for the whole
// region, so there are no maps to walk.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>

#include "narvoassem/fast/pixel_records.h"
#include "narvoassem/fast/pixel_traits.h"
#include "narvoassem/fast/pixel_values.h"

namespace narvo
{

/// Hit arrays of a kernel that is given none, in the thread's scratch.
class COwnHits
{
public:
    explicit COwnHits(CScanScratch& scratch) : m_scratch(scratch) {}

    /// Makes room for the hit nIndex and points the arrays there. @return false without memory; the hits held stay
    bool Reserve(CHitArrays& hits, std::int64_t nIndex)
    {
        const auto nWanted = static_cast<std::size_t>(nIndex) + 1;
        if (nWanted <= m_nRoom)
            return true;
        const std::size_t nRoom = 2 * nWanted + 64;
        bool bRoom = m_scratch.ownTypes.Reserve(nRoom);
        for (CGrowBuffer<int>& buffer : m_scratch.ownHits)
            bRoom = bRoom && buffer.Reserve(nRoom);
        // Buffers in front of one that could not grow have moved.
        hits.pX = m_scratch.ownHits[0].Data();
        hits.pY = m_scratch.ownHits[1].Data();
        hits.pSrcGray = m_scratch.ownHits[2].Data();
        hits.pCmpGray = m_scratch.ownHits[3].Data();
        hits.pZoneIndex = m_scratch.ownHits[4].Data();
        hits.pThreshold = m_scratch.ownHits[5].Data();
        hits.pType = m_scratch.ownTypes.Data();
        if (bRoom)
            m_nRoom = nRoom;
        return bRoom;
    }

private:
    CScanScratch& m_scratch;
    std::size_t m_nRoom = 0;
};

template <CPixelTraits kTraits>
class CPixelRule
{
public:
    static constexpr CScanTraits kScan = kTraits.scan;

    explicit CPixelRule(const CPixelCall& call)
        : hits(StartHits(call)), records(call, hits), m_call(call), m_ownHits(GetScanScratch())
    {
    }

    void SetUpRow(CFindRow& row) const
    {
        const CThresholdSet second = EffectiveSecondSet(m_call);
        row.nBase = static_cast<std::uint16_t>(m_call.first.nBase);
        row.nGain = static_cast<std::uint16_t>(m_call.first.nGain);
        row.nBase2 = static_cast<std::uint16_t>(second.nBase);
        row.nGain2 = static_cast<std::uint16_t>(second.nGain);
    }

    std::int64_t MapRow(std::int64_t /*y*/) const { return 0; }
    void BeginScan(std::int64_t /*nEnd*/) {}
    void BeginTile(std::int64_t /*x*/, std::int64_t /*nStrips*/) {}
    void EnterStrip(std::int64_t /*x*/) {}
    std::int64_t StepRuns(CRunList& runs, std::int64_t /*x*/, std::int64_t /*y*/, std::int64_t nStrips)
    {
        runs.Add(0, nStrips, 0);
        return std::numeric_limits<std::int64_t>::max();
    }

    bool Inspects(std::int64_t x, std::int64_t y) const
    {
        return m_call.pMask == nullptr ||
               ReadPixel({m_call.pMask, m_call.image.nStride, m_call.image.nRows}, x, y) != 0;
    }

    /// Column tables: displacement of the block that column x lies in, signed.
    std::int64_t BlockDisplacement(std::int64_t x) const
    {
        return static_cast<std::int16_t>(
            m_call.pConvPitchTable[ColumnBlockIndex(m_call.region.nLeft, x - m_call.region.nLeft)]);
    }

    CFoundHit Compare(const CPitch16& pitch, std::int64_t x, std::int64_t y, std::int64_t /*nElement*/,
                      int nColumn) const
    {
        CFoundHit hit(y, nColumn);
        hit.nSrc = ReadPixel(m_call.image, x, y);
        if constexpr (kScan.eFind == FindVariant::ColumnScalar)
            hit.nCmp = ReadColumnReference(m_call, BlockDisplacement(x), x, y);
        else
            hit.nCmp = ReadReference<kScan>(m_call, pitch, x, y);
        const auto nLimit = static_cast<std::uint16_t>(m_call.nGrayLimit);
        hit.nSrc = std::min(hit.nSrc, nLimit);
        hit.nCmp = std::min(hit.nCmp, nLimit);
        hit.nThreshold = FormThreshold(std::max(hit.nSrc, hit.nCmp), m_call.first);
        if constexpr (kTraits.eSecond == SecondSet::ByType)
            hit.nThreshold =
                std::min(hit.nThreshold, FormThreshold(std::max(hit.nSrc, hit.nCmp), EffectiveSecondSet(m_call)));
        return hit;
    }

    bool Store(std::int64_t nIndex, std::int64_t x, const CFoundHit& hit)
    {
        if (kTraits.bOwnHits && !m_ownHits.Reserve(hits, nIndex))
            return false;
        StoreHit<kTraits.bPeak>(hits, nIndex, x, hit);
        return true;
    }

    CHitArrays hits;
    CPixelRecords<kTraits> records;

private:
    static CHitArrays StartHits(const CPixelCall& call)
    {
        CHitArrays start = call.hits;
        if (!kTraits.bPeak)
            start.nCount = 0;
        if (kTraits.bOwnHits)
            start.nSize = std::numeric_limits<std::int64_t>::max();
        return start;
    }

    static std::int16_t FormThreshold(std::uint16_t nMax, const CThresholdSet& set)
    {
        return narvo::FormThreshold(nMax, static_cast<std::uint16_t>(set.nGain), static_cast<std::uint16_t>(set.nBase));
    }

    const CPixelCall& m_call;
    COwnHits m_ownHits;
};

} // namespace narvo
