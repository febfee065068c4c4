// SPDX-License-Identifier: MIT
// Search of the origin grid for the record at which a re-run enters it.
#include "narvoassem/narvoassem.h"

#include <cstdint>

namespace
{

/// Walks records nStep ints apart and compares their coordinate with nValue. The counter begins at nStart: forward it
/// may rise to nLimit, and for a value ahead of the first record it runs down to 0 while the walk still goes forward,
/// so that an ascending table gives null there.
int* FindRecord(int nValue, int* pRecord, int nCoordinate, std::int64_t nStep, int nStart, int nLimit)
{
    if (pRecord == nullptr)
        return nullptr;
    int i = nStart;
    if (nValue >= pRecord[nCoordinate])
    {
        for (;;)
        {
            if (i >= nLimit)
                return nullptr;
            int* const pBefore = pRecord;
            pRecord += nStep;
            ++i;
            if (pRecord[nCoordinate] >= nValue)
                return pBefore;
        }
    }
    for (;;)
    {
        if (i < 1)
            return nullptr;
        pRecord += nStep;
        --i;
        if (nValue >= pRecord[nCoordinate])
            return pRecord;
    }
}

} // namespace

// Both step by records of two ints, also where flagged records have three.

int* CNarvoAssem::FindZoneColumn(int nValue, int* pRecord, int nStart, int nLimit)
{
    return FindRecord(nValue, pRecord, 0, 2, nStart, nLimit);
}

int* CNarvoAssem::FindZoneRow(int nValue, int* pRecord, int nStart, int nRowLimit, int nColumns)
{
    return FindRecord(nValue, pRecord, 1, std::int64_t{2} * nColumns, nStart, nRowLimit);
}
