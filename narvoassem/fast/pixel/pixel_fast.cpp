// SPDX-License-Identifier: MIT
// The public names of the fast pixel kernels.
#include "narvoassem/fastkernels.h"

#include "narvoassem/fast/call/kernel_args.h"
#include "narvoassem/fast/call/kernel_call.h"
#include "narvoassem/fast/pixel/pixel_table.h"

using namespace narvo::engine;

// Arguments of the shared lists that a kernel does not read keep their names in the public header.
#pragma GCC diagnostic ignored "-Wunused-parameter"

NARVO_PUBLIC_NAME(PixelKernel::Hori, ConvPixelFast);
int ConvPixelFast(NARVO_PIXEL_ARGUMENTS, int* pEndLine)
{
    CPixelCall call;
    NARVO_TAKE_PIXEL_ARGUMENTS(call);
    return RunPixelKernel(PixelKernel::Hori, call);
}

NARVO_PUBLIC_NAME(PixelKernel::HoriTable, ConvPixelTableFast);
int ConvPixelTableFast(NARVO_HIT_ARGUMENTS, short* pConvPitchTable, short* pConvWeightNear, short* pConvWeightFar,
                       NARVO_PIXEL_BACK_ARGUMENTS, std::int64_t nPitch16, int* pEndLine)
{
    CPixelCall call;
    NARVO_TAKE_PIXEL_ARGUMENTS(call);
    call.pConvPitchTable = reinterpret_cast<const std::uint16_t*>(pConvPitchTable);
    call.pConvWeightNear = pConvWeightNear;
    call.pConvWeightFar = pConvWeightFar;
    return RunPixelKernel(PixelKernel::HoriTable, call);
}

NARVO_PUBLIC_NAME(PixelKernel::VertDirect, ConvPixelVertFast);
int ConvPixelVertFast(NARVO_PIXEL_ARGUMENTS, short* pStripBuffer, int* pEndLine)
{
    CPixelCall call;
    NARVO_TAKE_PIXEL_ARGUMENTS(call);
    return RunPixelKernel(PixelKernel::VertDirect, call);
}

NARVO_PUBLIC_NAME(PixelKernel::Vert, ConvPixelVertSFast);
int ConvPixelVertSFast(NARVO_PIXEL_ARGUMENTS, short* pStripBuffer, int* pEndLine, std::int64_t nThresholdExtra)
{
    CPixelCall call;
    NARVO_TAKE_PIXEL_ARGUMENTS(call);
    return RunPixelKernel(PixelKernel::Vert, call);
}

NARVO_PUBLIC_NAME(PixelKernel::Vert2, ConvPixelVertSFast2);
int ConvPixelVertSFast2(NARVO_PIXEL_ARGUMENTS, short* pStripBuffer, int* pEndLine, std::int64_t nBlackFilterGray,
                        std::int64_t nBlackFilterGain)
{
    CPixelCall call;
    NARVO_TAKE_PIXEL_ARGUMENTS(call);
    call.second = {nBlackFilterGray, nBlackFilterGain};
    return RunPixelKernel(PixelKernel::Vert2, call);
}

NARVO_PUBLIC_NAME(PixelKernel::Vtds, ConvPixelVTDSFast);
int ConvPixelVTDSFast(NARVO_PIXEL_VTD_ARGUMENTS, short* pStripBuffer, int* pEndLine, std::int64_t nThresholdExtra)
{
    CPixelCall call;
    NARVO_TAKE_PIXEL_ARGUMENTS(call);
    call.pScanPitchTable = pScanPitchTable;
    return RunPixelKernel(PixelKernel::Vtds, call);
}

NARVO_PUBLIC_NAME(PixelKernel::Vtds2, ConvPixelVTDSFast2);
int ConvPixelVTDSFast2(NARVO_PIXEL_VTD_ARGUMENTS, short* pStripBuffer, int* pEndLine, std::int64_t nBlackFilterGray,
                       std::int64_t nBlackFilterGain)
{
    CPixelCall call;
    NARVO_TAKE_PIXEL_ARGUMENTS(call);
    call.pScanPitchTable = pScanPitchTable;
    call.second = {nBlackFilterGray, nBlackFilterGain};
    return RunPixelKernel(PixelKernel::Vtds2, call);
}

static_assert(HasPublicNames<pixelKernels, KernelHome::Fast>());
