// SPDX-License-Identifier: MIT
// The pixel kernels that are members of the engine: the same kernels with the engine's dead zones and second
// thresholds.
#include "narvoassem/compare/compare_chain.h"
#include "narvoassem/compare/pixel_twice.h"
#include "narvoassem/fast/call/kernel_args.h"
#include "narvoassem/fast/call/kernel_call.h"
#include "narvoassem/fast/pixel/pixel_table.h"
#include "narvoassem/narvoassem.h"

using namespace narvo::engine;

// Arguments of the shared lists keep the names of the public header, which are those of the stores' members too.
#pragma GCC diagnostic ignored "-Wshadow"
#pragma GCC diagnostic ignored "-Wunused-parameter"

NARVO_PUBLIC_NAME(PixelKernel::HoriIntrin, ConvPixel_Intrin);
int CNarvoAssem::ConvPixel_Intrin(NARVO_PIXEL_ARGUMENTS, int* pEndLine)
{
    CPixelCall call;
    NARVO_TAKE_PIXEL_ARGUMENTS(call);
    BoundByEngine(call, ConvParam);
    return RunPixelKernel(PixelKernel::HoriIntrin, call);
}

NARVO_PUBLIC_NAME(PixelKernel::VertIntrin, ConvPixelVertS_Intrin);
int CNarvoAssem::ConvPixelVertS_Intrin(NARVO_PIXEL_ARGUMENTS, short* pStripBuffer, int* pEndLine,
                                       std::int64_t nThresholdExtra)
{
    CPixelCall call;
    NARVO_TAKE_PIXEL_ARGUMENTS(call);
    BoundByEngine(call, ConvParam);
    call.second = {ConvParam.nBlackFilterGray, ConvParam.nBlackFilterGain};
    call.pParam = &ConvParam;
    return RunPixelKernel(PixelKernel::VertIntrin, call);
}

NARVO_PUBLIC_NAME(PixelKernel::VtdsIntrin, ConvPixelVTDS_Intrin);
int CNarvoAssem::ConvPixelVTDS_Intrin(NARVO_PIXEL_VTD_ARGUMENTS, short* pStripBuffer, int* pEndLine,
                                      std::int64_t nThresholdExtra)
{
    CPixelCall call;
    NARVO_TAKE_PIXEL_ARGUMENTS(call);
    BoundByEngine(call, ConvParam);
    call.pScanPitchTable = pScanPitchTable;
    call.second = {ConvParam.nBlackFilterGray, ConvParam.nBlackFilterGain};
    call.pParam = &ConvParam;
    return RunPixelKernel(PixelKernel::VtdsIntrin, call);
}

int CNarvoAssem::ConvPixel_Intrin_Twice(NARVO_PIXEL_ARGUMENTS, int* pEndLine, std::int64_t nTwicePitch16,
                                        std::int64_t nTwiceThreshold, std::int64_t nTwiceThresholdGain)
{
    CPixelCall call;
    NARVO_TAKE_PIXEL_ARGUMENTS(call);
    BoundByEngine(call, ConvParam);
    return RunPixelTwice(*this, PixelKernel::HoriIntrin, call, nTwicePitch16, {nTwiceThreshold, nTwiceThresholdGain});
}

int CNarvoAssem::ConvPixelVertS_Intrin_Twice(NARVO_PIXEL_ARGUMENTS, short* pStripBuffer, int* pEndLine,
                                             std::int64_t nThresholdExtra, std::int64_t nTwicePitch16,
                                             std::int64_t nTwiceThreshold, std::int64_t nTwiceThresholdGain)
{
    CPixelCall call;
    NARVO_TAKE_PIXEL_ARGUMENTS(call);
    BoundByEngine(call, ConvParam);
    call.second = {ConvParam.nBlackFilterGray, ConvParam.nBlackFilterGain};
    call.pParam = &ConvParam;
    return RunPixelTwice(*this, PixelKernel::VertIntrin, call, nTwicePitch16, {nTwiceThreshold, nTwiceThresholdGain});
}

static_assert(HasPublicNames<pixelKernels, KernelHome::Engine>());
