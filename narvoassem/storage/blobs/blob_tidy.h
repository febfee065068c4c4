// SPDX-License-Identifier: MIT
// What the tidying steps share: dropping removed blobs. The walks that mark them are in files of their own.
#pragma once

#include "narvoassem/blobstorage.h"

namespace narvo::engine
{

/// Drops the blobs marked bRemoved from nFirstBlob on; the order of the others is kept. fnKept(blob) is called for each
/// of them in its final place.
template <class TKept>
void CompactBlobs(CBlobStorage& store, int nFirstBlob, TKept fnKept)
{
    if (nFirstBlob >= store.nBlobCount)
        return;
    int nNext = nFirstBlob;
    for (int i = nFirstBlob; i < store.nBlobCount; ++i)
    {
        if (store.pBlob[i].bRemoved != 0)
            continue;
        store.pBlob[nNext] = store.pBlob[i];
        fnKept(store.pBlob[nNext]);
        ++nNext;
    }
    store.nBlobCount = nNext;
}

inline void CompactBlobs(CBlobStorage& store, int nFirstBlob)
{
    CompactBlobs(store, nFirstBlob, [](CDefectBlob&) {});
}

} // namespace narvo::engine
