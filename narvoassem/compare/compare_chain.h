// SPDX-License-Identifier: MIT
// What all comparisons share: the parts of a kernel call that are the engine's own, and how pairs become blobs.
#pragma once

#include "narvoassem/blobstorage.h"
#include "narvoassem/fast/call/kernel_call.h"

namespace narvo::engine
{

/// Fills image, region, stores, limits, tables and the end line's place from the engine. Distances and pParam are the
/// driver's.
void FillKernelCall(CKernelCall& call, CPairStorage& store, int* pEndLine);

/// Members that are called directly know the image's height from the engine's parameters; 0 or less stands for
/// unknown.
void BoundByEngine(CKernelCall& call, const CConvParam& param);

/// How the pairs of a comparison become blobs.
struct CBlobSteps
{
    bool bVertical = false; ///< pairs are grouped, and ghosts lie, along y
    bool bFilters = true;   ///< pair filters, and in a vertical build verification
    bool bGhosts = true;    ///< ghosts are removed
    bool bLimited = false;  ///< none is built from more than nVerticalPairLimit pairs: the re-run continues after them

    bool DropsPairs(int nPairs) const { return bLimited && nPairs > CBlobStorage::nVerticalPairLimit; }
};

/// The first step: the store's pairs become blobs, appended to those held.
void BuildBlobs(CBlobStorage& store, const CBlobSteps& steps);
/// The second: pieces near each other become one, among the blobs from nFirstBlob on.
void MergeBlobs(CBlobStorage& store, int nFirstBlob);
/// The third: removes ghosts, which lie one pitch beside the true defect.
void RemoveGhosts(CBlobStorage& store, const CBlobSteps& steps, int nFirstBlob);
/// All three, or none where the pairs are dropped.
void FinishBlobs(CBlobStorage& store, const CBlobSteps& steps, int nFirstBlob);

} // namespace narvo::engine
