// SPDX-License-Identifier: MIT
// The pool of engines: one per lane, with the checks that decide whether and in which direction a region is inspected.
#include "narvoassem/assemcontrol.h"

#include <cstddef>
#include <new>

#include "narvoassem/base/wrap_int.h"
#include "narvoassem/narvoassem.h"

using namespace narvo::engine;

namespace
{

constexpr int nSubEngines = 4;

/// Average mode: brings the thresholds to their signs, dark negative and bright positive. @return 0, or the refusal
int ScreenAverage(CConvParam& param)
{
    if (param.nBlackFilterGray > 0)
        param.nBlackFilterGray = WrapSub(0, param.nBlackFilterGray);
    if (param.nThreshold < 0)
        param.nThreshold = WrapSub(0, param.nThreshold);
    if (param.nThreshold < 1 || param.nBlackFilterGray > -1)
        return InspectCode_BadParameter;
    if (param.rtInspect.Width() < param.nAverageParam1 || param.rtInspect.Height() < param.nAverageParam1)
        return InspectCode_RegionTooSmall;
    return 0;
}

/// A compare reaches one pitch forward, a pair needs a second, and the middle band must not be empty.
bool IsTooSmall(double dRealPitch, int nExtent)
{
    return dRealPitch * 3.0 > nExtent;
}

/// The three-pitch test along the compare direction; swaps nDirection where that is allowed and helps. A direction
/// other than 0 or 1 is not tested. @return 0, or the refusal
int ScreenPitch(CConvParam& param)
{
    const auto IsShortAcross = [&] { return IsTooSmall(param.GetRealConvPitch(), param.rtInspect.Width()); };
    const auto IsShortDown = [&] { return IsTooSmall(param.GetRealScanPitch(), param.rtInspect.Height()); };
    if (param.nDirection == 0 && IsShortAcross())
    {
        if (param.bAutoDirection == 0)
            return InspectCode_BadParameter;
        if (IsShortDown())
            return InspectCode_RegionTooSmall;
        param.nDirection = 1;
    }
    if (param.nDirection == 1 && IsShortDown())
    {
        if (param.bAutoDirection == 0)
            return InspectCode_BadParameter;
        if (IsShortAcross())
            return InspectCode_RegionTooSmall;
        param.nDirection = 0;
    }
    return 0;
}

} // namespace

CAssemControl::CAssemControl() : nAssemCount(0), nAssemCapacity(0), pAssem(nullptr)
{
}

CAssemControl::~CAssemControl()
{
    delete[] pAssem;
}

int CAssemControl::InitAssemControl(int nCount, int nDefectSize)
{
    if (nCount > nAssemCapacity)
    {
        delete[] pAssem;
        pAssem = new (std::nothrow) CNarvoAssem[static_cast<std::size_t>(nCount)];
        if (pAssem == nullptr)
        {
            nAssemCount = nAssemCapacity = 0;
            return 0;
        }
        nAssemCapacity = nCount;
    }
    nAssemCount = nCount;
    for (int i = 0; i < nCount; ++i)
    {
        pAssem[i].InitAssem(i, nDefectSize);
        pAssem[i].EnableInternalThread(nSubEngines, nDefectSize);
    }
    return nAssemCount;
}

CNarvoAssem* CAssemControl::GetNarvoAssem(int nIndex)
{
    return nIndex < 0 || nIndex > nAssemCount ? nullptr : pAssem + nIndex;
}

void CAssemControl::ResetReinspectCount()
{
    for (int i = 0; i < nAssemCapacity; ++i)
        pAssem[i].ResetReinspectCount();
}

int CAssemControl::Inspect_Rect(int nIndex, CConvParam* pParam, int bASG)
{
    if (nIndex < 0 || nIndex >= nAssemCount || pParam == nullptr)
        return InspectCode_BadParameter;
    CNarvoAssem* const pEngine = GetNarvoAssem(nIndex);
    if (pEngine == nullptr)
        return InspectCode_BadParameter;
    pEngine->ResetNarvoAssem();

    int nRefusal = 0;
    if (pParam->nInspectMode == 3)
        nRefusal = ScreenAverage(*pParam);
    else if (pParam->nInspectMode != 2)
        nRefusal = ScreenPitch(*pParam);
    if (nRefusal != 0)
        return nRefusal;

    if (bASG != 0)
        return pEngine->Inspect_ASG(pParam);
    pEngine->ResetNarvoAssem();
    if (pParam->nDirection != 0 && pParam->nInspectMode != 3 && pParam->bBandThread != 0)
        return pEngine->Inspect_RectThread(pParam);
    return pEngine->Inspect_Rect(pParam);
}

int CAssemControl::Inspect_Trapezium(int nIndex, CConvParam* pParam)
{
    if (nIndex < 0 || nIndex >= nAssemCount || pParam == nullptr)
        return InspectCode_BadParameter;
    return pAssem[nIndex].Inspect_Trapezium(pParam);
}

int CAssemControl::Inspect_ASG(int nIndex, CConvParam* pParam)
{
    if (nIndex < 0 || nIndex >= nAssemCount || pParam == nullptr)
        return InspectCode_BadParameter;
    return pAssem[nIndex].Inspect_ASG(pParam);
}
