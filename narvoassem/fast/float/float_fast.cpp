// SPDX-License-Identifier: MIT
// The public names of the fast float kernels.
#include "narvoassem/fastkernels.h"

#include "narvoassem/fast/call/kernel_args.h"
#include "narvoassem/fast/call/kernel_call.h"
#include "narvoassem/fast/float/float_table.h"

using namespace narvo::engine;

// Arguments of the shared lists that a kernel does not read keep their names in the public header.
#pragma GCC diagnostic ignored "-Wunused-parameter"

NARVO_PUBLIC_NAME(FloatKernel::Hori4, ConvFloatFast4);
int ConvFloatFast4(NARVO_FLOAT_ARGUMENTS, NARVO_FLOAT_HORI_TAIL)
{
    CFloatCall call;
    NARVO_TAKE_FLOAT_ARGUMENTS(call);
    return RunFloatKernel(FloatKernel::Hori4, call);
}

NARVO_PUBLIC_NAME(FloatKernel::Hori6, ConvFloatFast6);
int ConvFloatFast6(NARVO_FLOAT_ARGUMENTS, NARVO_FLOAT_HORI_TAIL)
{
    CFloatCall call;
    NARVO_TAKE_FLOAT_ARGUMENTS(call);
    return RunFloatKernel(FloatKernel::Hori6, call);
}

NARVO_PUBLIC_NAME(FloatKernel::Hori9, ConvFloatFast9);
int ConvFloatFast9(NARVO_FLOAT_ARGUMENTS, NARVO_FLOAT_HORI_TAIL)
{
    CFloatCall call;
    NARVO_TAKE_FLOAT_ARGUMENTS(call);
    return RunFloatKernel(FloatKernel::Hori9, call);
}

NARVO_PUBLIC_NAME(FloatKernel::HoriTable4, ConvFloatTableFast4);
int ConvFloatTableFast4(NARVO_FLOAT_ARGUMENTS, NARVO_FLOAT_TABLE_TAIL)
{
    CFloatCall call;
    NARVO_TAKE_FLOAT_ARGUMENTS(call);
    call.pConvPitchTable = pConvPitchTable;
    call.pConvWeightNear = pConvWeightNear;
    call.pConvWeightFar = pConvWeightFar;
    return RunFloatKernel(FloatKernel::HoriTable4, call);
}

NARVO_PUBLIC_NAME(FloatKernel::HoriTable6, ConvFloatTableFast6);
int ConvFloatTableFast6(NARVO_FLOAT_ARGUMENTS, NARVO_FLOAT_TABLE_TAIL)
{
    CFloatCall call;
    NARVO_TAKE_FLOAT_ARGUMENTS(call);
    call.pConvPitchTable = pConvPitchTable;
    call.pConvWeightNear = pConvWeightNear;
    call.pConvWeightFar = pConvWeightFar;
    return RunFloatKernel(FloatKernel::HoriTable6, call);
}

NARVO_PUBLIC_NAME(FloatKernel::Vert4, ConvFloatVertFast4);
int ConvFloatVertFast4(NARVO_FLOAT_ARGUMENTS, NARVO_FLOAT_VERT_TAIL)
{
    CFloatCall call;
    NARVO_TAKE_FLOAT_ARGUMENTS(call);
    return RunFloatKernel(FloatKernel::Vert4, call);
}

NARVO_PUBLIC_NAME(FloatKernel::Vert6, ConvFloatVertFast6);
int ConvFloatVertFast6(NARVO_FLOAT_ARGUMENTS, NARVO_FLOAT_VERT_TAIL)
{
    CFloatCall call;
    NARVO_TAKE_FLOAT_ARGUMENTS(call);
    return RunFloatKernel(FloatKernel::Vert6, call);
}

NARVO_PUBLIC_NAME(FloatKernel::Vert9, ConvFloatVertFast9);
int ConvFloatVertFast9(NARVO_FLOAT_ARGUMENTS, NARVO_FLOAT_VERT_TAIL)
{
    CFloatCall call;
    NARVO_TAKE_FLOAT_ARGUMENTS(call);
    return RunFloatKernel(FloatKernel::Vert9, call);
}

NARVO_PUBLIC_NAME(FloatKernel::Vtd, ConvFloatVTDFast);
int ConvFloatVTDFast(NARVO_FLOAT_ARGUMENTS, NARVO_FLOAT_VTD_TAIL)
{
    CFloatCall call;
    NARVO_TAKE_FLOAT_ARGUMENTS(call);
    call.pScanPitchTable = pScanPitchTable;
    call.nVtdPitch16 = nPitch16Second;
    return RunFloatKernel(FloatKernel::Vtd, call);
}

static_assert(HasPublicNames<floatKernels, KernelHome::Fast>());
