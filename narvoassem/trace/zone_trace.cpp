// SPDX-License-Identifier: MIT
// The zone kernels behind the trace.
#include "narvoassem/compare/zone_driver.h"
#include "narvoassem/fast/zone/zone_scan.h"
#include "narvoassem/trace/traced_families.h"
#include "narvoassem/trace/traced_kernel.h"

namespace narvo::engine
{

std::unique_ptr<const CKernelTrace> TraceZoneKernel(const CConvParam& param, bool bAsg)
{
    const CZoneChoice& choice = bAsg ? ChooseAsgZoneKernel(param) : ChooseZoneKernel(param);
    const CZoneCellSize cell = bAsg ? GetAsgZoneCellSize(param) : GetZoneCellSize(param);
    return std::make_unique<CTracedKernel<ZoneKernel, CZoneCall>>(
        param, choice.eKernel, GetKernelRow(choice.eKernel).pWords,
        [&](CPairStorage& store, int* pEndLine) { return MakeZoneCall(store, choice, cell, pEndLine); });
}

} // namespace narvo::engine
