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
    for (int i = nFirstBlob; i < store.nBlobCount; ++i)
    {
        if (store.pBlob[i].bRemoved == 0)
            store.pBlob[nNext++] = store.pBlob[i];
    }
    store.nBlobCount = nNext;
}

} // namespace narvo::engine
