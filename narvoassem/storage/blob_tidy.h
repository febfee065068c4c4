// What the tidying steps share: dropping removed blobs, and the searches of the merge and shadow walks.
#pragma once

#include "narvoassem/blobstorage.h"

namespace narvo
{

/// Drops the blobs marked bRemoved from nFirstBlob on; the order of the others is kept.
void CompactBlobs(CBlobStorage& store, int nFirstBlob);

} // namespace narvo
