// Kernel calls from the engine's fields, and the blob steps behind a kernel.
#include "narvoassem/compare/compare_chain.h"

namespace narvo
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

void FinishHorizontal(CBlobStorage& store, int nFirstBlob)
{
    store.BlobDefect();
    store.MergeDivision(nFirstBlob, store.ConvParam.nMergeDivision);
    store.ShadowFilter(nFirstBlob, store.ConvParam.GetRealConvPitch());
}

void FinishVertical(CBlobStorage& store, int nFirstBlob)
{
    store.BlobDefectVert();
    TidyVertical(store, nFirstBlob);
}

void TidyVertical(CBlobStorage& store, int nFirstBlob)
{
    store.MergeDivision(nFirstBlob, store.ConvParam.nMergeDivision);
    store.ShadowFilterVert(nFirstBlob, store.ConvParam.GetRealScanPitch());
}

void FinishVerticalWithinLimit(CBlobStorage& store, int nFirstBlob)
{
    if (store.nPairCount <= nVerticalPairLimit)
        FinishVertical(store, nFirstBlob);
}

} // namespace narvo
