// See pixel_scene.h.
#include "fast/pixel_scene.h"

#include <sstream>

namespace narvo::test
{

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
    case PixelKernel::Vtds:
        return "ConvPixelVTDSFast";
    case PixelKernel::Vtds2:
        return "ConvPixelVTDSFast2";
    case PixelKernel::HoriIntrin:
        return "ConvPixel_Intrin";
    case PixelKernel::VertIntrin:
        return "ConvPixelVertS_Intrin";
    case PixelKernel::VtdsIntrin:
        return "ConvPixelVTDS_Intrin";
    case PixelKernel::VertWide:
        return "ConvPixelVert_AVX";
    case PixelKernel::VtdsWide:
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
    return eKernel == PixelKernel::Vtds || eKernel == PixelKernel::Vtds2 || eKernel == PixelKernel::VtdsIntrin ||
           eKernel == PixelKernel::VtdsWide;
}

bool IsMember(PixelKernel eKernel)
{
    return eKernel == PixelKernel::HoriIntrin || eKernel == PixelKernel::VertIntrin ||
           eKernel == PixelKernel::VtdsIntrin;
}

const std::vector<PixelKernel>& AllPixelKernels()
{
    static const std::vector<PixelKernel> aKernels = {
        PixelKernel::Hori,       PixelKernel::HoriTable,  PixelKernel::VertDirect, PixelKernel::Vert,
        PixelKernel::Vert2,      PixelKernel::Vtds,       PixelKernel::Vtds2,      PixelKernel::HoriIntrin,
        PixelKernel::VertIntrin, PixelKernel::VtdsIntrin, PixelKernel::VertWide,   PixelKernel::VtdsWide,
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
        << call.first.nBase << '+' << call.first.nGain << " and " << call.second.nBase << '+' << call.second.nGain
        << " shift " << call.nVtdPitch16 << " table " << (call.pScanPitchTable != nullptr) << " mask "
        << (call.pMask != nullptr);
    return out.str();
}

CPixelCall CallOf(const CPixelScene& scene, CKernelOutcome& outcome)
{
    const auto nStart = static_cast<std::int64_t>(scene.aStartHits.size());
    outcome.Prepare(scene.call.hits.nSize, scene.aStartHits, scene.call.pairs.nCount, scene.call.pairs.nSize);
    CPixelCall call = scene.call;
    call.hits = outcome.HitArrays(scene.call.hits.nSize, nStart);
    call.pairs = outcome.PairSink(scene.call.pairs.nCount, scene.call.pairs.nSize);
    call.pEndLine = &outcome.nEndLine;
    call.pParam = IsMember(scene.eKernel) ? &scene.param : nullptr;
    return call;
}

void RunReference(const CPixelScene& scene, CKernelOutcome& outcome)
{
    const CPixelCall call = CallOf(scene, outcome);
    outcome.nReturned = reference::RunPixelKernel(scene.eKernel, call);
}

} // namespace narvo::test
