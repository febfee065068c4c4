// SPDX-License-Identifier: MIT
// The choice of a kernel to trace, and the pixels of a chain.
#include "narvoassem/trace/kernel_trace.h"

#include <algorithm>
#include <new>

#include "narvoassem/trace/traced_families.h"

namespace narvo::engine
{

CKernelTrace::CKernelTrace(const CConvParam& param)
{
    const int nLongest = std::max(param.rtInspect.Width(), param.rtInspect.Height()) + 16;
    m_store.ConvParam = param;
    if (m_store.InitPixelStorage(nLongest) < nLongest || m_store.InitPairStorage(nLongest) < nLongest)
        throw std::bad_alloc();
    m_store.nPixelCount = 0;
}

CChainTrace CKernelTrace::MakeChain(int x, int y) const
{
    const int nHop = std::max(m_properties.nHop, 1);
    const int nPlace = m_properties.bHorizontal ? x : y;
    const auto at = [&](int nAlong) { return m_properties.bHorizontal ? CPoint(nAlong, y) : CPoint(x, nAlong); };
    const auto covers = [&](int nAlong) { return Covers(at(nAlong).x, at(nAlong).y); };
    CChainTrace chain;
    int nFirst = nPlace;
    // A pixel behind the scan still has the last links of its chain in front of it.
    const CRect& region = m_store.ConvParam.rtInspect;
    while (!covers(nFirst) && nFirst >= (m_properties.bHorizontal ? region.left : region.top))
        nFirst -= nHop;
    while (covers(nFirst - nHop))
        nFirst -= nHop;
    for (int nAlong = nFirst; covers(nAlong); nAlong += nHop)
    {
        CChainLink& link = chain.links.emplace_back();
        link.pixel = Compare(at(nAlong).x, at(nAlong).y);
        const bool bFirst = nAlong < m_properties.nFirstEnd;
        const bool bLast = nAlong > m_properties.nLastStart && (m_properties.bLastBandFirst || !bFirst);
        link.ePos = bLast ? DefectPos_Last : bFirst ? DefectPos_First : DefectPos_Middle;
        if (nAlong == nPlace)
            chain.nAsked = static_cast<int>(chain.links.size()) - 1;
    }
    return chain;
}

std::unique_ptr<const CKernelTrace> TraceKernel(const CConvParam& param, bool bAsg)
{
    const Comparison eComparison = bAsg ? ChooseAsgComparison(param) : ChooseComparison(param);
    switch (eComparison)
    {
    case Comparison::Zone:
    case Comparison::AsgZone:
        return TraceZoneKernel(param, eComparison == Comparison::AsgZone);
    case Comparison::Pixel:
        return TracePixelKernel(param);
    case Comparison::Float:
        return TraceFloatKernel(param);
    default:
        return nullptr;
    }
}

} // namespace narvo::engine
