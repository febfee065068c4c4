// What the vertical and the horizontal scan of the float family share: the row description, the hit list in the
// caller's arrays, the records.
#pragma once

#include <bit>
#include <cstdint>

#include "narvoassem/fast/band_pairing.h"
#include "narvoassem/fast/compare_sums.h"
#include "narvoassem/fast/find_row.h"
#include "narvoassem/fast/find_sums.h"
#include "narvoassem/fast/float_records.h"
#include "narvoassem/fast/float_traits.h"
#include "narvoassem/fast/hit_chains.h"
#include "narvoassem/fast/pitch16.h"
#include "narvoassem/fast/scan_scratch.h"
#include "narvoassem/memory_shortage.h"

namespace narvo
{

template <CFloatTraits kTraits>
class CFloatScan
{
protected:
    static constexpr CPairingTraits kPairing = {.eAxis = kTraits.bHorizontal ? PairAxis::X : PairAxis::Y,
                                                .bLastBandFirst = false,
                                                .bPassUnusable = kTraits.bHorizontal,
                                                .bAnyAcross = kTraits.bHorizontal};

    explicit CFloatScan(const CFloatCall& call)
        : m_call(call), m_pitch(call.nPitch16), m_records(call), m_scratch(GetScanScratch()), m_nHits(call.hits.nCount)
    {
        const CThresholdSet second = SecondFloatSet(call);
        SetWeights(m_pitch);
        m_row.nLimit = static_cast<std::uint16_t>(call.nGrayLimit * kTraits.Units());
        m_row.nUnits = static_cast<std::uint16_t>(kTraits.Units());
        m_row.nBase = GrayBase(call.first.nBase);
        m_row.nGain = static_cast<std::uint16_t>(call.first.nGain);
        m_row.nBase2 = GrayBase(second.nBase);
        m_row.nGain2 = static_cast<std::uint16_t>(second.nGain);
    }

    void SetWeights(const CPitch16& pitch)
    {
        m_row.nWeightFar = static_cast<std::uint16_t>(pitch.nFraction);
        m_row.nWeightNear = static_cast<std::uint16_t>(16 - pitch.nFraction);
    }

    /// Calls onGroup(nGroup, pHits, nCount) for each group of the row that holds marked pixels, left to right, until it
    /// gives false. @return false if it was stopped
    template <class TOnGroup>
    bool ForEachGroup(std::int64_t y, TOnGroup&& onGroup)
    {
        for (std::int64_t nGroup = NextMarked(m_row.pMask, 0, m_row.nGroups); nGroup < m_row.nGroups;
             nGroup = NextMarked(m_row.pMask, nGroup + 1, m_row.nGroups))
        {
            CFoundHit hits[kGroupWidth] = {};
            int nCount = 0;
            for (unsigned nBits = m_row.pMask[nGroup]; nBits != 0; nBits &= nBits - 1)
            {
                const int nColumn = std::countr_zero(nBits);
                const CSumsComparison result = CompareSums<kTraits.eFind>(m_row, nGroup * kGroupWidth + nColumn);
                CFoundHit& hit = hits[nCount++] = CFoundHit(y, nColumn);
                hit.nSrc = result.nSrc;
                hit.nCmp = result.nCmp;
                hit.nThreshold = result.nThreshold;
            }
            if (!onGroup(nGroup, hits, nCount))
                return false;
        }
        return true;
    }

    /// Appends the hits of one group at column x: first those whose reference is the brighter, then those whose source
    /// is. A pixel may be both.
    void AppendGroup(std::int64_t x, const CFoundHit* pHits, int nCount)
    {
        for (int n = 0; n < nCount; ++n)
            if (const CSumsComparison result = Comparison(pHits[n]); result.IsDark())
                AppendHit(x, pHits[n], DefectType_Dark, result.DarkDifference());
        for (int n = 0; n < nCount; ++n)
            if (const CSumsComparison result = Comparison(pHits[n]); result.IsBright())
                AppendHit(x, pHits[n], DefectType_Bright, result.BrightDifference());
    }

    bool IsCut() const { return m_nHits >= m_call.hits.nSize; }

    /// Pairs the hits held and empties the list.
    PairingEnd Pair(const CBands& bands)
    {
        const CHitList list = {&m_call.hits, m_nHits};
        m_nHits = 0;
        return PairHits<kPairing>(list, bands, m_records);
    }

    /// Ends the scan in front of nLine.
    int EndWithoutMemory(std::int64_t nLine)
    {
        NoteMemoryShortage();
        return End(nLine);
    }
    int End(std::int64_t nLine)
    {
        *m_call.pEndLine = static_cast<int>(nLine);
        return static_cast<int>(m_records.Count());
    }

    const CFloatCall& m_call;
    CPitch16 m_pitch;
    CFloatRecords<kTraits> m_records;
    CScanScratch& m_scratch;
    std::int64_t m_nHits;
    CSumsRow m_row;

private:
    /// The base in grey levels, truncated: it is a threshold on the sum of the window's pixels.
    static std::uint16_t GrayBase(std::int64_t nBase)
    {
        if (kTraits.Area() == 4)
            return static_cast<std::uint16_t>(static_cast<std::uint16_t>(nBase * 16) >> 6);
        return static_cast<std::uint16_t>(nBase / kTraits.Area());
    }

    static CSumsComparison Comparison(const CFoundHit& hit) { return {hit.nSrc, hit.nCmp, hit.nThreshold}; }

    void AppendHit(std::int64_t x, const CFoundHit& hit, DefectType eType, std::int16_t nDifference)
    {
        const CHitArrays& hits = m_call.hits;
        hits.pX[m_nHits] = static_cast<int>(x + hit.Column());
        hits.pY[m_nHits] = static_cast<int>(hit.Row());
        hits.pType[m_nHits] = static_cast<short>(eType);
        hits.pPeak[m_nHits] =
            static_cast<short>(kTraits.Area() == 4 ? nDifference >> 6 : nDifference / kTraits.Units());
        hits.pSrcGray[m_nHits] = hit.nSrc;
        hits.pCmpGray[m_nHits] = hit.nCmp;
        hits.pThreshold[m_nHits] = hit.nThreshold;
        ++m_nHits;
    }
};

} // namespace narvo
