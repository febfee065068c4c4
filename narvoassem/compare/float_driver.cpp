// The float comparison: from the parameters to one kernel or the free-form region, and from its pairs to blobs.
#include "narvoassem/compare/float_driver.h"

#include "narvoassem/compare/compare_chain.h"
#include "narvoassem/con_buff.h"
#include "narvoassem/fixed_pitch.h"
#include "narvoassem/narvoassem.h"
#include "narvoassem/wrap_int.h"

namespace narvo
{
namespace
{

CFloatChoice UseKernel(FloatKernel eKernel)
{
    return {CFloatChoice::Path::Kernel, eKernel};
}

CFloatChoice ChooseHorizontal(const CConvParam& param, int nArea)
{
    if (param.pConvPitchTable != nullptr)
        return UseKernel(nArea == 4 ? FloatKernel::HoriTable4 : FloatKernel::HoriTable6);
    if (nArea == 4)
        return UseKernel(FloatKernel::Hori4);
    return UseKernel(nArea == 6 ? FloatKernel::Hori6 : FloatKernel::Hori9);
}

CFloatChoice ChooseVertical(const CConvParam& param, int nArea)
{
    const bool bExtended = param.bExtendedKernel != 0;
    if (param.fVtdPitch != 0.0F || param.pScanPitchTable != nullptr)
    {
        if (nArea != 4)
            return {CFloatChoice::Path::Nothing};
        return UseKernel(bExtended ? FloatKernel::VtdIntrin : FloatKernel::Vtd);
    }
    if (nArea != 4)
        return UseKernel(nArea == 6 ? FloatKernel::Vert6 : FloatKernel::Vert9);
    if (param.bZoneFlagged != 0)
        return {CFloatChoice::Path::FreeForm};
    return UseKernel(bExtended ? FloatKernel::VertIntrin : FloatKernel::Vert4);
}

} // namespace

CFloatChoice ChooseFloatKernel(const CConvParam& param)
{
    const int nArea = WrapMul(param.nConvWidth, param.nConvHeight);
    return param.nDirection == 1 ? ChooseVertical(param, nArea) : ChooseHorizontal(param, nArea);
}

CFloatCall MakeFloatCall(CPairStorage& store, FloatKernel eKernel, int* pEndLine)
{
    const CConvParam& param = store.ConvParam;
    const bool bVertical = param.nDirection == 1;
    CFloatCall call;
    FillKernelCall(call, store, pEndLine);
    call.nPitch16 = ToRoundedPitch16(bVertical ? param.GetRealScanPitch() : param.GetRealConvPitch());
    call.first = {param.nThreshold, param.nThresholdGain};
    if (eKernel == FloatKernel::Vtd || eKernel == FloatKernel::VtdIntrin)
    {
        call.pScanPitchTable = param.pScanPitchTable;
        call.nVtdPitch16 = ToShift16(param.fVtdPitch);
    }
    if (eKernel == FloatKernel::VertIntrin || eKernel == FloatKernel::VtdIntrin)
        call.pParam = &param;
    return call;
}

} // namespace narvo

int CNarvoAssem::Compare_Float()
{
    using namespace narvo;

    const int nBlobStart = nBlobCount;
    const bool bVertical = ConvParam.nDirection == 1;
    int nEndLine = bVertical ? ConvParam.rtInspect.right : ConvParam.rtInspect.bottom;
    SizeConBuff(*this, bVertical ? ConvParam.rtInspect.Height() : ConvParam.rtInspect.Width());

    const CFloatChoice choice = ChooseFloatKernel(ConvParam);
    if (choice.ePath == CFloatChoice::Path::FreeForm)
    {
        nPairCount = Inspect_FreeFormMask(nEndLine);
        BlobDefectVert_NonFilter();
        TidyVertical(*this, nBlobStart);
        return nEndLine;
    }
    if (choice.ePath == CFloatChoice::Path::Kernel)
        nPairCount = RunFloatKernel(choice.eKernel, MakeFloatCall(*this, choice.eKernel, &nEndLine));
    if (bVertical)
        FinishVerticalWithinLimit(*this, nBlobStart);
    else
        FinishHorizontal(*this, nBlobStart);
    return nEndLine;
}
