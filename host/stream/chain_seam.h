// SPDX-License-Identifier: MIT
// Joins the pairs of vertical windows at the row where one takes over from the other.
//
// A vertical kernel goes down each column and takes the answers, hits, in order: a hit that an earlier one has used as
// the second answer of its pair is skipped, any other looks for a second answer one hop below. So what becomes of a
// place depends on the place a hop above it, and through it on all places above at whole hops: a chain. All that one
// place hands to the next is whether its hit is used, and it is used exactly where a record of a pair stands. A place
// either hands on "free" whatever it was handed, which ends the chain, or the opposite of what it was handed.
//
// Two runs over the same rows that agree in what the places of one hop hand on therefore agree below. A run that starts
// at another row than the earlier windows may disagree, in chains that reach beyond its start. A run that starts one
// chain place further up hands on the opposite in those, or sees where the chain begins: one of both agrees.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "narvoassem/defectpair.h"

namespace narvo
{

/// A pair record with its row in the stream.
struct RowPair
{
    std::int64_t row;
    CDefectPair pair; ///< its own row is not used
};

/// The seam of one band of columns.
/// Columns from `first` to `last`, both included; none where `first` is behind `last`.
struct ColumnRange
{
    int first;
    int last;
};

class ChainSeam
{
public:
    /// `hop`: rows between the places of a chain; 0 where rows do not depend on each other.
    ChainSeam(int hop, std::size_t capacity);

    /// Begins a window that settles the rows from `row` on.
    void Begin(std::int64_t row);
    /// Takes from a run's pairs what agrees with the window before, of rows before `end`. `base`: the row that their
    /// places count from. @return chains that do not agree
    std::size_t TakeFirst(std::span<const CDefectPair> pairs, std::int64_t base, std::int64_t end);
    struct Repair
    {
        std::size_t open = 0; ///< chains that do not agree yet
        bool goesOn = false;  ///< some agree with the window before, but not with the first run at their end
    };
    /// The columns between which the chains lie that do not agree.
    ColumnRange OpenColumns() const;
    /// Takes chains that did not agree from a run that starts elsewhere and may end earlier: its pairs before `end`,
    /// and from there on those of the first run, where both use the same places in the hop before `end`.
    Repair TakeRepair(std::span<const CDefectPair> pairs, std::int64_t base, std::int64_t end);
    /// Takes chains that agree in no run, as the first run has them.
    void TakeRest();
    /// What has been taken in this window, run by run in the engine's order.
    std::vector<RowPair>& Taken() { return m_taken; }
    /// Ends the window: the next one begins with `row`.
    void End(std::int64_t row);

private:
    struct Place
    {
        std::int64_t row;
        int x;
        auto operator<=>(const Place& other) const = default;
    };
    /// The place of a chain in the hop before the window's first row.
    Place ChainOf(std::int64_t row, int x) const;
    bool IsIn(const std::vector<Place>& chains, std::int64_t row, int x) const;
    void CollectUsed(std::span<const CDefectPair> pairs, std::int64_t base);
    void CompareAtEnd(std::span<const CDefectPair> pairs, std::int64_t base, std::int64_t end);

    int m_hop;
    std::int64_t m_begin = 0;
    std::int64_t m_end = 0;
    std::vector<Place> m_used; ///< in the hop before the window, as earlier windows have it
    std::vector<Place> m_seen; ///< as a run has it
    std::vector<Place> m_open; ///< where they differ
    std::vector<Place> m_odd;
    std::vector<Place> m_closed;
    std::vector<RowPair> m_taken;
    std::vector<RowPair> m_held; ///< of the first run, in open chains
};

} // namespace narvo
