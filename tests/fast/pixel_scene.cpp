// SPDX-License-Identifier: MIT
// See pixel_scene.h.
#include "fast/pixel_scene.h"

#include <sstream>

#include "fast/kernel_list.h"

namespace narvo::test
{

const char* KernelName(PixelKernel eKernel)
{
    return engine::GetKernelRow(eKernel).pName;
}

bool IsHorizontal(PixelKernel eKernel)
{
    return engine::GetKernelRow(eKernel).traits.scan.bHorizontal;
}

bool HasRowTable(PixelKernel eKernel)
{
    return engine::GetKernelRow(eKernel).traits.scan.bRowTable;
}

bool IsMember(PixelKernel eKernel)
{
    return engine::GetKernelRow(eKernel).eHome == engine::KernelHome::Engine;
}

const std::vector<PixelKernel>& AllPixelKernels()
{
    static const std::vector<PixelKernel> aKernels = ListKernels(engine::pixelKernels);
    return aKernels;
}

std::string CPixelScene::Describe() const
{
    std::ostringstream out;
    out << KernelName(eKernel) << " region " << call.region.nLeft << ',' << call.region.nTop << " to "
        << call.region.nRight << ',' << call.region.nBottom << " stride " << call.image.nStride << " pitch16 "
        << call.nPitch16 << " hits " << aStartHits.size() << '/' << call.hits.nSize << " pairs " << call.pairs.nCount
        << '/' << call.pairs.nSize << " keep " << call.bKeepSingle << " limit " << call.nGrayLimit << " thresholds "
        << call.first.nBase << '+' << call.first.nGain << " and " << call.second.nBase << '+' << call.second.nGain
        << " shift " << call.nVtdPitch16 << " table " << (call.pScanPitchTable != nullptr) << " mask "
        << (call.pMask != nullptr);
    return out.str();
}

engine::CPixelCall CallOf(const CPixelScene& scene, CKernelOutcome& outcome)
{
    const auto nStart = static_cast<std::int64_t>(scene.aStartHits.size());
    outcome.Prepare(scene.call.hits.nSize, scene.aStartHits, scene.call.pairs.nCount, scene.call.pairs.nSize);
    engine::CPixelCall call = scene.call;
    call.hits = outcome.HitArrays(scene.call.hits.nSize, nStart);
    call.pairs = outcome.PairSink(scene.call.pairs.nCount, scene.call.pairs.nSize);
    call.pEndLine = &outcome.nEndLine;
    call.pParam = IsMember(scene.eKernel) ? &scene.param : nullptr;
    return call;
}

void RunReference(const CPixelScene& scene, CKernelOutcome& outcome)
{
    const engine::CPixelCall call = CallOf(scene, outcome);
    outcome.nReturned = reference::RunPixelKernel(scene.eKernel, call);
}

} // namespace narvo::test
