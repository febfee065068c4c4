// What the tidying steps share: dropping removed blobs. The walks that mark them have files of their own.
#pragma once

#include "narvoassem/blobstorage.h"

namespace narvo
{

/// Drops the blobs marked bRemoved from nFirstBlob on; the order of the others is kept.
void CompactBlobs(CBlobStorage& store, int nFirstBlob);

} // namespace narvo
