// SPDX-License-Identifier: MIT
// The private pool of one engine: the sub-engines that the band split runs on.
#include "narvoassem/assemcontrol.h"

#include <cstddef>
#include <new>

#include "narvoassem/engine/band_plan.h"
#include "narvoassem/narvoassem.h"

using namespace narvo::engine;

CAssemThreadControl::CAssemThreadControl() : nAssemCount(0), nAssemCapacity(0), pAssem(nullptr)
{
}

CAssemThreadControl::~CAssemThreadControl()
{
    delete[] pAssem;
}

int CAssemThreadControl::Init(int nCount, int nDefectSize)
{
    if (nCount > nAssemCapacity)
    {
        delete[] pAssem;
        pAssem = new (std::nothrow) CNarvoAssem[static_cast<std::size_t>(nCount)];
        nAssemCount = nAssemCapacity = pAssem != nullptr ? nCount : 0;
        for (int i = 0; i < nAssemCount; ++i)
            pAssem[i].InitAssem(i, nDefectSize);
        return pAssem != nullptr ? 1 : 0;
    }
    nAssemCount = nCount;
    return 1;
}

int CAssemThreadControl::Inspect(int nIndex, CConvParam* pParam)
{
    if (nIndex < 0 || nIndex >= nAssemCount || pParam == nullptr)
        return InspectCode_BadParameter;
    if (pParam->pZoneOriginTable != nullptr)
    {
        const int nEntry = FindBandEntry(*pParam);
        if (nEntry < 0)
            return InspectCode_BadParameter;
        pParam->pZoneOriginTable += std::ptrdiff_t{2} * nEntry;
    }
    pAssem[nIndex].ResetNarvoAssem();
    return pAssem[nIndex].Inspect_Rect(pParam);
}

CNarvoAssem* CAssemThreadControl::GetAssem(int nIndex)
{
    return pAssem + nIndex;
}

int CAssemThreadControl::GetCount() const
{
    return nAssemCount;
}
