// SPDX-License-Identifier: MIT
// A search in a list of coordinates: where the walk of the grouping pass ends.
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <limits>

namespace narvo::engine
{

/// Finds, in a list of coordinates from which entries are removed, the first entry at or after a place that is greater
/// than a limit: a binary tree of maxima, the list in its leaves.
class CFirstGreater
{
public:
    static constexpr int nOut = std::numeric_limits<int>::min(); ///< not in the list: below every limit asked for

    /// Words of memory for nCount entries.
    static std::size_t GetWords(int nCount) { return 2 * std::bit_ceil(static_cast<std::size_t>(nCount)); }

    CFirstGreater(int* pWords, int nCount)
        : m_pMax(pWords), m_nCount(nCount), m_nLeaves(std::bit_ceil(static_cast<unsigned>(nCount)))
    {
        std::fill(m_pMax + m_nLeaves + m_nCount, m_pMax + 2 * m_nLeaves, nOut);
    }
    void Set(int nEntry, int nValue) { m_pMax[m_nLeaves + static_cast<unsigned>(nEntry)] = nValue; }
    /// To be called when all entries are set.
    void Finish()
    {
        for (unsigned nNode = m_nLeaves - 1; nNode > 0; --nNode)
            m_pMax[nNode] = std::max(m_pMax[2 * nNode], m_pMax[2 * nNode + 1]);
    }
    void TakeOut(int nEntry)
    {
        unsigned nNode = m_nLeaves + static_cast<unsigned>(nEntry);
        m_pMax[nNode] = nOut;
        for (nNode /= 2; nNode > 0; nNode /= 2)
        {
            const int nMax = std::max(m_pMax[2 * nNode], m_pMax[2 * nNode + 1]);
            if (m_pMax[nNode] == nMax)
                return;
            m_pMax[nNode] = nMax;
        }
    }
    /// The entry, or the number of entries if there is none. nLimit is above the lowest int.
    int Find(int nFrom, std::int64_t nLimit) const
    {
        if (nFrom >= m_nCount)
            return m_nCount;
        unsigned nNode = m_nLeaves + static_cast<unsigned>(nFrom);
        while (m_pMax[nNode] <= nLimit)
        {
            while ((nNode & 1U) != 0)
                nNode /= 2;
            if (nNode == 0)
                return m_nCount;
            ++nNode;
        }
        while (nNode < m_nLeaves)
        {
            nNode *= 2;
            if (m_pMax[nNode] <= nLimit)
                ++nNode;
        }
        return static_cast<int>(nNode - m_nLeaves);
    }

private:
    int* m_pMax;
    int m_nCount;
    unsigned m_nLeaves;
};

} // namespace narvo::engine
