// The bits that the finder answered, handed back in strip order: rows are found whole, pairing goes strip by strip.
// Each strip has a chain of its rows with hits, top down; the memory grows with the hits, not with the image.
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "narvoassem/fast/grow_buffer.h"

namespace narvo
{

/// The first of nStripCount strips at or behind nStrip whose mask is not 0; nStripCount where there is none. Up to
/// three masks behind the last are read.
inline std::int64_t NextMarkedStrip(const std::uint16_t* pMask, std::int64_t nStrip, std::int64_t nStripCount)
{
    for (; nStrip < nStripCount; nStrip += 4)
    {
        std::uint64_t nMasks;
        std::memcpy(&nMasks, pMask + nStrip, sizeof nMasks);
        if (nMasks != 0)
            return std::min<std::int64_t>(nStrip + std::countr_zero(nMasks) / 16, nStripCount);
    }
    return nStripCount;
}

class CHitChains
{
public:
    /// A row of a strip with hits: bit i of nMask for column i.
    struct CEntry
    {
        std::int32_t nRow;
        std::uint32_t nNext; ///< index + 1 of the strip's next entry, 0 at the end
        std::uint16_t nMask;
    };

    /// Entries held at the most: 24 MiB. A denser image is walked in narrower tiles.
    static constexpr std::size_t kEntryLimit = std::size_t{2} << 20;

    /// Empties the chains of nStripCount strips of nRowCount rows. @return false without memory
    bool Begin(std::int64_t nStripCount, std::int64_t nRowCount)
    {
        m_nCount = 0;
        // One strip always fits, whatever its length.
        m_nLimit = std::max<std::size_t>(kEntryLimit, static_cast<std::size_t>(std::max<std::int64_t>(nRowCount, 0)));
        if (!m_head.Reserve(static_cast<std::size_t>(nStripCount)) ||
            !m_tail.Reserve(static_cast<std::size_t>(nStripCount)))
            return false;
        std::fill_n(m_head.Data(), nStripCount, 0U);
        return true;
    }

    /// Appends the masks of one row, below the rows before. nStripCount masks and up to three more are
    /// read. @return false when the entries do not fit
    bool AppendRow(std::int32_t nRow, const std::uint16_t* pMask, std::int64_t nStripCount)
    {
        for (std::int64_t nStrip = NextMarkedStrip(pMask, 0, nStripCount); nStrip < nStripCount;
             nStrip = NextMarkedStrip(pMask, nStrip + 1, nStripCount))
            if (!Append(nRow, pMask[nStrip], nStrip))
                return false;
        return true;
    }

    /// First entry of a strip, or null.
    const CEntry* First(std::int64_t nStrip) { return At(m_head[static_cast<std::size_t>(nStrip)]); }
    /// The entry behind, or null.
    const CEntry* Next(const CEntry* pEntry) { return At(pEntry->nNext); }

private:
    const CEntry* At(std::uint32_t nIndexPlus1) { return nIndexPlus1 == 0 ? nullptr : &m_entries[nIndexPlus1 - 1]; }

    bool Append(std::int32_t nRow, std::uint16_t nMask, std::int64_t nStrip)
    {
        if (m_nCount == m_entries.Capacity())
        {
            const std::size_t nWanted = std::min(std::max<std::size_t>(2 * m_nCount, 4096), m_nLimit);
            if (m_nCount >= m_nLimit || !m_entries.Reserve(nWanted))
                return false;
        }
        m_entries[m_nCount] = {nRow, 0, nMask};
        const auto nIndexPlus1 = static_cast<std::uint32_t>(++m_nCount);
        std::uint32_t& nHead = m_head[static_cast<std::size_t>(nStrip)];
        if (nHead == 0)
            nHead = nIndexPlus1;
        else
            m_entries[m_tail[static_cast<std::size_t>(nStrip)] - 1].nNext = nIndexPlus1;
        m_tail[static_cast<std::size_t>(nStrip)] = nIndexPlus1;
        return true;
    }

    CGrowBuffer<CEntry> m_entries;
    CGrowBuffer<std::uint32_t> m_head;
    CGrowBuffer<std::uint32_t> m_tail;
    std::size_t m_nCount = 0;
    std::size_t m_nLimit = 0;
};

} // namespace narvo
