// SPDX-License-Identifier: MIT
// The steps behind a seam.
#include "host/stream/stream_band.h"

#include <algorithm>
#include <tuple>

#include "host/inspect/engine_records.h"
#include "host/stream/run_sort.h"

namespace narvo
{

namespace
{

constexpr std::size_t nFirstRoom = 16384; // pairs and blobs before memory grows

/// The engine's windows for grouping reach 3 pixels in vertical builds and 1 in horizontal ones.
int DistanceOf(const Recipe& recipe, bool vertical)
{
    return std::max(recipe.mergeDistance, vertical ? 2 : 0);
}

} // namespace

StreamBand::StreamBand(const Recipe& recipe, const StreamSettings& settings, const StreamPlan& plan,
                       const CConvParam& block, int left, StreamSink& sink, StreamCounts& counts)
    : m_recipe(recipe), m_settings(settings), m_plan(plan), m_sink(sink), m_counts(counts),
      m_seam(plan.hop, nFirstRoom), m_clusters(DistanceOf(recipe, plan.vertical), settings.largestBlob, nFirstRoom),
      m_assembly(block, plan.vertical, left, plan.unitColumns),
      m_ghosts(plan.vertical, plan.vertical ? recipe.RealPitchY() : recipe.RealPitchX(), nFirstRoom)
{
    m_complete.reserve(nFirstRoom);
    m_mixed.reserve(nFirstRoom);
}

/// Pairs of several runs come in the order in which the engine would list those of one.
void StreamBand::SortMixed()
{
    const auto place = [this](const RowPair& one)
    {
        const CDefectPair& pair = one.pair;
        return std::tuple(m_plan.vertical ? m_assembly.UnitOf(pair.ptDefect.x) : 0, one.row,
                          m_plan.brightFirst ? -pair.nDefectType : 0, pair.ptDefect.x);
    };
    SortByRuns(m_seam.Taken(), m_mixed, [&](const RowPair& a, const RowPair& b) { return place(a) < place(b); });
}

void StreamBand::AddPairs()
{
    for (const RowPair& taken : m_seam.Taken())
    {
        ++m_counts.pairs;
        if (taken.pair.nDefectType == DefectType_Removed)
        {
            ReportPair(taken.row, taken.pair);
            continue;
        }
        OpenPair open{taken.row, m_order++, taken.pair, 0, 0};
        open.unit = m_plan.vertical ? m_assembly.UnitOf(taken.pair.ptDefect.x) : 0;
        m_assembly.Note(open);
        m_clusters.Add(open);
    }
}

void StreamBand::EndWindow(std::int64_t next, bool mixed)
{
    m_seam.End(next);
    if (mixed)
        SortMixed();
    AddPairs();
    m_complete.clear();
    m_counts.cutBlobs += m_clusters.Settle(next, m_complete);
    if (m_clusters.Size() > static_cast<std::size_t>(m_settings.maxOpenPairs))
    {
        ++m_counts.crowded;
        m_counts.cutBlobs += m_clusters.CutAll(m_complete);
    }
    const auto report = [this](std::int64_t row, const CDefectBlob& blob) { Report(row, blob); };
    m_assembly.Build(
        m_complete, [&](std::int64_t row, const CDefectBlob& blob) { m_ghosts.Add(row, blob, report); },
        [this](std::int64_t row, const CDefectPair& pair) { ReportPair(row, pair); });
    m_ghosts.Settle(m_clusters.Horizon(next), report);
}

void StreamBand::Report(std::int64_t row, const CDefectBlob& blob)
{
    if (blob.nPairCount < m_recipe.minArea)
        return;
    StreamBlob out{row + blob.rtDefect.top, CopyBlob(blob)};
    const int top = blob.rtDefect.top;
    out.blob.number = static_cast<int>(++m_counts.blobs);
    out.blob.box.OffsetRect(0, -top);
    out.blob.center.y -= top;
    out.blob.peakPlace.y -= top;
    m_sink.OnBlob(out);
}

void StreamBand::ReportPair(std::int64_t row, const CDefectPair& pair)
{
    if (!m_settings.withPairs)
        return;
    StreamPair out{row, CopyPair(pair)};
    out.pair.place.y = 0;
    m_sink.OnPair(out);
}

} // namespace narvo
