// SPDX-License-Identifier: MIT
// The engine's life cycle: construction, stores, resets. Inspection calls are in inspect_driver.cpp, checks in
// check_parameter.cpp, the band split in band_split.cpp.
#include "narvoassem/narvoassem.h"

#include <algorithm>
#include <cstdint>
#include <limits>

CNarvoAssem::CNarvoAssem() : pThreadControl(nullptr), nAssemIndex(0), dInspectTime(0.0), nReinspectCount(0)
{
}

CNarvoAssem::~CNarvoAssem()
{
    delete pThreadControl;
}

int CNarvoAssem::InitAssem(int nIndex, int nDefectSize)
{
    nAssemIndex = nIndex;
    // Hits and pairs have a minimum, blobs have none: small blob stores still inspect large images in few passes.
    constexpr int nDefectFloor = 80000;
    const std::int64_t nStore = std::int64_t{2} * std::max(nDefectSize, nDefectFloor);
    if (nStore > std::numeric_limits<int>::max())
        return 0;
    if (InitPixelStorage(static_cast<int>(nStore)) < 1)
        return 0;
    if (InitPairStorage(static_cast<int>(nStore)) < 1)
        return 0;
    return InitBlobStorage(nDefectSize) < 1 ? 0 : 1;
}

void CNarvoAssem::ResetNarvoAssem()
{
    ResetPixelStorage();
    ResetPairStorage();
    ResetBlobStorage();
    dInspectTime = 0.0;
    dBlobTime = 0.0;
}

void CNarvoAssem::InspectPAD_Clear()
{
    ResetPixelStorage();
    ResetPairStorage();
}

void CNarvoAssem::CountReinspect()
{
    if (nReinspectCount < std::numeric_limits<int>::max())
        ++nReinspectCount;
}

void CNarvoAssem::ResetReinspectCount()
{
    nReinspectCount = 0;
}
