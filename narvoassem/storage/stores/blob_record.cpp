// SPDX-License-Identifier: MIT
// Copies and resets of many records.
#include "narvoassem/storage/stores/blob_record.h"

#include <algorithm>
#include <cstring>

namespace narvo::engine
{

void CopyRecords(CDefectBlob* pTo, const CDefectBlob* pFrom, std::size_t nCount)
{
    // As bytes and of a length that is not known here: the library's copy is faster than what compilers insert for one
    // record.
    std::memcpy(static_cast<void*>(pTo), static_cast<const void*>(pFrom), nCount * sizeof(CDefectBlob));
}

void ResetRecords(CDefectBlob* pBlobs, int nCount)
{
    constexpr int nBlock = 16; // small enough to stay in the first-level cache
    if (nCount <= 0)
        return;
    pBlobs[0].Reset();
    for (int nDone = 1; nDone < nCount;)
    {
        const int nNext = std::min({nDone, nBlock, nCount - nDone});
        CopyRecords(pBlobs + nDone, pBlobs, static_cast<std::size_t>(nNext));
        nDone += nNext;
    }
}

} // namespace narvo::engine
