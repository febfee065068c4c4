// SPDX-License-Identifier: MIT
// Memory of a probe, and its walk along a chain.
#include "host/probe/probe_backend.h"

#include <algorithm>

#include "host/problem.h"

namespace narvo
{

KernelProbe::Backend::Backend(const CConvParam& param, bool horizontal) : m_horizontal(horizontal)
{
    const int longest = std::max(param.rtInspect.Width(), param.rtInspect.Height()) + 16;
    m_store.ConvParam = param;
    if (m_store.InitPixelStorage(longest) < longest || m_store.InitPairStorage(longest) < longest)
        throw HostError({{"memory", "not enough for the hits of one column", "a smaller region"}});
    m_store.nPixelCount = 0;
}

ProbedChain KernelProbe::Backend::MakeChain(int x, int y) const
{
    const int hop = static_cast<int>(std::max<std::int64_t>(Bands().nHop, 1));
    const int place = m_horizontal ? x : y;
    const auto at = [&](int along) { return m_horizontal ? CPoint(along, y) : CPoint(x, along); };
    const auto covers = [&](int along) { return Covers(at(along).x, at(along).y); };
    ProbedChain chain;
    int first = place;
    while (covers(first - hop))
        first -= hop;
    // A pixel behind the scan still has the last links of its chain in front of it.
    if (!covers(first))
        for (const CRect& region = m_store.ConvParam.rtInspect;
             first >= (m_horizontal ? region.left : region.top) && !covers(first);)
            first -= hop;
    while (covers(first - hop))
        first -= hop;
    for (int along = first; covers(along); along += hop)
    {
        ChainLink& link = chain.links.emplace_back();
        link.pixel = Compare(at(along).x, at(along).y, true);
        const engine::CBands bands = Bands();
        const bool last = along > bands.nLastStart && (LastBandFirst() || along >= bands.nFirstEnd);
        link.band = last ? DefectPos_Last : along < bands.nFirstEnd ? DefectPos_First : DefectPos_Middle;
        if (along == place)
            chain.asked = static_cast<int>(chain.links.size()) - 1;
    }
    return chain;
}

} // namespace narvo
