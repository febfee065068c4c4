// SPDX-License-Identifier: MIT
// Closing of clusters by a sweep down the rows, and the choice of those that nothing can reach any more.
#include "host/stream/pair_clusters.h"

#include <algorithm>
#include <bit>
#include <functional>
#include <limits>

#include "host/stream/run_sort.h"

namespace narvo
{

namespace
{

constexpr unsigned nStripColumns = 16; // of a strip of the engine's, down whose rows pairs come
constexpr int nGapRows = 4096;         // in which a gap is looked for
constexpr unsigned nReaches = 4;       // a stretch is at least so many distances wide

} // namespace

void StreamBox::Include(const StreamBox& other)
{
    top = std::min(top, other.top);
    bottom = std::max(bottom, other.bottom);
    left = std::min(left, other.left);
    right = std::max(right, other.right);
}

PairClusters::PairClusters(int distance, int largest, std::size_t capacity)
    : m_distance(distance),
      m_stretchBits(std::bit_width(std::max(nStripColumns, nReaches * static_cast<unsigned>(distance)) - 1)),
      m_largest(largest)
{
    m_pairs.reserve(capacity);
    m_clusters.reserve(capacity);
    m_sorted.reserve(capacity);
    m_active.reserve(capacity);
    m_late.reserve(capacity);
    m_places.reserve(2 * capacity);
    m_merged.reserve(2 * capacity);
    m_starts.reserve(capacity + 1);
}

/// The pairs of a blob mostly come one after the other: most joins are found here, where they cost least.
void PairClusters::Add(const OpenPair& pair)
{
    const int x = pair.pair.ptDefect.x;
    const StreamBox box{pair.row, pair.row + 1, x, x + 1};
    int& last = m_last[pair.pair.nDefectType == DefectType_Bright ? 1 : 0];
    if (last != nNone && m_clusters[static_cast<std::size_t>(last)].box.IsWithin(box, m_distance))
        m_clusters[static_cast<std::size_t>(last)].box.Include(box);
    else
    {
        last = static_cast<int>(m_clusters.size());
        m_clusters.push_back({box, pair.pair.nDefectType, last, false});
    }
    m_pairs.push_back(pair);
    m_pairs.back().cluster = last;
}

int PairClusters::RootOf(int cluster)
{
    while (m_clusters[static_cast<std::size_t>(cluster)].parent != cluster)
    {
        Cluster& one = m_clusters[static_cast<std::size_t>(cluster)];
        one.parent = m_clusters[static_cast<std::size_t>(one.parent)].parent;
        cluster = one.parent;
    }
    return cluster;
}

/// Lists every cluster in each stretch of columns that it reaches into: two that are within the distance share one.
/// Clusters come strip by strip down the rows, and so do these lists of the stretches in which they begin, of those
/// before and of those behind.
void PairClusters::ListByColumns()
{
    m_places.clear();
    const auto add = [this](int stretch, const Cluster& cluster, int number)
    {
        m_places.push_back(
            {static_cast<std::uint64_t>(stretch) << nRowBits | static_cast<std::uint64_t>(cluster.box.top), number});
    };
    const auto list = [this](const auto& addTo)
    {
        for (const int number : m_sorted)
            addTo(m_clusters[static_cast<std::size_t>(number)], number);
    };
    list([&](const Cluster& cluster, int number) { add(StretchOf(cluster.box.left), cluster, number); });
    list(
        [&](const Cluster& cluster, int number)
        {
            for (int i = StretchOf(cluster.box.left - m_distance); i < StretchOf(cluster.box.left); ++i)
                add(i, cluster, number);
        });
    list(
        [&](const Cluster& cluster, int number)
        {
            for (int i = StretchOf(cluster.box.left) + 1; i <= StretchOf(cluster.box.right + m_distance); ++i)
                add(i, cluster, number);
        });
    SortByRuns(m_places, m_merged, std::less<>());
}

/// The row above which no pair to come can reach, however it joins those that wait: behind a gap between their rows.
std::int64_t PairClusters::ReachOf(int type, std::int64_t end)
{
    m_hasPair.assign(nGapRows, false);
    for (const OpenPair& pair : m_pairs)
        if (pair.pair.nDefectType == type && pair.row >= end - nGapRows)
            m_hasPair[static_cast<std::size_t>(end - 1 - pair.row)] = true;
    int reach = 0; // rows above the end
    for (int i = 0; i < nGapRows && i <= reach + m_distance; ++i)
        if (m_hasPair[static_cast<std::size_t>(i)])
            reach = i + 1;
    return reach + m_distance < nGapRows ? end - reach : std::numeric_limits<std::int64_t>::min();
}

/// Only clusters that may wait need joining, unless blobs of the others cannot be built at once, or parts of them have
/// left already.
void PairClusters::ChooseForJoin(std::int64_t end)
{
    const bool isAll = m_pairs.size() > nPairsAtATime || !m_cut.empty();
    std::int64_t reach[2] = {};
    for (const int type : {DefectType_Dark, DefectType_Bright})
        reach[type == DefectType_Bright ? 1 : 0] = isAll ? 0 : ReachOf(type, end);
    m_sorted.clear();
    for (int i = 0; i < static_cast<int>(m_clusters.size()); ++i)
    {
        Cluster& cluster = m_clusters[static_cast<std::size_t>(i)];
        cluster.isComplete =
            !isAll && cluster.box.bottom + m_distance < reach[cluster.type == DefectType_Bright ? 1 : 0];
        if (!cluster.isComplete)
            m_sorted.push_back(i);
    }
}

/// Sweeps until no box has grown: a box that grew can reach one that the sweep had left behind.
void PairClusters::Join()
{
    const auto at = [this](int i) -> Cluster& { return m_clusters[static_cast<std::size_t>(i)]; };
    for (bool grown = true; grown;)
    {
        grown = false;
        ListByColumns();
        m_active.clear();
        std::uint64_t stretch = 0;
        for (const Place& place : m_places)
        {
            if (place.order >> nRowBits != stretch)
                m_active.clear();
            stretch = place.order >> nRowBits;
            const auto top = static_cast<std::int64_t>(place.order & ((std::uint64_t{1} << nRowBits) - 1));
            const int next = RootOf(place.cluster);
            Cluster& cluster = at(next);
            std::erase_if(m_active,
                          [&](int other)
                          {
                              const int root = RootOf(other);
                              Cluster& near = at(root);
                              if (root == next || near.box.bottom + m_distance < top)
                                  return true;
                              if (near.type != cluster.type || !near.box.IsWithin(cluster.box, m_distance))
                                  return false;
                              cluster.box.Include(near.box);
                              near.parent = next;
                              grown = true;
                              return true;
                          });
            m_active.push_back(next);
        }
        std::erase_if(m_sorted, [&](int i) { return at(i).parent != i; });
    }
}

/// Complete is what nothing can reach any more: a box may still grow sideways to any column, over all rows from the top
/// of one that is not complete. Passes go on until that row stays.
int PairClusters::MarkComplete(std::int64_t end)
{
    int cut = 0;
    m_late.clear();
    for (const int number : m_sorted)
    {
        Cluster& cluster = m_clusters[static_cast<std::size_t>(number)];
        cluster.isComplete = true;
        if (cluster.box.bottom + m_distance >= end - m_largest) // as far up as that row can lie
            m_late.push_back(number);
    }
    for (const int type : {DefectType_Dark, DefectType_Bright})
    {
        std::int64_t reach = end;
        for (std::int64_t before = reach + 1; reach < before;)
        {
            before = reach;
            for (const int number : m_late)
            {
                Cluster& cluster = m_clusters[static_cast<std::size_t>(number)];
                if (cluster.type != type || cluster.box.bottom + m_distance < reach ||
                    end - cluster.box.top > m_largest)
                    continue;
                cluster.isComplete = false;
                reach = std::min(reach, cluster.box.top);
            }
        }
        for (const int number : m_late)
        {
            const Cluster& cluster = m_clusters[static_cast<std::size_t>(number)];
            if (cluster.type != type || cluster.box.bottom + m_distance < reach || end - cluster.box.top <= m_largest)
                continue;
            cut += cluster.box.bottom + m_distance >= end ? 1 : 0;
            m_cut.push_back(cluster);
        }
    }
    return cut;
}

/// Clusters that come near a part which has left already; each part is counted once.
int PairClusters::CountNearCut()
{
    const std::size_t before = m_cut.size();
    std::erase_if(m_cut,
                  [this](const Cluster& cut)
                  {
                      return std::any_of(m_sorted.begin(), m_sorted.end(),
                                         [&](int i)
                                         {
                                             const Cluster& cluster = m_clusters[static_cast<std::size_t>(i)];
                                             return cluster.type == cut.type &&
                                                    cluster.box.IsWithin(cut.box, m_distance);
                                         });
                  });
    return static_cast<int>(before - m_cut.size());
}

int PairClusters::Settle(std::int64_t end, std::vector<OpenPair>& complete)
{
    ChooseForJoin(end);
    Join();
    const int near = CountNearCut();
    const int cut = MarkComplete(end);
    MoveComplete(complete);
    const std::int64_t horizon = Horizon(end);
    std::erase_if(m_cut, [&](const Cluster& one) { return one.box.bottom + m_distance < horizon; });
    return near + cut;
}

void PairClusters::MoveComplete(std::vector<OpenPair>& complete)
{
    // Pairs wait in the order of their arrival and leave in it, cluster by cluster: each has its place by counting.
    m_starts.assign(m_clusters.size() + 1, complete.size());
    for (OpenPair& pair : m_pairs)
    {
        pair.cluster = RootOf(pair.cluster);
        if (m_clusters[static_cast<std::size_t>(pair.cluster)].isComplete)
            ++m_starts[static_cast<std::size_t>(pair.cluster) + 1];
    }
    for (std::size_t i = 1; i < m_starts.size(); ++i)
        m_starts[i] += m_starts[i - 1] - complete.size();
    complete.resize(m_starts.back());
    std::erase_if(m_pairs,
                  [&](const OpenPair& pair)
                  {
                      const bool leaves = m_clusters[static_cast<std::size_t>(pair.cluster)].isComplete;
                      if (leaves)
                          complete[m_starts[static_cast<std::size_t>(pair.cluster)]++] = pair;
                      return leaves;
                  });

    // The clusters that stay are numbered anew.
    m_last = {nNone, nNone};
    int count = 0;
    for (std::size_t i = 0; i < m_clusters.size(); ++i)
    {
        Cluster& cluster = m_clusters[i];
        const bool stays = cluster.parent == static_cast<int>(i) && !cluster.isComplete;
        cluster.parent = stays ? count : -1;
        count += stays ? 1 : 0;
    }
    for (OpenPair& pair : m_pairs)
        pair.cluster = m_clusters[static_cast<std::size_t>(pair.cluster)].parent;
    std::erase_if(m_clusters, [](const Cluster& cluster) { return cluster.parent < 0; });
}

int PairClusters::CutAll(std::vector<OpenPair>& complete)
{
    const int count = static_cast<int>(m_clusters.size());
    for (Cluster& cluster : m_clusters)
        cluster.isComplete = true;
    m_cut.insert(m_cut.end(), m_clusters.begin(), m_clusters.end());
    MoveComplete(complete);
    return count;
}

std::int64_t PairClusters::Horizon(std::int64_t end) const
{
    for (const Cluster& cluster : m_clusters)
        end = std::min(end, cluster.box.top);
    return end;
}

} // namespace narvo
