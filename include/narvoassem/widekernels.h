// SPDX-License-Identifier: MIT
/// @file
/// The wide kernel library: free functions that the engine calls for its extended kernels. Argument lists are those
/// of the fast family (fastkernels.h) in an order of their own; the same bounds, overflow and end-line rules hold.
#pragma once

#include <cstdint>

#include "narvoassem/defectpair.h"
#include "narvoassem/export.h"
#include "narvoassem/fastkernels.h"

/// As ConvZoneVertFast, and nSubZone of each record takes the low four bits of pClassIdMap at the place of the hit
/// whose values the record carries; without a map it stays as it was. The arguments named nReserved and pReserved are
/// not read; pScanPitchTable and pVtd... do not apply to this form.
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

/// As CNarvoAssem::ConvPixelVertS_Intrin without dead zones; the hits are kept in storage of its own. nPitch16Second
/// (1/16 pixel) shifts the compare position along x. nBlackFilterGray and nBlackFilterGain are the second threshold
/// set, in force from 1 on. The arguments named nReserved and pReserved are not read.
NARVO_API int ConvPixelVert_AVX(unsigned char* pImage, std::int64_t nThreshold, std::int64_t nThresholdGain,
                                std::int64_t nGrayLimit, std::int64_t nLeft, std::int64_t nRight, std::int64_t nTop,
                                std::int64_t nBottom, std::int64_t nImageWidth, int* pReserved1, std::int64_t nPitch16,
                                std::int64_t nReserved2, CDefectPair* pPair, std::int64_t nPairCount,
                                std::int64_t nPairSize, std::int64_t nPairStride, std::int64_t nPitch16Second,
                                std::int64_t bKeepSingle, int* pEndLine, std::int64_t nBlackFilterGray,
                                std::int64_t nBlackFilterGain);

/// The same with the compare distance in pixels: it counts as (int)(dScanPitch * 16). dClassPitch selects this form
/// and changes nothing in it.
NARVO_API int ConvPixelVert_AVX(unsigned char* pImage, std::int64_t nThreshold, std::int64_t nThresholdGain,
                                std::int64_t nGrayLimit, std::int64_t nLeft, std::int64_t nRight, std::int64_t nTop,
                                std::int64_t nBottom, std::int64_t nImageWidth, int* pReserved1, double dScanPitch,
                                std::int64_t nReserved2, CDefectPair* pPair, std::int64_t nPairCount,
                                std::int64_t nPairSize, std::int64_t nPairStride, double dClassPitch,
                                std::int64_t bKeepSingle, int* pEndLine, std::int64_t nBlackFilterGray,
                                std::int64_t nBlackFilterGain);

/// The second threshold set of ConvPixelVTDS_Intrin_AVX, in force when nBase is 1 or more. The reserved bytes are not
/// read and need not be set.
struct ConvPixelParam
{
    int nBase;                    ///< threshold base, grey levels
    int nGain;                    ///< threshold gain, 1/256
    unsigned char cReserved[160]; ///< neither read nor set
};

static_assert(sizeof(ConvPixelParam) == 168, "the record is passed by value: its size is part of the interface");

/// As CNarvoAssem::ConvPixelVTDS_Intrin without dead zones, with the second threshold set from param.
NARVO_API int ConvPixelVTDS_Intrin_AVX(NARVO_PIXEL_VTD_ARGUMENTS, short* pStripBuffer, int* pEndLine,
                                       std::int64_t nThresholdExtra, ConvPixelParam param);

/// As CNarvoAssem::ConvPixelVertS_Intrin without dead zones, for the source pixels whose byte in pMask is not 0. The
/// mask is laid out as the image; null restricts nothing. fVtdPitch (pixels) shifts the compare position along x;
/// records carry their peak. pScanPitchTable, the maps, nMaskParam and nReserved are not read.
NARVO_API int ConvPixelVertMask(unsigned char* pImage, int nThreshold, int nPixelSize, int nPixelCount, int nLeft,
                                int nRight, int nTop, int nBottom, int* pPixelX, int* pPixelY, short* pPixelType,
                                short* pPeak, int* pSrcGray, int* pCmpGray, int* pZoneIndex, int* pThresholds,
                                int nImageWidth, int nPitch16, int* pScanPitchTable, int nReserved,
                                short* pThresholdOffsetMap, short* pZoneIndexMap, int nZoneMapStride,
                                void* pZoneOriginTable, CDefectPair* pPair, int nPairCount, int nPairSize,
                                int nPairStride, int nZoneConv, int nZoneScan, int nZoneRowBytes, int nPairSearchSlack,
                                int nThresholdGain, int nGrayLimit, int bKeepSingle, short* pStripBuffer, int* pEndLine,
                                int nBlackFilterGray, int nBlackFilterGain, float fVtdPitch, unsigned char* pMask,
                                int nMaskParam);
