// SPDX-License-Identifier: MIT
// One band of columns of a stream, from the pairs of its windows to reported blobs.
#pragma once

#include <cstdint>
#include <vector>

#include "host/recipe/recipe.h"
#include "host/stream/blob_assembly.h"
#include "host/stream/chain_seam.h"
#include "host/stream/ghost_filter.h"
#include "host/stream/pair_clusters.h"
#include "host/stream/stream_plan.h"
#include "host/stream/stream_types.h"
#include "narvoassem/convparam.h"

namespace narvo
{

/// The engine makes the blobs of each of its bands by itself, and so does a stream.
class StreamBand
{
public:
    /// The recipe, the sink and the counts must outlive the object.
    StreamBand(const Recipe& recipe, const StreamSettings& settings, const StreamPlan& plan, const CConvParam& block,
               int left, StreamSink& sink, StreamCounts& counts);

    ChainSeam& Seam() { return m_seam; }
    int LargestBlob() const { return m_settings.largestBlob; }
    /// Goes on with the pairs that the seam has taken. Pairs of the rows from `next` on are yet to come. `mixed`: they
    /// are of several runs.
    void EndWindow(std::int64_t next, bool mixed);

private:
    void SortMixed();
    void AddPairs();
    void Report(std::int64_t row, const CDefectBlob& blob);
    void ReportPair(std::int64_t row, const CDefectPair& pair);

    const Recipe& m_recipe;
    StreamSettings m_settings;
    StreamPlan m_plan;
    StreamSink& m_sink;
    StreamCounts& m_counts;
    ChainSeam m_seam;
    PairClusters m_clusters;
    BlobAssembly m_assembly;
    GhostFilter m_ghosts;
    std::vector<OpenPair> m_complete;
    std::vector<RowPair> m_mixed; ///< for the sorting of pairs of several runs
    std::uint64_t m_order = 0;
};

} // namespace narvo
