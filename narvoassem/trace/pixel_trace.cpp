// SPDX-License-Identifier: MIT
// The pixel kernels behind the trace.
#include "narvoassem/compare/pixel_driver.h"
#include "narvoassem/fast/pixel/pixel_scan.h"
#include "narvoassem/trace/traced_families.h"
#include "narvoassem/trace/traced_kernel.h"

namespace narvo::engine
{

std::unique_ptr<const CKernelTrace> TracePixelKernel(const CConvParam& param)
{
    const CPixelChoice& choice = ChoosePixelKernel(param);
    return std::make_unique<CTracedKernel<PixelKernel, CPixelCall>>(
        param, choice.eKernel, GetKernelRow(choice.eKernel).pWords,
        [&](CPairStorage& store, int* pEndLine) { return MakePixelCall(store, choice, pEndLine); });
}

} // namespace narvo::engine
