// SPDX-License-Identifier: MIT
// Filling of a blob store with complete clusters.
#include "host/stream/blob_assembly.h"

#include <algorithm>
#include <functional>

#include "host/problem.h"
#include "host/stream/run_sort.h"

namespace narvo
{

namespace
{

constexpr int nStrip = 16;       // columns, and the look-ahead of a grouping walk
constexpr int nOutOfReach = 100; // rows between the pairs and those that end walks alone
constexpr int nWalkEnd = -1;     // the cluster of the latter

} // namespace

BlobAssembly::BlobAssembly(const CConvParam& block, bool vertical, int left, int unit)
    : m_vertical(vertical), m_left(left), m_unit(unit)
{
    CConvParam parameters = block;
    parameters.pImage = nullptr;
    m_store.SetConvParam(&parameters);
    m_ends.resize(2 * static_cast<std::size_t>((block.rtInspect.right - left) / unit + 2));
    m_own.reserve(PairClusters::nPairsAtATime);
    m_ending.reserve(PairClusters::nPairsAtATime);
    m_list.reserve(2 * PairClusters::nPairsAtATime);
    m_walkEnds.reserve(PairClusters::nPairsAtATime);
}

void BlobAssembly::Note(const OpenPair& pair)
{
    const int column = (pair.pair.ptDefect.x - m_left) % nStrip;
    if (!m_vertical || m_unit != nStrip || column < nStrip - 2)
        return;
    WalkEnds& ends = EndsOf(pair.unit, pair.pair.nDefectType);
    for (const int kind : {0, 1})
        if (ends.order[kind] == WalkEnds::nNone && column >= nStrip - 2 + kind)
        {
            ends.order[kind] = pair.order;
            ends.x[kind] = pair.pair.ptDefect.x;
        }
}

void BlobAssembly::Build(std::span<const OpenPair> pairs, const TakeBlob& takeBlob, const TakePair& takePair)
{
    while (!pairs.empty())
    {
        std::size_t count = std::min(PairClusters::nPairsAtATime, pairs.size());
        while (count < pairs.size() && pairs[count].cluster == pairs[count - 1].cluster)
            ++count;
        BuildSome(pairs.first(count), takeBlob, takePair);
        pairs = pairs.subspan(count);
    }
}

/// Only pairs in the first two columns of a strip can be reached from the strip before.
void BlobAssembly::ListWalkEnds()
{
    m_walkEnds.clear();
    int unit = -1;
    bool isReached[2] = {false, false};
    const auto add = [&]
    {
        for (const int type : {0, 1})
            for (const int kind : {0, 1})
            {
                const WalkEnds& ends = EndsOf(unit, type);
                if (!isReached[type] || ends.order[kind] == WalkEnds::nNone)
                    continue;
                OpenPair end{};
                end.order = ends.order[kind];
                end.unit = unit;
                end.cluster = nWalkEnd;
                end.pair.ptDefect = CPoint(ends.x[kind], 0);
                end.pair.nDefectType = type;
                m_walkEnds.push_back(end);
            }
    };
    for (const Entry& entry : m_own)
    {
        const OpenPair& pair = *entry.pair;
        if (pair.unit != unit && unit >= 0)
            add();
        if (pair.unit != unit)
            isReached[0] = isReached[1] = false;
        unit = pair.unit;
        isReached[pair.pair.nDefectType] =
            isReached[pair.pair.nDefectType] || (pair.pair.ptDefect.x - m_left) % nStrip < 2;
    }
    if (unit >= 0)
        add();
}

void BlobAssembly::BuildSome(std::span<const OpenPair> pairs, const TakeBlob& takeBlob, const TakePair& takePair)
{
    m_own.clear();
    for (const OpenPair& pair : pairs)
        m_own.emplace_back(pair);
    // Clusters leave in the order of their first pairs, so that few pairs are out of place.
    SortByRuns(m_own, m_list, std::less<>());
    m_ending.clear();
    if (m_vertical && m_unit == nStrip)
    {
        ListWalkEnds();
        for (const OpenPair& end : m_walkEnds)
            m_ending.emplace_back(end);
        std::sort(m_ending.begin(), m_ending.end());
    }
    // A pair comes before its double, which then ends no other walk.
    m_list.resize(m_own.size() + m_ending.size());
    std::merge(m_own.begin(), m_own.end(), m_ending.begin(), m_ending.end(), m_list.begin());
    const auto [first, last] = std::minmax_element(pairs.begin(), pairs.end(),
                                                   [](const OpenPair& a, const OpenPair& b) { return a.row < b.row; });
    const std::int64_t base = first->row;
    const int outside = static_cast<int>(last->row - base) + nOutOfReach + m_store.ConvParam.nMergeDivision;

    const int count = static_cast<int>(m_list.size());
    if (m_store.InitPairStorage(std::max(count, static_cast<int>(2 * PairClusters::nPairsAtATime))) < count ||
        m_store.InitBlobStorage(std::max(count, static_cast<int>(2 * PairClusters::nPairsAtATime))) < count)
        throw HostError({{"memory", "not enough for blobs of " + std::to_string(count) + " pairs", "more memory"}});
    m_store.nBlobCount = 0; // builders clear the records that they take
    m_store.nPairCount = count;
    for (int i = 0; i < count; ++i)
    {
        const OpenPair& open = *m_list[static_cast<std::size_t>(i)].pair;
        m_store.pPair[i] = open.pair;
        m_store.pPair[i].ptDefect.y = open.cluster == nWalkEnd ? outside : static_cast<int>(open.row - base);
    }
    if (m_vertical)
        m_store.BlobDefectVert_NonFilter();
    else
        m_store.BlobDefect_NonFilter();
    m_store.MergeDivision(0, m_store.ConvParam.nMergeDivision);

    for (int i = 0; i < m_store.GetBlobCount(); ++i)
        if (const CDefectBlob& blob = *m_store.GetBlobDefect(i); blob.rtDefect.top < outside)
            takeBlob(base, blob);
    if (takePair)
        for (int i = 0; i < count; ++i)
            if (const OpenPair& open = *m_list[static_cast<std::size_t>(i)].pair; open.cluster != nWalkEnd)
                takePair(open.row, m_store.pPair[i]);
}

} // namespace narvo
