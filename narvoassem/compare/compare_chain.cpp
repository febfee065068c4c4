// SPDX-License-Identifier: MIT
// Kernel calls from the engine's fields, and the steps from pairs to blobs.
#include "narvoassem/compare/compare_chain.h"

#include <algorithm>

#include "narvoassem/storage/blobs/blob_tidy.h"

namespace narvo::engine
{

void FillKernelCall(CKernelCall& call, CPairStorage& store, int* pEndLine)
{
    const CConvParam& param = store.ConvParam;
    call.image = {param.pImage, param.nImageWidth, param.nImageHeight};
    call.region = {param.rtInspect.left, param.rtInspect.top, param.rtInspect.right, param.rtInspect.bottom};
    call.hits = {store.nPixelSize, store.nPixelCount, store.pPixelX,  store.pPixelY,    store.pPixelType,
                 store.pPeak,      store.pSrcGray,    store.pCmpGray, store.pZoneIndex, store.pThreshold};
    call.pairs = {store.pPair, store.nPairCount, store.nPairSize, sizeof(CDefectPair)};
    call.bKeepSingle = param.bKeepSingle;
    call.nThresholdExtra = param.nThresholdExtra;
    call.nGrayLimit = param.nGrayLimit;
    call.pEndLine = pEndLine;
    call.pConvPitchTable = param.pConvPitchTable;
    call.pConvWeightNear = param.pConvWeightNear;
    call.pConvWeightFar = param.pConvWeightFar;
}

void BoundByEngine(CKernelCall& call, const CConvParam& param)
{
    call.image.nRows = std::max(param.nImageHeight, 0);
}

void BuildBlobs(CBlobStorage& store, const CBlobSteps& steps)
{
    if (steps.bVertical)
        steps.bFilters ? store.BlobDefectVert() : store.BlobDefectVert_NonFilter();
    else
        steps.bFilters ? store.BlobDefect() : store.BlobDefect_NonFilter();
}

void MergeBlobs(CBlobStorage& store, int nFirstBlob)
{
    MergeNear(store, nFirstBlob, store.ConvParam.nMergeDivision);
}

void RemoveGhosts(CBlobStorage& store, const CBlobSteps& steps, int nFirstBlob)
{
    if (!steps.bGhosts)
        return;
    if (steps.bVertical)
        store.ShadowFilterVert(nFirstBlob, store.ConvParam.GetRealScanPitch());
    else
        store.ShadowFilter(nFirstBlob, store.ConvParam.GetRealConvPitch());
}

void FinishBlobs(CBlobStorage& store, const CBlobSteps& steps, int nFirstBlob)
{
    if (steps.DropsPairs(store.nPairCount))
        return;
    BuildBlobs(store, steps);
    MergeBlobs(store, nFirstBlob);
    RemoveGhosts(store, steps, nFirstBlob);
}

} // namespace narvo::engine
