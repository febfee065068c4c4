// The pixel comparison: from the parameters to one kernel, and from its pairs to blobs.
#include "narvoassem/compare/pixel_driver.h"

#include "narvoassem/compare/compare_chain.h"
#include "narvoassem/compare/pixel_twice.h"
#include "narvoassem/con_buff.h"
#include "narvoassem/fixed_pitch.h"
#include "narvoassem/narvoassem.h"
#include "narvoassem/wrap_int.h"

namespace narvo
{
namespace
{

CPixelChoice ChooseHorizontal(const CConvParam& param)
{
    if (param.pConvPitchTable != nullptr)
        return {PixelKernel::HoriTable};
    if (param.bExtendedKernel == 0)
        return {PixelKernel::Hori};
    return {PixelKernel::HoriIntrin, param.bTwice != 0};
}

CPixelChoice ChooseVertical(const CConvParam& param)
{
    const bool bExtended = param.bExtendedKernel != 0;
    const bool bSecondSet = param.nBlackFilterGray > 0;
    if (param.pScanPitchTable != nullptr)
    {
        if (bExtended)
            return {PixelKernel::VtdsWide};
        return {bSecondSet ? PixelKernel::Vtds2 : PixelKernel::Vtds};
    }
    if (param.bUseLineBuffer == 0)
        return {PixelKernel::VertDirect};
    if (bExtended && param.bTwice != 0)
        return {PixelKernel::VertIntrin, true};
    // Both forms of the wide kernel, by dClassPitch and without, run as this one; MakePixelCall tells them apart.
    if (bExtended)
        return {PixelKernel::VertWide};
    return {bSecondSet ? PixelKernel::Vert2 : PixelKernel::Vert};
}

} // namespace

CPixelChoice ChoosePixelKernel(const CConvParam& param)
{
    return param.nDirection == 1 ? ChooseVertical(param) : ChooseHorizontal(param);
}

CPixelCall MakePixelCall(CPairStorage& store, PixelKernel eKernel, int* pEndLine)
{
    const CConvParam& param = store.ConvParam;
    const bool bVertical = param.nDirection == 1;
    CPixelCall call;
    FillKernelCall(call, store, pEndLine);
    call.nPitch16 = ToPitch16(bVertical ? param.GetRealScanPitch() : param.GetRealConvPitch());
    call.first = {param.nThreshold, param.nThresholdGain};
    call.second = {param.nBlackFilterGray, param.nBlackFilterGain};
    call.pScanPitchTable = bVertical ? param.pScanPitchTable : nullptr;
    // The form of the wide kernel that dClassPitch selects takes that pitch in place of the shift, and no shift.
    if (eKernel == PixelKernel::VertWide && param.dClassPitch == 0.0)
        call.nVtdPitch16 = ToShift16(param.fVtdPitch);
    if (eKernel == PixelKernel::VertIntrin)
        call.pParam = &param;
    return call;
}

} // namespace narvo

int CNarvoAssem::Compare_Pixel()
{
    using namespace narvo;

    const int nBlobStart = nBlobCount;
    const bool bVertical = ConvParam.nDirection == 1;
    int nEndLine = bVertical ? ConvParam.rtInspect.right : ConvParam.rtInspect.bottom;
    if (bVertical)
        SizeConBuff(*this, WrapMul(ConvParam.rtInspect.Height(), 16));

    const CPixelChoice choice = ChoosePixelKernel(ConvParam);
    const CPixelCall call = MakePixelCall(*this, choice.eKernel, &nEndLine);
    if (choice.bTwice)
    {
        nPairCount = RunPixelTwice(*this, choice.eKernel, call, ToPitch16(ConvParam.dTwicePitch),
                                   {ConvParam.nTwiceThreshold, ConvParam.nTwiceThresholdGain});
        return nEndLine;
    }
    nPairCount = RunPixelKernel(choice.eKernel, call);
    if (bVertical)
        FinishVerticalWithinLimit(*this, nBlobStart);
    else
        FinishHorizontal(*this, nBlobStart);
    return nEndLine;
}
