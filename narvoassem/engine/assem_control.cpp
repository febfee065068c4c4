// SPDX-License-Identifier: MIT
// The pool of engines: one per lane.
#include "narvoassem/assemcontrol.h"

#include <cstddef>
#include <new>

#include "narvoassem/engine/band_plan.h"
#include "narvoassem/engine/screen_block.h"
#include "narvoassem/narvoassem.h"

using namespace narvo::engine;

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

    if (const CRefusals refusals = ScreenBlock(*pParam); !refusals.IsEmpty())
        return GetRefusalCode(refusals);

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
