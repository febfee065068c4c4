// SPDX-License-Identifier: MIT
// The float kernels behind the trace.
#include "narvoassem/compare/float_driver.h"
#include "narvoassem/fast/float/float_scan.h"
#include "narvoassem/trace/traced_families.h"
#include "narvoassem/trace/traced_kernel.h"

namespace narvo::engine
{

std::unique_ptr<const CKernelTrace> TraceFloatKernel(const CConvParam& param)
{
    if (!RunsFloatKernel(param))
        return nullptr;
    const CFloatChoice& choice = ChooseFloatKernel(param);
    return std::make_unique<CTracedKernel<FloatKernel, CFloatCall>>(
        param, choice.eKernel, GetKernelRow(choice.eKernel).pWords,
        [&](CPairStorage& store, int* pEndLine) { return MakeFloatCall(store, choice, pEndLine); });
}

} // namespace narvo::engine
