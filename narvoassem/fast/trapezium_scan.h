// What the two trapezium scans share: sides, hits in the caller's arrays, records.
#pragma once

#include <algorithm>
#include <cstdint>

#include "narvoassem/fast/band_pairing.h"
#include "narvoassem/fast/compare_sums.h"
#include "narvoassem/fast/find_sums.h"
#include "narvoassem/fast/pitch16.h"
#include "narvoassem/fast/scan_scratch.h"
#include "narvoassem/fast/trapezium_call.h"

namespace narvo
{

/// Place of a slanted side nStep steps from its start: a 32-bit product over the length, toward zero.
inline std::int64_t SideAt(std::int64_t nStep, std::int64_t nLength, std::int64_t nStart, std::int64_t nEnd)
{
    const auto nProduct =
        static_cast<std::int32_t>(static_cast<std::uint32_t>(nStep) * static_cast<std::uint32_t>(nEnd - nStart));
    return nProduct / nLength + nStart;
}

/// Stands in for a shortest row or strip below 16.
constexpr std::int64_t ShortestUseful(std::int64_t nShortest)
{
    return nShortest < 16 ? 48 : nShortest;
}

/// Writes records of position, polarity and peak; the other fields keep what the record held.
class CTrapeziumRecords
{
public:
    /// nFirst: index of the first record written.
    CTrapeziumRecords(const CTrapeziumCall& call, std::int64_t nFirst)
        : m_call(call), m_nFirst(nFirst), m_nCount(call.pairs.nCount)
    {
    }

    std::int64_t Count() const { return m_nCount; }
    bool IsFull() const { return m_nCount >= m_call.pairs.nSize; }
    bool KeepsSingle(std::int64_t /*nHit*/) const { return m_call.bKeepSingle == 1; }
    bool Write(const CPairCandidate& candidate)
    {
        const CHitArrays& hits = m_call.hits;
        const std::int64_t nHit = candidate.nHit;
        const bool bPaired = candidate.ePair == DefectPair_Paired;
        CDefectPair& pair = m_call.pairs.At(m_nFirst + m_nCount++ - m_call.pairs.nCount);
        pair.nDefectPos = candidate.ePos;
        pair.nDefectPair = candidate.ePair;
        pair.nDefectType = candidate.bMirrored ? (hits.pType[nHit] + 1) % 2 : hits.pType[nHit];
        pair.nPeak = hits.pPeak[nHit];
        pair.ptDefect = bPaired ? CPoint(hits.pX[nHit], hits.pY[nHit]) : CPoint(candidate.x, candidate.y);
        return true;
    }

private:
    const CTrapeziumCall& m_call;
    std::int64_t m_nFirst;
    std::int64_t m_nCount;
};

class CTrapeziumScan
{
protected:
    CTrapeziumScan(const CTrapeziumCall& call, std::int64_t nFirstRecord)
        : m_base(call), m_records(call, nFirstRecord), m_scratch(GetScanScratch()), m_pitch(call.nPitch16),
          m_nHits(call.hits.nCount)
    {
        m_row.nLimit = static_cast<std::uint16_t>(call.nGrayLimit * 64);
        // No difference leaves the 16 bits, so neither need the threshold.
        m_row.nBase = static_cast<std::uint16_t>(std::clamp<std::int64_t>(call.nThreshold16, -32768, 32767));
    }

    void SetPitch(std::int64_t nPitch16)
    {
        m_pitch = CPitch16(nPitch16);
        m_row.nWeightFar = static_cast<std::uint16_t>(m_pitch.nFraction);
        m_row.nWeightNear = static_cast<std::uint16_t>(16 - m_pitch.nFraction);
    }

    void AppendHit(std::int64_t x, std::int64_t y, DefectType eType, std::int64_t nDifference)
    {
        const CHitArrays& hits = m_base.hits;
        hits.pX[m_nHits] = static_cast<int>(x);
        hits.pY[m_nHits] = static_cast<int>(y);
        hits.pType[m_nHits] = static_cast<short>(eType);
        hits.pPeak[m_nHits] = static_cast<short>(nDifference >> 6);
        ++m_nHits;
    }

    /// Pairs the hits held and empties the list.
    template <CPairingTraits kPairing>
    PairingEnd Pair(const CBands& bands)
    {
        const CHitList list = {&m_base.hits, m_nHits};
        const PairingEnd eEnd = PairHits<kPairing>(list, bands, m_records);
        if (eEnd == PairingEnd::Done)
            m_nHits = 0;
        return eEnd;
    }

    const CTrapeziumCall& m_base;
    CTrapeziumRecords m_records;
    CScanScratch& m_scratch;
    CPitch16 m_pitch;
    CSumsRow m_row;
    std::int64_t m_nHits;
};

} // namespace narvo
