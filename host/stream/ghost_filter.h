// SPDX-License-Identifier: MIT
// Removal of ghosts from a stream of blobs: blobs of an edge band with another blob one pitch inward.
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "host/stream/pair_clusters.h"
#include "narvoassem/defectblob.h"

namespace narvo
{

/// The filter of one band of columns. A blob of an edge band waits until all blobs are known that can lie a pitch
/// inward.
class GhostFilter
{
public:
    /// `pitch` along the direction of the comparison.
    GhostFilter(bool vertical, double pitch, std::size_t capacity);

    using Take = std::function<void(std::int64_t row, const CDefectBlob& blob)>;
    /// A blob whose rows count from `row`; one of no edge band is handed on at once.
    void Add(std::int64_t row, const CDefectBlob& blob, const Take& take);
    /// Every blob that is yet to come lies at or below `horizon`.
    void Settle(std::int64_t horizon, const Take& take);

private:
    struct Neighbour
    {
        StreamBox box;
        std::uint64_t number;
    };
    struct Waiting
    {
        std::int64_t row;
        std::uint64_t number;
        CDefectBlob blob;
        std::int64_t ghostRow;
        int ghostX;
    };
    bool IsGhost(const Waiting& one) const;

    bool m_vertical;
    double m_pitch;
    std::uint64_t m_count = 0;
    std::vector<Neighbour> m_neighbours;
    std::vector<Waiting> m_waiting;
};

} // namespace narvo
