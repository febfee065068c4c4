// SPDX-License-Identifier: MIT
// Which of many places have no other near them: most defects are a single pixel far from all others.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "narvoassem/platform.h"

namespace narvo::engine
{

/// Counts of places by square cell, in a hashed table of bytes: cells that share a byte only make places look less
/// lonely than they are.
class CPlaceCounts
{
public:
    static constexpr int nLargestReach = 3; ///< twice this and the place itself are less than a cell

    /// Words of memory for nPlaces places.
    static std::size_t GetWords(int nPlaces) { return GetBytes(nPlaces) / sizeof(int); }

    CPlaceCounts(int* pWords, int nPlaces)
        : m_pCounts(reinterpret_cast<std::uint8_t*>(pWords)), m_nMask(GetBytes(nPlaces) - 1)
    {
        std::memset(m_pCounts, 0, GetBytes(nPlaces));
    }

    void Add(const CPoint& pt)
    {
        std::uint8_t& nCount = m_pCounts[GetByte(pt.x >> nShift, pt.y >> nShift)];
        nCount = static_cast<std::uint8_t>(2 * nCount + 1); // none, one and more are told apart, at any number
    }

    /// Whether a place that has been added certainly has no other within nReach pixels on both axes. nReach is at most
    /// nLargestReach.
    bool IsLone(const CPoint& pt, std::int64_t nReach) const
    {
        const std::int64_t nLeft = (pt.x - nReach) >> nShift;
        const std::int64_t nRight = (pt.x + nReach) >> nShift;
        const std::int64_t nTop = (pt.y - nReach) >> nShift;
        const std::int64_t nBottom = (pt.y + nReach) >> nShift;
        // Always four reads, without a branch that depends on the place: its own cell is read one, two or four times.
        const int nOwn = (nLeft == nRight ? 2 : 1) * (nTop == nBottom ? 2 : 1);
        return m_pCounts[GetByte(nLeft, nTop)] + m_pCounts[GetByte(nRight, nTop)] + m_pCounts[GetByte(nLeft, nBottom)] +
                   m_pCounts[GetByte(nRight, nBottom)] ==
               nOwn;
    }

private:
    static constexpr int nShift = 3;                  ///< cells of 8 by 8 pixels
    static constexpr std::size_t nBytesPerPlace = 16; ///< few cells share a byte

    static std::size_t GetBytes(int nPlaces)
    {
        return std::bit_ceil(static_cast<std::size_t>(nPlaces)) * nBytesPerPlace;
    }

    // The cells of a column are side by side, so that lists ordered by columns, strips or rows reuse cache lines.
    std::size_t GetByte(std::int64_t nColumn, std::int64_t nRow) const
    {
        return (static_cast<std::size_t>(nRow) + static_cast<std::size_t>(nColumn) * 0x9E3779B1U) & m_nMask;
    }

    std::uint8_t* m_pCounts;
    std::size_t m_nMask;
};

} // namespace narvo::engine
