// SPDX-License-Identifier: MIT
// The public names of the wide zone kernels: the fast kernels' arithmetic, with class ids in the records.
#include "narvoassem/widekernels.h"

#include "narvoassem/base/fixed_pitch.h"
#include "narvoassem/fast/call/kernel_args.h"
#include "narvoassem/fast/call/kernel_call.h"
#include "narvoassem/fast/zone/zone_table.h"

using namespace narvo::engine;

// The lists hold arguments that the kernels do not read.
#pragma GCC diagnostic ignored "-Wunused-parameter"

NARVO_PUBLIC_NAME(ZoneKernel::ClassId, ConvZone_AVX_ClassID);
int ConvZone_AVX_ClassID(unsigned char* pImage, std::int64_t nThreshold, std::int64_t nPixelSize,
                         std::int64_t nPixelCount, std::int64_t nLeft, std::int64_t nRight, std::int64_t nTop,
                         std::int64_t nBottom, int* pPixelX, int* pPixelY, short* pPixelType, short* pPeak,
                         int* pSrcGray, int* pCmpGray, int* pZoneIndex, int* pThresholds, std::int64_t nImageWidth,
                         int* pReserved1, std::int64_t nPitch16, std::int64_t nReserved2, short* pThresholdOffsetMap,
                         short* pZoneIndexMap, std::int64_t nZoneMapStride, void* pZoneOriginTable, CDefectPair* pPair,
                         std::int64_t nPairCount, std::int64_t nPairSize, std::int64_t nPairStride,
                         std::int64_t nZoneConv, std::int64_t nZoneScan, std::int64_t nZoneRowBytes,
                         std::int64_t nPairSearchSlack, short* pThresholdGainMap, short* pReserved3,
                         std::int64_t nReserved4, std::int64_t bKeepSingle, int* pEndLine, std::int64_t nThresholdExtra,
                         std::int64_t nGrayLimit, short* pStripBuffer, int nReserved5, short* pClassIdMap)
{
    CZoneCall call;
    NARVO_TAKE_ZONE_ARGUMENTS(call);
    call.nThresholdExtra = nThresholdExtra;
    call.pClassIdMap = pClassIdMap;
    return RunZoneKernel(ZoneKernel::ClassId, call);
}

int ConvZone_AVX_ClassID(unsigned char* pImage, std::int64_t nThreshold, std::int64_t nPixelSize,
                         std::int64_t nPixelCount, std::int64_t nLeft, std::int64_t nRight, std::int64_t nTop,
                         std::int64_t nBottom, int* pPixelX, int* pPixelY, short* pPixelType, short* pPeak,
                         int* pSrcGray, int* pCmpGray, int* pZoneIndex, int* pThresholds, std::int64_t nImageWidth,
                         int* pReserved1, double dScanPitch, std::int64_t nReserved2, short* pThresholdOffsetMap,
                         short* pZoneIndexMap, std::int64_t nZoneMapStride, void* pZoneOriginTable, CDefectPair* pPair,
                         std::int64_t nPairCount, std::int64_t nPairSize, std::int64_t nPairStride,
                         std::int64_t nZoneConv, std::int64_t nZoneScan, std::int64_t nZoneRowBytes,
                         std::int64_t nPairSearchSlack, short* pThresholdGainMap, short* pReserved3, double dClassPitch,
                         std::int64_t bKeepSingle, int* pEndLine, std::int64_t nThresholdExtra, std::int64_t nGrayLimit,
                         short* pStripBuffer, int nReserved5, short* pClassIdMap)
{
    const std::int64_t nPitch16 = ToPitch16(dScanPitch);
    CZoneCall call;
    NARVO_TAKE_ZONE_ARGUMENTS(call);
    call.nThresholdExtra = nThresholdExtra;
    call.pClassIdMap = pClassIdMap;
    return RunZoneKernel(ZoneKernel::ClassId, call);
}

NARVO_PUBLIC_NAME(ZoneKernel::ClassIdTable, ConvZoneVTDSMC_IntrinAVX);
int ConvZoneVTDSMC_IntrinAVX(unsigned char* pImage, std::int64_t nThreshold, std::int64_t nPixelSize,
                             std::int64_t nPixelCount, std::int64_t nLeft, std::int64_t nRight, std::int64_t nTop,
                             std::int64_t nBottom, int* pPixelX, int* pPixelY, short* pPixelType, short* pPeak,
                             int* pSrcGray, int* pCmpGray, int* pZoneIndex, int* pThresholds, std::int64_t nImageWidth,
                             int* pScanPitchTable, std::int64_t nPitch16, std::int64_t nReserved2,
                             short* pThresholdOffsetMap, short* pZoneIndexMap, std::int64_t nZoneMapStride,
                             void* pZoneOriginTable, CDefectPair* pPair, std::int64_t nPairCount,
                             std::int64_t nPairSize, std::int64_t nPairStride, std::int64_t nZoneConv,
                             std::int64_t nZoneScan, std::int64_t nZoneRowBytes, std::int64_t nPairSearchSlack,
                             short* pThresholdGainMap, short* pReserved3, std::int64_t nReserved4,
                             std::int64_t bKeepSingle, int* pEndLine, std::int64_t nThresholdExtra,
                             std::int64_t nGrayLimit, short* pStripBuffer, int nReserved5, short* pClassIdMap)
{
    CZoneCall call;
    NARVO_TAKE_ZONE_ARGUMENTS(call);
    call.pScanPitchTable = pScanPitchTable;
    call.nThresholdExtra = nThresholdExtra;
    call.pClassIdMap = pClassIdMap;
    return RunZoneKernel(ZoneKernel::ClassIdTable, call);
}

static_assert(HasPublicNames<zoneKernels, KernelHome::Wide>());
