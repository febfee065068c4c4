// SPDX-License-Identifier: MIT
// The zone kernels that are members of the engine: the same kernels with the engine's dead zones and second thresholds.
#include "narvoassem/compare/compare_chain.h"
#include "narvoassem/fast/call/kernel_args.h"
#include "narvoassem/fast/call/kernel_call.h"
#include "narvoassem/fast/zone/zone_table.h"
#include "narvoassem/narvoassem.h"

using namespace narvo::engine;

// Arguments of the shared lists keep the names of the public header, which are those of the stores' members too.
#pragma GCC diagnostic ignored "-Wshadow"
#pragma GCC diagnostic ignored "-Wunused-parameter"

NARVO_PUBLIC_NAME(ZoneKernel::Vert2S, ConvZoneVert2S_Intrin);
int CNarvoAssem::ConvZoneVert2S_Intrin(NARVO_ZONE_ARGUMENTS, short* pStripBuffer, std::int64_t bKeepSingle,
                                       int* pEndLine, std::int64_t nThresholdExtra, std::int64_t nGrayLimit)
{
    CZoneCall call;
    NARVO_TAKE_ZONE_ARGUMENTS(call);
    BoundByEngine(call, ConvParam);
    call.pParam = &ConvParam;
    return RunZoneKernel(ZoneKernel::Vert2S, call);
}

NARVO_PUBLIC_NAME(ZoneKernel::Vert2STsp, ConvZoneVert2S_TSP_Intrin);
int CNarvoAssem::ConvZoneVert2S_TSP_Intrin(NARVO_ZONE_ARGUMENTS, short* pStripBuffer, std::int64_t bKeepSingle,
                                           int* pEndLine, std::int64_t nThresholdExtra, std::int64_t nGrayLimit)
{
    CZoneCall call;
    NARVO_TAKE_ZONE_ARGUMENTS(call);
    BoundByEngine(call, ConvParam);
    call.pParam = &ConvParam;
    return RunZoneKernel(ZoneKernel::Vert2STsp, call);
}

NARVO_PUBLIC_NAME(ZoneKernel::Vert2SBlack, ConvZoneVert2S_BlackFilter);
int CNarvoAssem::ConvZoneVert2S_BlackFilter(NARVO_ZONE_ARGUMENTS, short* pStripBuffer, std::int64_t bKeepSingle,
                                            int* pEndLine, std::int64_t nThresholdExtra, std::int64_t nGrayLimit)
{
    CZoneCall call;
    NARVO_TAKE_ZONE_ARGUMENTS(call);
    BoundByEngine(call, ConvParam);
    call.pParam = &ConvParam;
    return RunZoneKernel(ZoneKernel::Vert2SBlack, call);
}

NARVO_PUBLIC_NAME(ZoneKernel::VtdIntrin, ConvZoneVTD_Intrin);
int CNarvoAssem::ConvZoneVTD_Intrin(NARVO_ZONE_VTD_ARGUMENTS, std::int64_t nVtdPitch16, std::int64_t bKeepSingle,
                                    int* pEndLine, std::int64_t nThresholdExtra, std::int64_t nGrayLimit)
{
    CZoneCall call;
    NARVO_TAKE_ZONE_ARGUMENTS(call);
    BoundByEngine(call, ConvParam);
    call.pScanPitchTable = pScanPitchTable;
    call.nVtdPitch16 = nVtdPitch16;
    call.pParam = &ConvParam;
    return RunZoneKernel(ZoneKernel::VtdIntrin, call);
}

static_assert(HasPublicNames<zoneKernels, KernelHome::Engine>());
