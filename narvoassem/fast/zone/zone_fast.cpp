// SPDX-License-Identifier: MIT
// The public names of the fast zone kernels.
#include "narvoassem/fastkernels.h"

#include "narvoassem/fast/call/kernel_args.h"
#include "narvoassem/fast/call/kernel_call.h"
#include "narvoassem/fast/zone/zone_table.h"

using namespace narvo::engine;

// Arguments of the shared lists that a kernel does not read keep their names in the public header.
#pragma GCC diagnostic ignored "-Wunused-parameter"

NARVO_PUBLIC_NAME(ZoneKernel::Vert, ConvZoneVertFast);
int ConvZoneVertFast(NARVO_ZONE_ARGUMENTS, short* pStripBuffer, std::int64_t bKeepSingle, int* pEndLine,
                     std::int64_t nThresholdExtra, std::int64_t nGrayLimit)
{
    CZoneCall call;
    NARVO_TAKE_ZONE_ARGUMENTS(call);
    call.nThresholdExtra = nThresholdExtra;
    return RunZoneKernel(ZoneKernel::Vert, call);
}

NARVO_PUBLIC_NAME(ZoneKernel::Vert2by2, ConvZoneVert2by2Fast);
int ConvZoneVert2by2Fast(NARVO_ZONE_ARGUMENTS, short* pStripBuffer, std::int64_t bKeepSingle, int* pEndLine,
                         std::int64_t nThresholdExtra, std::int64_t nGrayLimit)
{
    CZoneCall call;
    NARVO_TAKE_ZONE_ARGUMENTS(call);
    call.nThresholdExtra = nThresholdExtra;
    return RunZoneKernel(ZoneKernel::Vert2by2, call);
}

NARVO_PUBLIC_NAME(ZoneKernel::VertFlag, ConvZoneVertFlagFast);
int ConvZoneVertFlagFast(NARVO_ZONE_ARGUMENTS, short* pStripBuffer, std::int64_t bKeepSingle, int* pEndLine,
                         std::int64_t nThresholdExtra, std::int64_t nGrayLimit)
{
    CZoneCall call;
    NARVO_TAKE_ZONE_ARGUMENTS(call);
    call.nThresholdExtra = nThresholdExtra;
    return RunZoneKernel(ZoneKernel::VertFlag, call);
}

NARVO_PUBLIC_NAME(ZoneKernel::VertFlag2by2, ConvZoneVertFlag2by2Fast);
int ConvZoneVertFlag2by2Fast(NARVO_ZONE_ARGUMENTS, short* pStripBuffer, std::int64_t bKeepSingle, int* pEndLine,
                             std::int64_t nThresholdExtra, std::int64_t nGrayLimit)
{
    CZoneCall call;
    NARVO_TAKE_ZONE_ARGUMENTS(call);
    call.nThresholdExtra = nThresholdExtra;
    return RunZoneKernel(ZoneKernel::VertFlag2by2, call);
}

NARVO_PUBLIC_NAME(ZoneKernel::VertDirect, ConvZoneVertDirectFast);
int ConvZoneVertDirectFast(NARVO_ZONE_ARGUMENTS, short* pStripBuffer, std::int64_t bKeepSingle, int* pEndLine,
                           std::int64_t nGrayLimit)
{
    CZoneCall call;
    NARVO_TAKE_ZONE_ARGUMENTS(call);
    return RunZoneKernel(ZoneKernel::VertDirect, call);
}

NARVO_PUBLIC_NAME(ZoneKernel::VertKnee, ConvZoneVertKneeFast);
int ConvZoneVertKneeFast(NARVO_ZONE_ARGUMENTS, short* pStripBuffer, std::int64_t bKeepSingle, int* pEndLine,
                         short* pThresholdKneeMap, short* pThresholdOffsetMap2, short* pThresholdGainMap2,
                         std::int64_t nGrayLimit)
{
    CZoneCall call;
    NARVO_TAKE_ZONE_ARGUMENTS(call);
    call.pKneeMap = pThresholdKneeMap;
    call.pOffsetMap2 = pThresholdOffsetMap2;
    call.pGainMap2 = pThresholdGainMap2;
    return RunZoneKernel(ZoneKernel::VertKnee, call);
}

NARVO_PUBLIC_NAME(ZoneKernel::Vtd, ConvZoneVTDFast);
int ConvZoneVTDFast(NARVO_ZONE_VTD_ARGUMENTS, std::int64_t nVtdPitch16, std::int64_t bKeepSingle, int* pEndLine,
                    std::int64_t nThresholdExtra, std::int64_t nGrayLimit)
{
    CZoneCall call;
    NARVO_TAKE_ZONE_ARGUMENTS(call);
    call.pScanPitchTable = pScanPitchTable;
    call.nVtdPitch16 = nVtdPitch16;
    call.nThresholdExtra = nThresholdExtra;
    return RunZoneKernel(ZoneKernel::Vtd, call);
}

NARVO_PUBLIC_NAME(ZoneKernel::Hori, ConvZoneFast);
int ConvZoneFast(NARVO_ZONE_ARGUMENTS, std::int64_t bKeepSingle, int* pEndLine, std::int64_t nGrayLimit)
{
    CZoneCall call;
    NARVO_TAKE_ZONE_ARGUMENTS(call);
    return RunZoneKernel(ZoneKernel::Hori, call);
}

NARVO_PUBLIC_NAME(ZoneKernel::HoriTable, ConvZoneTableFast);
int ConvZoneTableFast(NARVO_HIT_ARGUMENTS, unsigned short* pConvPitchTable, short* pConvWeightNear,
                      short* pConvWeightFar, NARVO_PAIR_ARGUMENTS, std::int64_t nPairSearchSlack, std::int64_t nPitch16,
                      std::int64_t nZoneRowBytes, short* pThresholdGainMap, std::int64_t bKeepSingle, int* pEndLine,
                      std::int64_t nGrayLimit)
{
    CZoneCall call;
    NARVO_TAKE_ZONE_ARGUMENTS(call);
    call.pConvPitchTable = pConvPitchTable;
    call.pConvWeightNear = pConvWeightNear;
    call.pConvWeightFar = pConvWeightFar;
    return RunZoneKernel(ZoneKernel::HoriTable, call);
}

static_assert(HasPublicNames<zoneKernels, KernelHome::Fast>());
