// SPDX-License-Identifier: MIT
// Hits on their way from the finder to pairing: rows are found whole, pairing goes strip by strip. Each strip, half
// strip or row has a chain of its hits in order; the memory grows with the hits, not with the image.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "narvoassem/base/grow_buffer.h"
#include "narvoassem/fast/find/compare_pixel.h"
#include "narvoassem/fast/find/compare_sums.h"

namespace narvo::engine
{

/// A hit with the values that the comparison found. Two words, so that it stays in registers until it is stored.
class CFoundHit
{
public:
    CFoundHit() = default;
    /// nLine: row of a strip, or block of 16 columns of a row. nColumn: within it, 0 .. 15.
    CFoundHit(std::int64_t nLine, int nColumn) : m_nPlace(nLine * 256 + nColumn) {}

    /// Sets the values, once per hit.
    void Set(const CPixelComparison& found) { SetValues(found.nSrc, found.nCmp, found.nThreshold); }
    void Set(const CSumsComparison& found)
    {
        SetValues(found.nSrc, found.nCmp, found.nThreshold);
        SetClassId((found.bDark ? 1 : 0) | (found.bBright ? 2 : 0));
    }
    /// Once per hit, after its values.
    void SetZone(std::uint16_t nZone) { m_nValues |= std::uint64_t{nZone} << 48; }
    /// Once per hit; nClassId 0 .. 15.
    void SetClassId(int nClassId) { m_nPlace += 16 * nClassId; }

    std::int64_t Line() const { return m_nPlace >> 8; }
    int Column() const { return static_cast<int>(m_nPlace & 15); }
    /// Two groups of 8 columns for each line.
    std::int64_t Group() const { return 2 * Line() + (m_nPlace >> 3 & 1); }
    int ClassId() const { return static_cast<int>(m_nPlace >> 4 & 15); }
    bool IsDark() const { return (m_nPlace & 16) != 0; }
    bool IsBright() const { return (m_nPlace & 32) != 0; }
    std::uint16_t Src() const { return static_cast<std::uint16_t>(m_nValues); }
    std::uint16_t Cmp() const { return static_cast<std::uint16_t>(m_nValues >> 16); }
    std::int16_t Threshold() const { return static_cast<std::int16_t>(m_nValues >> 32); }
    std::int16_t Zone() const { return static_cast<std::int16_t>(m_nValues >> 48); }

private:
    void SetValues(std::uint16_t nSrc, std::uint16_t nCmp, std::int16_t nThreshold)
    {
        m_nValues = nSrc | std::uint64_t{nCmp} << 16 | std::uint64_t{static_cast<std::uint16_t>(nThreshold)} << 32;
    }

    std::int64_t m_nPlace = 0;   ///< line in the upper bits, then four bits of class or polarity and four of column
    std::uint64_t m_nValues = 0; ///< 16 bits each, from the lowest: source, reference, threshold, zone
};

static_assert(sizeof(CFoundHit) == 16);

/// Hits of many strips, each strip's in chunks that follow one another: appending touches one cache line per strip,
/// and reading a strip goes through memory in order.
class CHitChains
{
public:
    /// Maximum number of hits, 48 MiB. A denser image is walked in narrower tiles.
    static constexpr std::size_t kHitLimit = std::size_t{3} << 20;

    /// Goes through the hits of one strip.
    class CCursor
    {
    public:
        CCursor(CHitChains& chains, std::size_t nStrip)
            : m_pChains(&chains), m_nLeft(chains.m_strips[nStrip].nCount),
              m_nAt(chains.m_strips[nStrip].nFirstChunk * kChunk)
        {
        }

        explicit operator bool() const { return m_nLeft != 0; }
        const CFoundHit& operator*() const { return m_pChains->m_hits[m_nAt]; }
        const CFoundHit* operator->() const { return &m_pChains->m_hits[m_nAt]; }
        CCursor& operator++()
        {
            --m_nLeft;
            ++m_nAt;
            if (m_nAt % kChunk == 0 && m_nLeft != 0)
                m_nAt = std::size_t{m_pChains->m_nextChunk[m_nAt / kChunk - 1]} * kChunk;
            return *this;
        }

    private:
        CHitChains* m_pChains;
        std::size_t m_nLeft;
        std::size_t m_nAt;
    };

    /// Empties the chains of nStripCount strips of nRowCount rows. @return false without memory
    bool Begin(std::int64_t nStripCount, std::int64_t nRowCount)
    {
        m_nChunks = 0;
        // One strip always fits, whatever its length.
        const auto nLongest = static_cast<std::size_t>(std::max<std::int64_t>(nRowCount, 0)) * 16;
        m_nChunkLimit = std::max(kHitLimit, nLongest) / kChunk + 1;
        if (!m_strips.Reserve(static_cast<std::size_t>(nStripCount)))
            return false;
        std::fill_n(m_strips.Data(), nStripCount, CStrip{});
        return true;
    }

    /// Appends a hit to a strip, right of or below the hits before. @return false when it does not fit
    bool Append(std::int64_t nStrip, const CFoundHit& hit)
    {
        CStrip& strip = m_strips[static_cast<std::size_t>(nStrip)];
        const std::size_t nInChunk = strip.nCount % kChunk;
        if (nInChunk == 0 && !AddChunk(strip))
            return false;
        m_hits[strip.nLastChunk * kChunk + nInChunk] = hit;
        ++strip.nCount;
        return true;
    }

    CCursor Hits(std::int64_t nStrip) { return CCursor(*this, static_cast<std::size_t>(nStrip)); }

private:
    static constexpr std::size_t kChunk = 8; ///< hits of a chunk: two cache lines

    struct CStrip
    {
        std::size_t nCount = 0;
        std::size_t nFirstChunk = 0;
        std::size_t nLastChunk = 0;
    };

    bool AddChunk(CStrip& strip)
    {
        if (m_nChunks >= m_nextChunk.Capacity())
        {
            const std::size_t nWanted = std::min(std::max<std::size_t>(m_nChunks + m_nChunks / 4, 1024), m_nChunkLimit);
            if (m_nChunks >= m_nChunkLimit || !m_hits.Reserve(nWanted * kChunk) || !m_nextChunk.Reserve(nWanted))
                return false;
        }
        if (strip.nCount == 0)
            strip.nFirstChunk = m_nChunks;
        else
            m_nextChunk[strip.nLastChunk] = static_cast<std::uint32_t>(m_nChunks);
        strip.nLastChunk = m_nChunks++;
        return true;
    }

    CGrowBuffer<CFoundHit> m_hits;
    CGrowBuffer<std::uint32_t> m_nextChunk; ///< per chunk: the next one
    CGrowBuffer<CStrip> m_strips;
    std::size_t m_nChunks = 0;
    std::size_t m_nChunkLimit = 0;
};

} // namespace narvo::engine
