// SPDX-License-Identifier: MIT
// The float kernels that are members of the engine: the same kernels with the engine's dead zones and second
// thresholds.
#include "narvoassem/base/fixed_pitch.h"
#include "narvoassem/compare/compare_chain.h"
#include "narvoassem/fast/call/kernel_args.h"
#include "narvoassem/fast/call/kernel_call.h"
#include "narvoassem/fast/float/float_table.h"
#include "narvoassem/narvoassem.h"

using namespace narvo::engine;

// Arguments of the shared lists keep the names of the public header, which are those of the stores' members too.
#pragma GCC diagnostic ignored "-Wshadow"
#pragma GCC diagnostic ignored "-Wunused-parameter"

NARVO_PUBLIC_NAME(FloatKernel::VertIntrin, ConvFloatVert_Intrin);
int CNarvoAssem::ConvFloatVert_Intrin(NARVO_FLOAT_ARGUMENTS, NARVO_FLOAT_VERT_TAIL)
{
    CFloatCall call;
    NARVO_TAKE_FLOAT_ARGUMENTS(call);
    BoundByEngine(call, ConvParam);
    call.pParam = &ConvParam;
    return RunFloatKernel(FloatKernel::VertIntrin, call);
}

NARVO_PUBLIC_NAME(FloatKernel::VtdIntrin, ConvFloatVTD_Intrin);
int CNarvoAssem::ConvFloatVTD_Intrin(NARVO_FLOAT_ARGUMENTS, NARVO_FLOAT_VTD_TAIL)
{
    CFloatCall call;
    NARVO_TAKE_FLOAT_ARGUMENTS(call);
    BoundByEngine(call, ConvParam);
    call.pScanPitchTable = pScanPitchTable;
    call.nVtdPitch16 = nPitch16Second;
    call.pParam = &ConvParam;
    return RunFloatKernel(FloatKernel::VtdIntrin, call);
}

NARVO_PUBLIC_NAME(FloatKernel::VertRegion, ConvFloatVJF_Intrin);
int CNarvoAssem::ConvFloatVJF_Intrin(CRect rtRegion, int& nEndLine)
{
    CFloatCall call;
    FillKernelCall(call, *this, &nEndLine);
    call.region = {rtRegion.left, rtRegion.top, rtRegion.right, rtRegion.bottom};
    call.hits.nCount = 0;
    call.nPitch16 = ToRoundedPitch16(ConvParam.GetRealScanPitch());
    call.first = {ConvParam.nThreshold, ConvParam.nThresholdGain};
    call.pParam = &ConvParam;
    call.pStore = this;
    call.rtRegion = rtRegion;
    return RunFloatKernel(FloatKernel::VertRegion, call);
}

static_assert(HasPublicNames<floatKernels, KernelHome::Engine>());

static_assert(HasPublicNames<floatKernels, KernelHome::Protected>());
