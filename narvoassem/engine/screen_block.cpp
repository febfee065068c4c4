// SPDX-License-Identifier: MIT
// Whether and in which direction the pool inspects a region.
#include "narvoassem/engine/screen_block.h"

#include "narvoassem/base/wrap_int.h"
#include "narvoassem/inspectcode.h"

namespace narvo::engine
{
namespace
{

CRefusals ScreenAverage(CConvParam& param)
{
    if (param.nBlackFilterGray > 0)
        param.nBlackFilterGray = WrapSub(0, param.nBlackFilterGray);
    if (param.nThreshold < 0)
        param.nThreshold = WrapSub(0, param.nThreshold);
    CRefusals refusals;
    refusals.AddIf(param.nThreshold < 1, Refusal::AverageBright);
    refusals.AddIf(param.nBlackFilterGray > -1, Refusal::AverageDark);
    refusals.AddIf(param.rtInspect.Width() < param.nAverageParam1 || param.rtInspect.Height() < param.nAverageParam1,
                   Refusal::UnderWindow);
    return refusals;
}

/// A compare reaches one pitch forward, a pair needs a second, and the middle band must not be empty.
bool IsTooSmall(double dRealPitch, int nExtent)
{
    return dRealPitch * 3.0 > nExtent;
}

/// The three-pitch test along the compare direction. A direction other than 0 or 1 is not tested.
CRefusals ScreenPitch(CConvParam& param)
{
    const bool bShortAcross = IsTooSmall(param.GetRealConvPitch(), param.rtInspect.Width());
    const bool bShortDown = IsTooSmall(param.GetRealScanPitch(), param.rtInspect.Height());
    const bool bShort = param.nDirection == 0 ? bShortAcross : param.nDirection == 1 && bShortDown;
    const bool bBoth = bShortAcross && bShortDown;
    CRefusals refusals;
    if (!bShort)
        return refusals;
    refusals.AddIf(param.bAutoDirection == 0 && param.nDirection == 0, Refusal::Under3PitchesX);
    refusals.AddIf(param.bAutoDirection == 0 && param.nDirection == 1, Refusal::Under3PitchesY);
    refusals.AddIf(param.bAutoDirection != 0 && bBoth, Refusal::Under3PitchesBoth);
    if (refusals.IsEmpty())
        param.nDirection = 1 - param.nDirection;
    return refusals;
}

} // namespace

CRefusals ScreenBlock(CConvParam& param)
{
    if (param.nInspectMode == 3)
        return ScreenAverage(param);
    return param.nInspectMode != 2 ? ScreenPitch(param) : CRefusals();
}

int GetRefusalCode(CRefusals refusals)
{
    const bool bThresholds = refusals.Has(Refusal::AverageBright) || refusals.Has(Refusal::AverageDark);
    const bool bTooSmall = refusals.Has(Refusal::UnderWindow) || refusals.Has(Refusal::Under3PitchesBoth);
    return bTooSmall && !bThresholds ? InspectCode_RegionTooSmall : InspectCode_BadParameter;
}

} // namespace narvo::engine
