// The wide kernel library: free functions that the engine calls for its extended kernels. Argument lists are those
// of the fast family (fastkernels.h) in an order of their own; the same bounds, overflow and end-line rules hold.
#pragma once

#include <cstdint>

#include "narvoassem/defectpair.h"
#include "narvoassem/export.h"

/// As ConvZoneVertFast, and nSubZone of each record takes the low four bits of pClassIdMap at the place of the hit
/// whose values the record carries; 0 where no map is given. The arguments named nReserved and pReserved are not
/// read; pScanPitchTable and pVtd... do not apply to this form.
NARVO_API int ConvZone_AVX_ClassID(
    unsigned char* pImage, std::int64_t nThreshold, std::int64_t nPixelSize, std::int64_t nPixelCount,
    std::int64_t nLeft, std::int64_t nRight, std::int64_t nTop, std::int64_t nBottom, int* pPixelX, int* pPixelY,
    short* pPixelType, short* pPeak, int* pSrcGray, int* pCmpGray, int* pZoneIndex, int* pThresholds,
    std::int64_t nImageWidth, int* pReserved1, std::int64_t nPitch16, std::int64_t nReserved2,
    short* pThresholdOffsetMap, short* pZoneIndexMap, std::int64_t nZoneMapStride, void* pZoneOriginTable,
    CDefectPair* pPair, std::int64_t nPairCount, std::int64_t nPairSize, std::int64_t nPairStride,
    std::int64_t nZoneConv, std::int64_t nZoneScan, std::int64_t nZoneRowBytes, std::int64_t nPairSearchSlack,
    short* pThresholdGainMap, short* pReserved3, std::int64_t nReserved4, std::int64_t bKeepSingle, int* pEndLine,
    std::int64_t nThresholdExtra, std::int64_t nGrayLimit, short* pStripBuffer, int nReserved5, short* pClassIdMap);

/// The same with the compare distance in pixels: it counts as (int)(dScanPitch * 16). dClassPitch selects this form
/// and changes nothing in it.
NARVO_API int ConvZone_AVX_ClassID(
    unsigned char* pImage, std::int64_t nThreshold, std::int64_t nPixelSize, std::int64_t nPixelCount,
    std::int64_t nLeft, std::int64_t nRight, std::int64_t nTop, std::int64_t nBottom, int* pPixelX, int* pPixelY,
    short* pPixelType, short* pPeak, int* pSrcGray, int* pCmpGray, int* pZoneIndex, int* pThresholds,
    std::int64_t nImageWidth, int* pReserved1, double dScanPitch, std::int64_t nReserved2, short* pThresholdOffsetMap,
    short* pZoneIndexMap, std::int64_t nZoneMapStride, void* pZoneOriginTable, CDefectPair* pPair,
    std::int64_t nPairCount, std::int64_t nPairSize, std::int64_t nPairStride, std::int64_t nZoneConv,
    std::int64_t nZoneScan, std::int64_t nZoneRowBytes, std::int64_t nPairSearchSlack, short* pThresholdGainMap,
    short* pReserved3, double dClassPitch, std::int64_t bKeepSingle, int* pEndLine, std::int64_t nThresholdExtra,
    std::int64_t nGrayLimit, short* pStripBuffer, int nReserved5, short* pClassIdMap);

/// As ConvZoneVTDFast with pScanPitchTable and no shift along x, and nSubZone as in ConvZone_AVX_ClassID.
NARVO_API int ConvZoneVTDSMC_IntrinAVX(
    unsigned char* pImage, std::int64_t nThreshold, std::int64_t nPixelSize, std::int64_t nPixelCount,
    std::int64_t nLeft, std::int64_t nRight, std::int64_t nTop, std::int64_t nBottom, int* pPixelX, int* pPixelY,
    short* pPixelType, short* pPeak, int* pSrcGray, int* pCmpGray, int* pZoneIndex, int* pThresholds,
    std::int64_t nImageWidth, int* pScanPitchTable, std::int64_t nPitch16, std::int64_t nReserved2,
    short* pThresholdOffsetMap, short* pZoneIndexMap, std::int64_t nZoneMapStride, void* pZoneOriginTable,
    CDefectPair* pPair, std::int64_t nPairCount, std::int64_t nPairSize, std::int64_t nPairStride,
    std::int64_t nZoneConv, std::int64_t nZoneScan, std::int64_t nZoneRowBytes, std::int64_t nPairSearchSlack,
    short* pThresholdGainMap, short* pReserved3, std::int64_t nReserved4, std::int64_t bKeepSingle, int* pEndLine,
    std::int64_t nThresholdExtra, std::int64_t nGrayLimit, short* pStripBuffer, int nReserved5, short* pClassIdMap);
