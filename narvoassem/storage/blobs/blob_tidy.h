// SPDX-License-Identifier: MIT
// What the tidying steps share: dropping removed blobs. The walks that mark them are in files of their own.
#pragma once

#include "narvoassem/blobstorage.h"

namespace narvo::engine
{

/// Drops the blobs marked bRemoved from nFirstBlob on; the order of the others is kept.
void CompactBlobs(CBlobStorage& store, int nFirstBlob);

/// As CBlobStorage::MergeDivision for blobs whose diameters are up to date.
void MergeNear(CBlobStorage& store, int nFirstBlob, int nDist);

} // namespace narvo::engine
