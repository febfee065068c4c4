// SPDX-License-Identifier: MIT
// The float comparison: from the parameters to one kernel or the free-form region.
#include "narvoassem/compare/float_driver.h"

#include "narvoassem/base/fixed_pitch.h"
#include "narvoassem/compare/compare_chain.h"
#include "narvoassem/compare/con_buff.h"
#include "narvoassem/compare/freeform_driver.h"
#include "narvoassem/narvoassem.h"

namespace narvo::engine
{

const CFloatChoice& ChooseFloatKernel(const CConvParam& param)
{
    return SelectKernel(GetFloatChoices(param.nDirection == 1), GetKernelOptions(param));
}

bool TakesFreeForm(const CConvParam& param)
{
    return ChooseFloatKernel(param).ePath == ChoicePath::FreeForm;
}

bool RunsFloatKernel(const CConvParam& param)
{
    const CFloatChoice& choice = ChooseFloatKernel(param);
    return choice.ePath == ChoicePath::Kernel && choice.Runs(GetKernelOptions(param));
}

CFloatCall MakeFloatCall(CPairStorage& store, const CFloatChoice& choice, int* pEndLine)
{
    const CConvParam& param = store.ConvParam;
    CFloatCall call;
    FillKernelCall(call, store, pEndLine);
    call.nPitch16 = ToRoundedPitch16(param.nDirection == 1 ? param.GetRealScanPitch() : param.GetRealConvPitch());
    call.first = {param.nThreshold, param.nThresholdGain};
    if (choice.Uses(KernelOption::ScanPitches))
        call.pScanPitchTable = param.pScanPitchTable;
    if (choice.Uses(KernelOption::CrossShift))
        call.nVtdPitch16 = ToShift16(param.fVtdPitch);
    if (GetKernelRow(choice.eKernel).traits.bMember)
        call.pParam = &param;
    return call;
}

int RunFloat(CNarvoAssem& engine, int& nEndLine)
{
    const CConvParam& param = engine.ConvParam;
    const bool bVertical = param.nDirection == 1;
    nEndLine = bVertical ? param.rtInspect.right : param.rtInspect.bottom;
    SizeConBuff(engine, bVertical ? param.rtInspect.Height() : param.rtInspect.Width());
    if (TakesFreeForm(param))
        return InspectFreeFormMask(engine, nEndLine);
    if (!RunsFloatKernel(param))
        return engine.nPairCount;
    const CFloatChoice& choice = ChooseFloatKernel(param);
    return RunFloatKernel(choice.eKernel, MakeFloatCall(engine, choice, &nEndLine));
}

} // namespace narvo::engine
