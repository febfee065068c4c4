// SPDX-License-Identifier: MIT
// Comparison of what two runs hand on at a seam, chain by chain.
#include "host/stream/chain_seam.h"

#include <algorithm>
#include <iterator>
#include <limits>

namespace narvo
{

ChainSeam::ChainSeam(int hop, std::size_t capacity) : m_hop(hop)
{
    for (std::vector<Place>* const places : {&m_used, &m_seen, &m_open, &m_odd, &m_closed})
        places->reserve(capacity);
    m_taken.reserve(capacity);
    m_held.reserve(capacity);
}

void ChainSeam::Begin(std::int64_t row)
{
    m_begin = row;
    m_open.clear();
    m_taken.clear();
    m_held.clear();
}

ChainSeam::Place ChainSeam::ChainOf(std::int64_t row, int x) const
{
    return {m_begin - m_hop + (row - m_begin) % m_hop, x};
}

bool ChainSeam::IsIn(const std::vector<Place>& chains, std::int64_t row, int x) const
{
    return !chains.empty() && std::binary_search(chains.begin(), chains.end(), ChainOf(row, x));
}

/// The places of the hop before the window that a run uses.
void ChainSeam::CollectUsed(std::span<const CDefectPair> pairs, std::int64_t base)
{
    m_seen.clear();
    for (const CDefectPair& pair : pairs)
        if (const std::int64_t row = base + pair.ptDefect.y;
            pair.nDefectPair == DefectPair_Paired && row >= m_begin - m_hop && row < m_begin)
            m_seen.push_back({row, pair.ptDefect.x});
    std::sort(m_seen.begin(), m_seen.end());
}

std::size_t ChainSeam::TakeFirst(std::span<const CDefectPair> pairs, std::int64_t base, std::int64_t end)
{
    m_end = end;
    if (m_hop > 0 && m_begin > 0)
    {
        CollectUsed(pairs, base);
        std::set_symmetric_difference(m_used.begin(), m_used.end(), m_seen.begin(), m_seen.end(),
                                      std::back_inserter(m_open));
    }
    for (const CDefectPair& pair : pairs)
        if (const std::int64_t row = base + pair.ptDefect.y; row >= m_begin && row < end)
            (IsIn(m_open, row, pair.ptDefect.x) ? m_held : m_taken).push_back({row, pair});
    return m_open.size();
}

ColumnRange ChainSeam::OpenColumns() const
{
    ColumnRange columns{std::numeric_limits<int>::max(), -1};
    for (const Place& place : m_open)
        columns = {std::min(columns.first, place.x), std::max(columns.last, place.x)};
    return columns;
}

/// Leaves the chains in m_odd in which the first run and these pairs differ in what they use in the hop before `end`.
void ChainSeam::CompareAtEnd(std::span<const CDefectPair> pairs, std::int64_t base, std::int64_t end)
{
    m_odd.clear();
    if (end >= m_end)
        return;
    const auto add = [&](std::int64_t row, const CDefectPair& pair)
    {
        if (pair.nDefectPair == DefectPair_Paired && row >= end - m_hop && row < end &&
            IsIn(m_open, row, pair.ptDefect.x))
            m_odd.push_back(ChainOf(row, pair.ptDefect.x));
    };
    for (const RowPair& held : m_held)
        add(held.row, held.pair);
    for (const CDefectPair& pair : pairs)
        add(base + pair.ptDefect.y, pair);
    // Chains that both use are there twice.
    std::sort(m_odd.begin(), m_odd.end());
    std::size_t kept = 0;
    for (std::size_t i = 0; i < m_odd.size(); ++i)
        if (i + 1 < m_odd.size() && m_odd[i] == m_odd[i + 1])
            ++i;
        else
            m_odd[kept++] = m_odd[i];
    m_odd.resize(kept);
}

ChainSeam::Repair ChainSeam::TakeRepair(std::span<const CDefectPair> pairs, std::int64_t base, std::int64_t end)
{
    CollectUsed(pairs, base);
    CompareAtEnd(pairs, base, end);
    Repair repair;
    m_closed.clear();
    for (const Place& place : m_open)
    {
        if (std::binary_search(m_used.begin(), m_used.end(), place) !=
            std::binary_search(m_seen.begin(), m_seen.end(), place))
            continue;
        if (std::binary_search(m_odd.begin(), m_odd.end(), place))
            repair.goesOn = true;
        else
            m_closed.push_back(place);
    }
    for (const CDefectPair& pair : pairs)
        if (const std::int64_t row = base + pair.ptDefect.y;
            row >= m_begin && row < end && IsIn(m_closed, row, pair.ptDefect.x))
            m_taken.push_back({row, pair});
    std::erase_if(m_held,
                  [&](const RowPair& held)
                  {
                      const bool closed = IsIn(m_closed, held.row, held.pair.ptDefect.x);
                      if (closed && held.row >= end)
                          m_taken.push_back(held);
                      return closed;
                  });
    std::erase_if(m_open,
                  [this](const Place& place) { return std::binary_search(m_closed.begin(), m_closed.end(), place); });
    repair.open = m_open.size();
    return repair;
}

void ChainSeam::TakeRest()
{
    m_taken.insert(m_taken.end(), m_held.begin(), m_held.end());
    m_held.clear();
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
