// What all compare drivers share: the parts of a kernel call that are the engine's own, and the blob steps behind a
// kernel.
#pragma once

#include "narvoassem/blobstorage.h"
#include "narvoassem/fast/kernel_call.h"

namespace narvo
{

/// A vertical pass with more pairs than this is taken to have overflowed: its pairs are dropped and the re-run goes
/// on behind them.
inline constexpr int nVerticalPairLimit = 100000;

/// Fills image, region, stores, limits, tables and the end line's place from the engine. Distances and pParam are the
/// driver's.
void FillKernelCall(CKernelCall& call, CPairStorage& store, int* pEndLine);

/// The blob steps of a horizontal comparison: build, merge and remove ghosts among the blobs from nFirstBlob on.
void FinishHorizontal(CBlobStorage& store, int nFirstBlob);
/// The same for a vertical comparison.
void FinishVertical(CBlobStorage& store, int nFirstBlob);
/// Merge and ghosts of a vertical comparison, behind a build of the caller's own.
void TidyVertical(CBlobStorage& store, int nFirstBlob);
/// FinishVertical, but nothing for a pass above nVerticalPairLimit.
void FinishVerticalWithinLimit(CBlobStorage& store, int nFirstBlob);

} // namespace narvo
