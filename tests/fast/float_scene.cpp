// SPDX-License-Identifier: MIT
// See float_scene.h.
#include "fast/float_scene.h"

#include <sstream>

#include "fast/kernel_list.h"
#include "narvoassem/pairstorage.h"

namespace narvo::test
{

const char* KernelName(FloatKernel eKernel)
{
    return engine::GetKernelRow(eKernel).pName;
}

bool IsHorizontal(FloatKernel eKernel)
{
    return engine::GetKernelRow(eKernel).traits.bHorizontal;
}

bool HasColumnTables(FloatKernel eKernel)
{
    return engine::GetKernelRow(eKernel).traits.HasColumnTables();
}

bool IsVtd(FloatKernel eKernel)
{
    return engine::GetKernelRow(eKernel).traits.bShifted;
}

bool IsMember(FloatKernel eKernel)
{
    return engine::GetKernelRow(eKernel).eHome == engine::KernelHome::Engine;
}

int WindowArea(FloatKernel eKernel)
{
    return engine::GetKernelRow(eKernel).traits.Area();
}

const std::vector<FloatKernel>& AllFloatKernels()
{
    static const std::vector<FloatKernel> aKernels = []
    {
        std::vector<FloatKernel> aAll = ListKernels(engine::floatKernels);
        std::erase_if(aAll, [](FloatKernel eKernel)
                      { return engine::GetKernelRow(eKernel).eHome == engine::KernelHome::Protected; });
        return aAll;
    }();
    return aKernels;
}

std::string CFloatScene::Describe() const
{
    std::ostringstream out;
    out << KernelName(eKernel) << " region " << call.region.nLeft << ',' << call.region.nTop << " to "
        << call.region.nRight << ',' << call.region.nBottom << " stride " << call.image.nStride << " pitch16 "
        << call.nPitch16 << " hits " << aStartHits.size() << '/' << call.hits.nSize << " pairs " << call.pairs.nCount
        << '/' << call.pairs.nSize << " keep " << param.bKeepSingle << " limit " << call.nGrayLimit << " thresholds "
        << call.first.nBase << '+' << call.first.nGain << " and " << param.nBlackFilterGray << '+'
        << param.nBlackFilterGain << " shift " << call.nVtdPitch16 << " table " << (call.pScanPitchTable != nullptr);
    return out.str();
}

std::string CFloatRegionScene::Describe() const
{
    std::ostringstream out;
    out << (bPlain ? "ConvFloatVJF_Cpp" : "ConvFloatVJF_Intrin") << " region " << rtRegion.left << ',' << rtRegion.top
        << " to " << rtRegion.right << ',' << rtRegion.bottom << " image " << param.nImageWidth << 'x'
        << param.nImageHeight << " pitch " << param.dScanPitch << " x " << param.nScanMultiple << " hits " << nHitSize
        << " pairs " << nPairCount << '/' << nPairSize << " limit " << param.nGrayLimit << " thresholds "
        << param.nThreshold << '+' << param.nThresholdGain << " and " << param.nBlackFilterGray << '+'
        << param.nBlackFilterGain;
    return out.str();
}

engine::CFloatCall CallOf(const CFloatScene& scene, CKernelOutcome& outcome)
{
    const auto nStart = static_cast<std::int64_t>(scene.aStartHits.size());
    outcome.Prepare(scene.call.hits.nSize, scene.aStartHits, scene.call.pairs.nCount, scene.call.pairs.nSize);
    engine::CFloatCall call = scene.call;
    call.hits = outcome.HitArrays(scene.call.hits.nSize, nStart);
    call.pairs = outcome.PairSink(scene.call.pairs.nCount, scene.call.pairs.nSize);
    call.pEndLine = &outcome.nEndLine;
    call.pParam = IsMember(scene.eKernel) ? &scene.param : nullptr;
    return call;
}

void RunReference(const CFloatScene& scene, CKernelOutcome& outcome)
{
    const engine::CFloatCall call = CallOf(scene, outcome);
    outcome.nReturned = reference::RunFloatKernel(scene.eKernel, call);
}

void RunReference(const CFloatRegionScene& scene, CKernelOutcome& outcome)
{
    CPairStorage filters; // for the jump filter, which belongs to the stores
    filters.ConvParam = scene.param;

    outcome.Prepare(scene.nHitSize, {}, scene.nPairCount, scene.nPairSize);
    reference::CFloatRegionCall call;
    call.pParam = &scene.param;
    call.hits = outcome.HitArrays(scene.nHitSize, 0);
    call.pairs = outcome.PairSink(scene.nPairCount, scene.nPairSize);
    call.rtRegion = scene.rtRegion;
    call.pEndLine = &outcome.nEndLine;
    call.fnJumpFilter = [&filters](CDefectPair* pPair, CRect rtArea)
    { return filters.JumpFilter_Vert2by2(pPair, rtArea); };
    outcome.nReturned = scene.bPlain ? reference::RunFloatRegionCpp(call) : reference::RunFloatRegionIntrin(call);
}

} // namespace narvo::test
