// SPDX-License-Identifier: MIT
// The public names of the wide pixel kernels: the arithmetic of the engine's own kernels without its dead zones.
#include "narvoassem/widekernels.h"

#include "narvoassem/base/fixed_pitch.h"
#include "narvoassem/fast/call/kernel_args.h"
#include "narvoassem/fast/call/kernel_call.h"
#include "narvoassem/fast/pixel/pixel_table.h"

using namespace narvo::engine;

// The lists hold arguments that the kernels do not read.
#pragma GCC diagnostic ignored "-Wunused-parameter"

NARVO_PUBLIC_NAME(PixelKernel::VertWide, ConvPixelVert_AVX);
int ConvPixelVert_AVX(unsigned char* pImage, std::int64_t nThreshold, std::int64_t nThresholdGain,
                      std::int64_t nGrayLimit, std::int64_t nLeft, std::int64_t nRight, std::int64_t nTop,
                      std::int64_t nBottom, std::int64_t nImageWidth, int* pReserved1, std::int64_t nPitch16,
                      std::int64_t nReserved2, CDefectPair* pPair, std::int64_t nPairCount, std::int64_t nPairSize,
                      std::int64_t nPairStride, std::int64_t nPitch16Second, std::int64_t bKeepSingle, int* pEndLine,
                      std::int64_t nBlackFilterGray, std::int64_t nBlackFilterGain)
{
    CPixelCall call;
    call.image = {pImage, nImageWidth, 0};
    call.region = {nLeft, nTop, nRight, nBottom};
    call.pairs = {pPair, nPairCount, nPairSize, nPairStride};
    call.nPitch16 = nPitch16;
    call.bKeepSingle = bKeepSingle;
    call.nGrayLimit = nGrayLimit;
    call.pEndLine = pEndLine;
    call.first = {nThreshold, nThresholdGain};
    call.second = {nBlackFilterGray, nBlackFilterGain};
    call.nVtdPitch16 = nPitch16Second;
    return RunPixelKernel(PixelKernel::VertWide, call);
}

int ConvPixelVert_AVX(unsigned char* pImage, std::int64_t nThreshold, std::int64_t nThresholdGain,
                      std::int64_t nGrayLimit, std::int64_t nLeft, std::int64_t nRight, std::int64_t nTop,
                      std::int64_t nBottom, std::int64_t nImageWidth, int* pReserved1, double dScanPitch,
                      std::int64_t nReserved2, CDefectPair* pPair, std::int64_t nPairCount, std::int64_t nPairSize,
                      std::int64_t nPairStride, double dClassPitch, std::int64_t bKeepSingle, int* pEndLine,
                      std::int64_t nBlackFilterGray, std::int64_t nBlackFilterGain)
{
    const std::int64_t nPitch16 = ToPitch16(dScanPitch);
    CPixelCall call;
    call.image = {pImage, nImageWidth, 0};
    call.region = {nLeft, nTop, nRight, nBottom};
    call.pairs = {pPair, nPairCount, nPairSize, nPairStride};
    call.nPitch16 = nPitch16;
    call.bKeepSingle = bKeepSingle;
    call.nGrayLimit = nGrayLimit;
    call.pEndLine = pEndLine;
    call.first = {nThreshold, nThresholdGain};
    call.second = {nBlackFilterGray, nBlackFilterGain};
    return RunPixelKernel(PixelKernel::VertWide, call);
}

NARVO_PUBLIC_NAME(PixelKernel::VtdsWide, ConvPixelVTDS_Intrin_AVX);
int ConvPixelVTDS_Intrin_AVX(NARVO_PIXEL_VTD_ARGUMENTS, short* pStripBuffer, int* pEndLine,
                             std::int64_t nThresholdExtra, ConvPixelParam param)
{
    CPixelCall call;
    NARVO_TAKE_PIXEL_ARGUMENTS(call);
    call.pScanPitchTable = pScanPitchTable;
    call.second = {param.nBase, param.nGain};
    return RunPixelKernel(PixelKernel::VtdsWide, call);
}

NARVO_PUBLIC_NAME(PixelKernel::VertMask, ConvPixelVertMask);
int ConvPixelVertMask(unsigned char* pImage, int nThreshold, int nPixelSize, int nPixelCount, int nLeft, int nRight,
                      int nTop, int nBottom, int* pPixelX, int* pPixelY, short* pPixelType, short* pPeak, int* pSrcGray,
                      int* pCmpGray, int* pZoneIndex, int* pThresholds, int nImageWidth, int nPitch16,
                      int* pScanPitchTable, int nReserved, short* pThresholdOffsetMap, short* pZoneIndexMap,
                      int nZoneMapStride, void* pZoneOriginTable, CDefectPair* pPair, int nPairCount, int nPairSize,
                      int nPairStride, int nZoneConv, int nZoneScan, int nZoneRowBytes, int nPairSearchSlack,
                      int nThresholdGain, int nGrayLimit, int bKeepSingle, short* pStripBuffer, int* pEndLine,
                      int nBlackFilterGray, int nBlackFilterGain, float fVtdPitch, unsigned char* pMask, int nMaskParam)
{
    CPixelCall call;
    NARVO_TAKE_PIXEL_ARGUMENTS(call);
    call.second = {nBlackFilterGray, nBlackFilterGain};
    call.nVtdPitch16 = ToShift16(fVtdPitch);
    call.pMask = pMask;
    return RunPixelKernel(PixelKernel::VertMask, call);
}

static_assert(HasPublicNames<pixelKernels, KernelHome::Wide>());
