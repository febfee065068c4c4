// SPDX-License-Identifier: MIT
// Compaction of the blob array.
#include "narvoassem/storage/blobs/blob_tidy.h"

namespace narvo::engine
{

void CompactBlobs(CBlobStorage& store, int nFirstBlob)
{
    if (nFirstBlob >= store.nBlobCount)
        return;
    int nNext = nFirstBlob;
    while (nNext < store.nBlobCount && store.pBlob[nNext].bRemoved == 0)
        ++nNext;
    for (int i = nNext + 1; i < store.nBlobCount; ++i)
    {
        if (store.pBlob[i].bRemoved == 0)
            store.pBlob[nNext++] = store.pBlob[i];
    }
    store.nBlobCount = nNext;
}

} // namespace narvo::engine
