// Hits on their way from the finder to pairing: rows are found whole, pairing goes strip by strip. Each strip has a
// chain of its hits, top down; the memory grows with the hits, not with the image. A hit is worth what the comparison
// found while its row was still in the cache.
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "narvoassem/fast/compare_pixel.h"
#include "narvoassem/fast/grow_buffer.h"
#include "narvoassem/fast/kernel_call.h"

namespace narvo
{

/// The first of nCount masks at or behind nFirst that is not 0; nCount where there is none. Up to 7 bytes behind the
/// last mask are read.
template <class TMask>
std::int64_t NextMarked(const TMask* pMask, std::int64_t nFirst, std::int64_t nCount)
{
    constexpr int nMasks = sizeof(std::uint64_t) / sizeof(TMask);
    for (; nFirst < nCount; nFirst += nMasks)
    {
        std::uint64_t nBits;
        std::memcpy(&nBits, pMask + nFirst, sizeof nBits);
        if (nBits != 0)
            return std::min<std::int64_t>(nFirst + std::countr_zero(nBits) / (64 / nMasks), nCount);
    }
    return nCount;
}

/// A hit, worth what the comparison found.
struct CFoundHit
{
    std::int32_t nRow;
    std::uint32_t nNext; ///< index + 1 of the strip's next hit, 0 at the end
    std::uint16_t nSrc;
    std::uint16_t nCmp;
    std::int16_t nThreshold;
    std::int16_t nDiff;
    std::int16_t nZone;
    std::uint8_t nColumn; ///< within the strip, 0 .. 15
    std::uint8_t nClassId;
};

class CHitChains
{
public:
    /// Hits held at the most, 40 MiB. A denser image is walked in narrower tiles.
    static constexpr std::size_t kHitLimit = std::size_t{2} << 20;

    /// Empties the chains of nStripCount strips of nRowCount rows. @return false without memory
    bool Begin(std::int64_t nStripCount, std::int64_t nRowCount)
    {
        m_nCount = 0;
        // One strip always fits, whatever its length.
        m_nLimit =
            std::max<std::size_t>(kHitLimit, static_cast<std::size_t>(std::max<std::int64_t>(nRowCount, 0)) * 16);
        if (!m_head.Reserve(static_cast<std::size_t>(nStripCount)) ||
            !m_tail.Reserve(static_cast<std::size_t>(nStripCount)))
            return false;
        std::fill_n(m_head.Data(), nStripCount, 0U);
        return true;
    }

    /// Appends a hit to a strip, right of or below the hits before. @return false when it does not fit
    bool Append(std::int64_t nStrip, const CFoundHit& hit)
    {
        if (m_nCount == m_hits.Capacity())
        {
            const std::size_t nWanted = std::min(std::max<std::size_t>(2 * m_nCount, 4096), m_nLimit);
            if (m_nCount >= m_nLimit || !m_hits.Reserve(nWanted))
                return false;
        }
        m_hits[m_nCount] = hit;
        m_hits[m_nCount].nNext = 0;
        const auto nIndexPlus1 = static_cast<std::uint32_t>(++m_nCount);
        std::uint32_t& nHead = m_head[static_cast<std::size_t>(nStrip)];
        if (nHead == 0)
            nHead = nIndexPlus1;
        else
            m_hits[m_tail[static_cast<std::size_t>(nStrip)] - 1].nNext = nIndexPlus1;
        m_tail[static_cast<std::size_t>(nStrip)] = nIndexPlus1;
        return true;
    }

    /// First hit of a strip, or null.
    const CFoundHit* First(std::int64_t nStrip) { return At(m_head[static_cast<std::size_t>(nStrip)]); }
    /// The hit behind, or null.
    const CFoundHit* Next(const CFoundHit* pHit) { return At(pHit->nNext); }

private:
    const CFoundHit* At(std::uint32_t nIndexPlus1) { return nIndexPlus1 == 0 ? nullptr : &m_hits[nIndexPlus1 - 1]; }

    CGrowBuffer<CFoundHit> m_hits;
    CGrowBuffer<std::uint32_t> m_head;
    CGrowBuffer<std::uint32_t> m_tail;
    std::size_t m_nCount = 0;
    std::size_t m_nLimit = 0;
};

/// Puts a hit of the strip or block at column x into the arrays at nIndex.
template <bool kPeak>
void StoreHit(const CHitArrays& hits, std::int64_t nIndex, std::int64_t x, const CFoundHit& hit)
{
    hits.pX[nIndex] = static_cast<int>(x + hit.nColumn);
    hits.pY[nIndex] = hit.nRow;
    hits.pType[nIndex] = hit.nDiff >= 1 ? DefectType_Bright : DefectType_Dark;
    if (kPeak)
        hits.pPeak[nIndex] = HitPeak(hit.nDiff, hit.nThreshold);
    hits.pSrcGray[nIndex] = hit.nSrc;
    hits.pCmpGray[nIndex] = hit.nCmp;
    hits.pZoneIndex[nIndex] = hit.nZone;
    hits.pThreshold[nIndex] = hit.nThreshold;
}

} // namespace narvo
