// SPDX-License-Identifier: MIT
// Closing of clusters by a sweep down the rows, and the choice of those that nothing can reach any more.
#include "host/stream/pair_clusters.h"

#include <algorithm>

namespace narvo
{

void StreamBox::Include(const StreamBox& other)
{
    top = std::min(top, other.top);
    bottom = std::max(bottom, other.bottom);
    left = std::min(left, other.left);
    right = std::max(right, other.right);
}

PairClusters::PairClusters(int distance, int largest, std::size_t capacity) : m_distance(distance), m_largest(largest)
{
    m_pairs.reserve(capacity);
    m_clusters.reserve(capacity);
    m_sorted.reserve(capacity);
    m_active.reserve(capacity);
}

void PairClusters::Add(const OpenPair& pair)
{
    const int number = static_cast<int>(m_clusters.size());
    const int x = pair.pair.ptDefect.x;
    m_clusters.push_back({{pair.row, pair.row + 1, x, x + 1}, pair.pair.nDefectType, number, false});
    m_pairs.push_back(pair);
    m_pairs.back().cluster = number;
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

/// Sweeps until no box has grown: a box that grew can reach one that the sweep had left behind.
void PairClusters::Join()
{
    const auto at = [this](int i) -> Cluster& { return m_clusters[static_cast<std::size_t>(i)]; };
    m_sorted.clear();
    for (int i = 0; i < static_cast<int>(m_clusters.size()); ++i)
        if (at(i).parent == i)
            m_sorted.push_back(i);
    for (bool grown = true; grown;)
    {
        grown = false;
        std::sort(m_sorted.begin(), m_sorted.end(),
                  [&](int a, int b) { return at(a).box.top != at(b).box.top ? at(a).box.top < at(b).box.top : a < b; });
        m_active.clear();
        for (const int next : m_sorted)
        {
            Cluster& cluster = at(next);
            const std::int64_t row = cluster.box.top; // it moves up where the cluster takes others in
            std::erase_if(m_active,
                          [&](int other)
                          {
                              Cluster& near = at(other);
                              if (near.box.bottom + m_distance < row)
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

/// Leaves the clusters in m_sorted by their ends.
int PairClusters::MarkComplete(std::int64_t end)
{
    const auto at = [this](int i) -> Cluster& { return m_clusters[static_cast<std::size_t>(i)]; };
    std::sort(m_sorted.begin(), m_sorted.end(),
              [&](int a, int b)
              { return at(a).box.bottom != at(b).box.bottom ? at(a).box.bottom > at(b).box.bottom : a < b; });
    int cut = 0;
    for (const int type : {DefectType_Dark, DefectType_Bright})
    {
        // A box may still grow sideways to any column, over all rows from its top on.
        std::int64_t reach = end;
        for (const int i : m_sorted)
        {
            Cluster& cluster = at(i);
            if (cluster.type != type)
                continue;
            cluster.isComplete = cluster.box.bottom + m_distance < reach;
            if (cluster.isComplete)
                continue;
            if (end - cluster.box.top <= m_largest)
            {
                reach = std::min(reach, cluster.box.top);
                continue;
            }
            cluster.isComplete = true;
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
    const std::size_t first = complete.size();
    for (OpenPair& pair : m_pairs)
        pair.cluster = RootOf(pair.cluster);
    std::erase_if(m_pairs,
                  [&](const OpenPair& pair)
                  {
                      const bool leaves = m_clusters[static_cast<std::size_t>(pair.cluster)].isComplete;
                      if (leaves)
                          complete.push_back(pair);
                      return leaves;
                  });
    std::sort(complete.begin() + static_cast<std::ptrdiff_t>(first), complete.end(),
              [](const OpenPair& a, const OpenPair& b)
              { return a.cluster != b.cluster ? a.cluster < b.cluster : a.order < b.order; });

    // The clusters that stay are numbered anew.
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
