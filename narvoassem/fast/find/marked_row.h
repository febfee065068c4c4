// SPDX-License-Identifier: MIT
// What was marked in one row: a mask of the whole row, or a list of the few words that have any bits.
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>

namespace narvo::engine
{

/// The bits of 64 columns, 8 groups of 8 columns, from group nGroup on.
struct CMarkedWord
{
    std::uint64_t nBits = 0;
    std::int64_t nGroup = 0;
};

/// One row of a tile: nGroups groups of 8 columns from group nFirst on.
struct CMarkedRow
{
    std::int64_t y = 0;
    std::int64_t nFirst = 0;
    std::int64_t nGroups = 0;
    const std::uint8_t* pMask = nullptr; ///< a byte for each group; up to 7 after the last are read
    const CMarkedWord* pWords = nullptr; ///< without a mask: the words that are not 0, in ascending order
    std::size_t nWords = 0;
};

/// The first of nCount masks at or after nFirst that is not 0; nCount if there is none. Up to 7 masks after the
/// last are read.
inline std::int64_t NextMarked(const std::uint8_t* pMask, std::int64_t nFirst, std::int64_t nCount)
{
    constexpr int nMasks = sizeof(std::uint64_t);
    for (; nFirst < nCount; nFirst += nMasks)
    {
        std::uint64_t nBits;
        std::memcpy(&nBits, pMask + nFirst, sizeof nBits);
        if (nBits != 0)
            return std::min<std::int64_t>(nFirst + std::countr_zero(nBits) / 8, nCount);
    }
    return nCount;
}

/// Goes through the groups of a row that have bits. kListed: the row may have a list instead of a mask. kWords: the
/// words of a list are not divided into groups.
template <bool kListed, bool kWords>
class CMarkedGroups
{
public:
    explicit CMarkedGroups(const CMarkedRow& row) : m_row(row) {}

    /// @param group one group; or as many as a word has @return false at the end of the row
    bool Next(CMarkedWord& group)
    {
        if (kListed && m_row.pMask == nullptr)
            return NextListed(group);
        group.nGroup = NextMarked(m_row.pMask, m_nNext, m_row.nGroups);
        if (group.nGroup == m_row.nGroups)
            return false;
        group.nBits = m_row.pMask[group.nGroup];
        m_nNext = group.nGroup + 1;
        return true;
    }

private:
    bool NextListed(CMarkedWord& group)
    {
        if (m_word.nBits == 0)
        {
            if (m_nWord == m_row.nWords)
                return false;
            m_word = m_row.pWords[m_nWord++];
        }
        if constexpr (kWords)
        {
            group = std::exchange(m_word, {});
            return true;
        }
        constexpr std::uint64_t kGroup = 0xFF;
        const int nFirst = std::countr_zero(m_word.nBits) / 8 * 8;
        group.nGroup = m_word.nGroup + nFirst / 8;
        group.nBits = m_word.nBits >> nFirst & kGroup;
        m_word.nBits &= ~(kGroup << nFirst);
        return true;
    }

    const CMarkedRow& m_row;
    std::int64_t m_nNext = 0; ///< the first group of the mask not looked at
    CMarkedWord m_word;       ///< what is left of the word of the list before m_nWord
    std::size_t m_nWord = 0;
};

} // namespace narvo::engine
