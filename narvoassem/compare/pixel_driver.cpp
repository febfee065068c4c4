// SPDX-License-Identifier: MIT
// The pixel comparison: from the parameters to one kernel.
#include "narvoassem/compare/pixel_driver.h"

#include "narvoassem/base/fixed_pitch.h"
#include "narvoassem/base/wrap_int.h"
#include "narvoassem/compare/compare_chain.h"
#include "narvoassem/compare/con_buff.h"
#include "narvoassem/compare/pixel_twice.h"
#include "narvoassem/narvoassem.h"

namespace narvo::engine
{
namespace
{

CPixelCall BeginPixel(CNarvoAssem& engine, const CPixelChoice& choice, int& nEndLine)
{
    const CRect& rtInspect = engine.ConvParam.rtInspect;
    const bool bVertical = engine.ConvParam.nDirection == 1;
    nEndLine = bVertical ? rtInspect.right : rtInspect.bottom;
    if (bVertical)
        SizeConBuff(engine, WrapMul(rtInspect.Height(), 16));
    return MakePixelCall(engine, choice, &nEndLine);
}

} // namespace

const CPixelChoice& ChoosePixelKernel(const CConvParam& param)
{
    return SelectKernel(GetPixelChoices(param.nDirection == 1), GetKernelOptions(param));
}

CPixelCall MakePixelCall(CPairStorage& store, const CPixelChoice& choice, int* pEndLine)
{
    const CConvParam& param = store.ConvParam;
    CPixelCall call;
    FillKernelCall(call, store, pEndLine);
    call.nPitch16 = ToPitch16(param.nDirection == 1 ? param.GetRealScanPitch() : param.GetRealConvPitch());
    call.first = {param.nThreshold, param.nThresholdGain};
    call.second = {param.nBlackFilterGray, param.nBlackFilterGain};
    if (choice.Uses(KernelOption::ScanPitches))
        call.pScanPitchTable = param.pScanPitchTable;
    if (choice.Uses(KernelOption::CrossShift))
        call.nVtdPitch16 = ToShift16(param.fVtdPitch);
    if (GetKernelRow(choice.eKernel).traits.bDeadZones)
        call.pParam = &param;
    return call;
}

int RunPixel(CNarvoAssem& engine, int& nEndLine)
{
    const CPixelChoice& choice = ChoosePixelKernel(engine.ConvParam);
    return RunPixelKernel(choice.eKernel, BeginPixel(engine, choice, nEndLine));
}

void RunPixelTwice(CNarvoAssem& engine, int& nEndLine)
{
    const CConvParam& param = engine.ConvParam;
    const CPixelChoice& choice = ChoosePixelKernel(param);
    const CPixelCall call = BeginPixel(engine, choice, nEndLine);
    engine.nPairCount = RunPixelTwice(engine, choice.eKernel, call, ToPitch16(param.dTwicePitch),
                                      {param.nTwiceThreshold, param.nTwiceThresholdGain});
}

} // namespace narvo::engine
