// SPDX-License-Identifier: MIT
// How a pixel kernel judges pixels and pair records: the rule of its scan (scan.h). Thresholds are
// the same for the whole region, so there are no maps to walk.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <limits>

#include "narvoassem/base/image_read.h"
#include "narvoassem/base/wrap_int.h"
#include "narvoassem/fast/pixel/pixel_traits.h"
#include "narvoassem/fast/scan/hit_rules.h"
#include "narvoassem/fast/source/column_tables.h"
#include "narvoassem/fast/source/run_list.h"

namespace narvo::engine
{

/// Hit arrays of a kernel that gets none from its caller, in the thread's scratch.
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
        // Buffers before one that could not grow have moved.
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
class CPixelRule : public CPixelHits<kTraits.scan, kTraits.bPeak>
{
    using CHits = CPixelHits<kTraits.scan, kTraits.bPeak>;

public:
    static constexpr CPairFields kFields = {.bPeak = kTraits.bPeak};

    explicit CPixelRule(const CPixelCall& call)
        : CHits{{StartHits(call), call.pairs, call.pairs.nCount, CDeadZones(kTraits.bDeadZones ? call.pParam : nullptr),
                 kTraits.scan.bEndLine ? call.pEndLine : nullptr}},
          m_call(call), m_ownHits(GetScanScratch())
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
    void LeaveStrip(std::int64_t /*x*/) {}
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

    /// Signed.
    std::int64_t BlockDisplacement(std::int64_t x) const
    {
        return static_cast<std::int16_t>(
            m_call.pConvPitchTable[ColumnBlockIndex(m_call.region.nLeft, x - m_call.region.nLeft)]);
    }

    void ReadMaps(std::int64_t /*nElement*/, CFoundHit& /*hit*/) const {}
    bool Store(std::int64_t nIndex, std::int64_t x, std::int64_t y, const CFoundHit& hit, int nPass)
    {
        return (!kTraits.bOwnHits || m_ownHits.Reserve(this->hits, nIndex)) && CHits::Store(nIndex, x, y, hit, nPass);
    }

    bool KeepsSingle(std::int64_t /*nHit*/) const
    {
        return kTraits.eSecond == SecondSet::ByType ? m_call.bKeepSingle == 1 : m_call.bKeepSingle != 0;
    }

    PairVerdict Judge(std::int64_t nHit, CPairValues& values) const
    {
        if constexpr (kTraits.eSecond == SecondSet::ByType)
            return PassesItsSet(nHit, values) ? PairVerdict::Stands : PairVerdict::Refused;
        if (kTraits.eSecond == SecondSet::Narrows && m_call.second.nBase > 0 && values.nType == DefectType_Dark)
            return PassesSecondSet(nHit, values) ? PairVerdict::Stands : PairVerdict::Consumed;
        return PairVerdict::Stands;
    }

    void Finish(const CPairCandidate& /*candidate*/, const CPairValues& values, CDefectPair& pair) const
    {
        if constexpr (kTraits.bRecordPeak)
            pair.nPeak = WrapSub(std::abs(values.nSrc - values.nCmp), values.nThreshold);
    }

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

    /// Bright records are judged by the first set, the others by the second; the hit always takes the threshold.
    bool PassesItsSet(std::int64_t nHit, CPairValues& values) const
    {
        const bool bBright = values.nSrc > values.nCmp;
        const CThresholdSet set = bBright ? m_call.first : EffectiveSecondSet(m_call);
        const int nProduct = WrapMul(bBright ? values.nSrc : values.nCmp, static_cast<int>(set.nGain));
        this->hits.pThreshold[nHit] = values.nThreshold = WrapAdd(nProduct / 256, static_cast<int>(set.nBase));
        return std::abs(values.nSrc - values.nCmp) > values.nThreshold;
    }

    /// Threshold and peak of a hit that passes follow the second set. Compared as signed 16-bit values.
    bool PassesSecondSet(std::int64_t nHit, CPairValues& values) const
    {
        const int nMax = std::max(values.nSrc, values.nCmp);
        const int nThreshold =
            WrapAdd(WrapMul(nMax, static_cast<int>(m_call.second.nGain)) >> 8, static_cast<int>(m_call.second.nBase));
        const auto nMagnitude = static_cast<std::int16_t>(WrapAdd(values.nThreshold, this->hits.pPeak[nHit]));
        if (static_cast<std::int16_t>(nThreshold) >= nMagnitude)
            return false;
        this->hits.pThreshold[nHit] = values.nThreshold = nThreshold;
        this->hits.pPeak[nHit] = static_cast<std::int16_t>(WrapSub(nMagnitude, nThreshold));
        return true;
    }

    const CPixelCall& m_call;
    COwnHits m_ownHits;
};

} // namespace narvo::engine
