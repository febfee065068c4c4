// SPDX-License-Identifier: MIT
// Pairs of a stream by clusters: pairs that can come into one blob are in one cluster, so that blobs of clusters are
// the same whether the clusters are built alone or together.
//
// Pairs of one polarity come into one blob by grouping, over a few pixels, or by merging of blobs whose boxes lie
// within the merge distance. The box of a blob lies within the box of its cluster. So clusters are closed under one
// rule: the boxes of two clusters of one polarity are further apart than both distances.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <vector>

#include "narvoassem/defectpair.h"

namespace narvo
{

/// A pair that waits for its blob to become complete.
struct OpenPair
{
    std::int64_t row;
    std::uint64_t order; ///< of its arrival
    CDefectPair pair;    ///< its own row is not used
    int unit;            ///< strip of columns, in which the engine lists pairs down the rows
    int cluster;
};

/// A box on the endless axis; right and bottom exclusive.
struct StreamBox
{
    std::int64_t top;
    std::int64_t bottom;
    int left;
    int right;

    bool IsWithin(const StreamBox& other, int distance) const
    {
        return bottom + distance >= other.top && top - distance <= other.bottom && right + distance >= other.left &&
               left - distance <= other.right;
    }
    void Include(const StreamBox& other);
};

class PairClusters
{
public:
    /// Pairs whose blobs are built together; of more, clusters are.
    static constexpr std::size_t nPairsAtATime = 4096;
    /// `distance` in pixels, as the engine measures it between boxes.
    PairClusters(int distance, int largest, std::size_t capacity);

    /// The pair's cluster is set here.
    void Add(const OpenPair& pair);
    std::size_t Size() const { return m_pairs.size(); }

    /// Joins clusters after pairs have been added, and moves the pairs of those that are complete to `complete`,
    /// cluster by cluster where they are more than nPairsAtATime. `end`: pairs of the rows from there on are yet to
    /// come; the end of the stream completes all.
    /// @return blobs that were perhaps cut because they are larger than the largest
    int Settle(std::int64_t end, std::vector<OpenPair>& complete);
    /// Completes all clusters at once, after Settle. @return their number
    int CutAll(std::vector<OpenPair>& complete);
    /// No pair that waits, and none that is yet to come, lies above this row.
    std::int64_t Horizon(std::int64_t end) const;

private:
    struct Cluster
    {
        StreamBox box;
        int type;
        int parent; ///< itself while it is one
        bool isComplete;
    };

    /// A cluster in a stretch of columns: places sort by stretch and row in one comparison.
    struct Place
    {
        std::uint64_t order; ///< the stretch above nRowBits, the first row of its box below
        int cluster;

        bool operator<(const Place& other) const { return order < other.order; }
    };
    static constexpr int nRowBits = 52;

    int RootOf(int cluster);
    int StretchOf(int column) const { return std::max(column, 0) >> m_stretchBits; }
    void ListByColumns();
    std::int64_t ReachOf(int type, std::int64_t end);
    void ChooseForJoin(std::int64_t end);
    void Join();
    int MarkComplete(std::int64_t end);
    int CountNearCut();
    void MoveComplete(std::vector<OpenPair>& complete);

    static constexpr int nNone = -1;

    int m_distance;
    int m_stretchBits; ///< of the number of columns that are swept together
    int m_largest;
    std::array<int, 2> m_last = {nNone, nNone}; ///< clusters of the last dark and bright pair since the last Settle
    std::vector<OpenPair> m_pairs;
    std::vector<Cluster> m_clusters;
    std::vector<int> m_sorted;   ///< clusters that are joined, in the order of their first pairs
    std::vector<bool> m_hasPair; ///< of the last rows
    std::vector<int> m_active;
    std::vector<int> m_late; ///< clusters that may wait for rows to come
    std::vector<Place> m_places;
    std::vector<Place> m_merged;       ///< for the sorting of places
    std::vector<std::size_t> m_starts; ///< of each cluster's pairs among those that leave
    std::vector<Cluster> m_cut;        ///< completed by their size alone
};

} // namespace narvo
