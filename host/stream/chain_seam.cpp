// SPDX-License-Identifier: MIT
// Comparison of what two runs hand on at a seam, chain by chain.
#include "host/stream/chain_seam.h"

#include <algorithm>
#include <iterator>

namespace narvo
{

ChainSeam::ChainSeam(int hop, std::size_t capacity) : m_hop(hop)
{
    for (std::vector<Place>* const places : {&m_used, &m_seen, &m_open, &m_closed})
        places->reserve(capacity);
    m_taken.reserve(capacity);
}

void ChainSeam::Begin(std::int64_t row)
{
    m_begin = row;
    m_isFirstRun = true;
    m_open.clear();
    m_taken.clear();
}

ChainSeam::Place ChainSeam::ChainOf(std::int64_t row, int x) const
{
    return {m_begin - m_hop + (row - m_begin) % m_hop, x};
}

void ChainSeam::CollectUsed(std::span<const CDefectPair> pairs, std::int64_t base)
{
    m_seen.clear();
    for (const CDefectPair& pair : pairs)
        if (const std::int64_t row = base + pair.ptDefect.y;
            pair.nDefectPair == DefectPair_Paired && row >= m_begin - m_hop && row < m_begin)
            m_seen.push_back({row, pair.ptDefect.x});
    std::sort(m_seen.begin(), m_seen.end());
}

std::size_t ChainSeam::Take(std::span<const CDefectPair> pairs, std::int64_t base, std::int64_t end)
{
    m_closed.clear();
    if (m_hop > 0 && m_begin > 0)
    {
        CollectUsed(pairs, base);
        if (m_isFirstRun)
            std::set_symmetric_difference(m_used.begin(), m_used.end(), m_seen.begin(), m_seen.end(),
                                          std::back_inserter(m_open));
        else
            std::copy_if(m_open.begin(), m_open.end(), std::back_inserter(m_closed),
                         [this](const Place& place)
                         {
                             return std::binary_search(m_used.begin(), m_used.end(), place) ==
                                    std::binary_search(m_seen.begin(), m_seen.end(), place);
                         });
    }
    for (const CDefectPair& pair : pairs)
    {
        const std::int64_t row = base + pair.ptDefect.y;
        if (row < m_begin || row >= end)
            continue;
        const bool taken =
            m_isFirstRun
                ? m_open.empty() || !std::binary_search(m_open.begin(), m_open.end(), ChainOf(row, pair.ptDefect.x))
                : std::binary_search(m_closed.begin(), m_closed.end(), ChainOf(row, pair.ptDefect.x));
        if (taken)
            m_taken.push_back({row, pair});
    }
    std::erase_if(m_open,
                  [this](const Place& place) { return std::binary_search(m_closed.begin(), m_closed.end(), place); });
    m_isFirstRun = false;
    return m_open.size();
}

void ChainSeam::TakeRest(std::span<const CDefectPair> pairs, std::int64_t base, std::int64_t end)
{
    for (const CDefectPair& pair : pairs)
        if (const std::int64_t row = base + pair.ptDefect.y;
            row >= m_begin && row < end &&
            std::binary_search(m_open.begin(), m_open.end(), ChainOf(row, pair.ptDefect.x)))
            m_taken.push_back({row, pair});
    m_open.clear();
}

void ChainSeam::End(std::int64_t row)
{
    std::erase_if(m_used, [&](const Place& place) { return place.row < row - m_hop; });
    for (const RowPair& taken : m_taken)
        if (taken.pair.nDefectPair == DefectPair_Paired && taken.row >= row - m_hop)
            m_used.push_back({taken.row, taken.pair.ptDefect.x});
    std::sort(m_used.begin(), m_used.end());
}

} // namespace narvo
