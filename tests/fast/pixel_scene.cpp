// See pixel_scene.h.
#include "fast/pixel_scene.h"

#include <sstream>

namespace narvo::test
{

using reference::PixelKernel;

const char* KernelName(PixelKernel eKernel)
{
    switch (eKernel)
    {
    case PixelKernel::Hori:
        return "ConvPixelFast";
    case PixelKernel::HoriTable:
        return "ConvPixelTableFast";
    case PixelKernel::VertDirect:
        return "ConvPixelVertFast";
    case PixelKernel::Vert:
        return "ConvPixelVertSFast";
    case PixelKernel::Vert2:
        return "ConvPixelVertSFast2";
    case PixelKernel::Vtd:
        return "ConvPixelVTDSFast";
    case PixelKernel::Vtd2:
        return "ConvPixelVTDSFast2";
    case PixelKernel::HoriIntrin:
        return "ConvPixel_Intrin";
    case PixelKernel::VertIntrin:
        return "ConvPixelVertS_Intrin";
    case PixelKernel::VtdIntrin:
        return "ConvPixelVTDS_Intrin";
    case PixelKernel::WideVert:
        return "ConvPixelVert_AVX";
    case PixelKernel::WideVtd:
        return "ConvPixelVTDS_Intrin_AVX";
    case PixelKernel::VertMask:
        return "ConvPixelVertMask";
    }
    return "unknown";
}

bool IsHorizontal(PixelKernel eKernel)
{
    return eKernel == PixelKernel::Hori || eKernel == PixelKernel::HoriTable || eKernel == PixelKernel::HoriIntrin;
}

bool HasRowTable(PixelKernel eKernel)
{
    return eKernel == PixelKernel::Vtd || eKernel == PixelKernel::Vtd2 || eKernel == PixelKernel::VtdIntrin ||
           eKernel == PixelKernel::WideVtd;
}

const std::vector<PixelKernel>& AllPixelKernels()
{
    static const std::vector<PixelKernel> aKernels = {
        PixelKernel::Hori,       PixelKernel::HoriTable, PixelKernel::VertDirect, PixelKernel::Vert,
        PixelKernel::Vert2,      PixelKernel::Vtd,       PixelKernel::Vtd2,       PixelKernel::HoriIntrin,
        PixelKernel::VertIntrin, PixelKernel::VtdIntrin, PixelKernel::WideVert,   PixelKernel::WideVtd,
        PixelKernel::VertMask};
    return aKernels;
}

std::string CPixelScene::Describe() const
{
    std::ostringstream out;
    out << KernelName(eKernel) << " region " << call.region.nLeft << ',' << call.region.nTop << " to "
        << call.region.nRight << ',' << call.region.nBottom << " stride " << call.image.nStride << " pitch16 "
        << call.nPitch16 << " hits " << aStartHits.size() << '/' << call.hits.nSize << " pairs " << call.pairs.nCount
        << '/' << call.pairs.nSize << " keep " << call.bKeepSingle << " limit " << call.nGrayLimit << " thresholds "
        << call.nThreshold << '+' << call.nThresholdGain << " and " << call.nBlackFilterGray << '+'
        << call.nBlackFilterGain << " shift " << call.nVtdPitch16 << " table " << (call.pScanPitchTable != nullptr)
        << " mask " << (call.pMask != nullptr);
    return out.str();
}

void RunReference(const CPixelScene& scene, CKernelOutcome& outcome)
{
    const auto nStart = static_cast<std::int64_t>(scene.aStartHits.size());
    outcome.Prepare(scene.call.hits.nSize, scene.aStartHits, scene.call.pairs.nCount, scene.call.pairs.nSize);
    reference::CPixelReferenceCall call = scene.call;
    call.hits = outcome.HitArrays(scene.call.hits.nSize, nStart);
    call.pairs = outcome.PairSink(scene.call.pairs.nCount, scene.call.pairs.nSize);
    call.pEndLine = &outcome.nEndLine;
    call.pParam = &scene.param;
    outcome.nReturned = reference::RunPixelKernel(scene.eKernel, call);
}

} // namespace narvo::test
