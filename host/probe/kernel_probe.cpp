// SPDX-License-Identifier: MIT
// The trace of the kernel that a block selects.
#include "host/probe/kernel_probe.h"

#include "host/problem.h"

namespace narvo
{

std::unique_ptr<const CKernelTrace> ProbeKernel(const CConvParam& param, bool asg)
{
    std::unique_ptr<const CKernelTrace> probe = engine::TraceKernel(param, asg);
    if (probe == nullptr)
        throw HostError({{"mode", "compares nothing at a pitch", "zone, pixel, float over a rectangle, or asg"}});
    return probe;
}

} // namespace narvo
