// SPDX-License-Identifier: MIT
// The kernels of each family behind the trace; each in a file of its own, since each compiles all kernels of its
// family.
#pragma once

#include "narvoassem/compare/comparison.h"
#include "narvoassem/trace/kernel_trace.h"

namespace narvo::engine
{

std::unique_ptr<const CKernelTrace> TraceZoneKernel(const CConvParam& param, bool bAsg);
std::unique_ptr<const CKernelTrace> TracePixelKernel(const CConvParam& param);
/// @return null where the comparison runs no kernel
std::unique_ptr<const CKernelTrace> TraceFloatKernel(const CConvParam& param);

} // namespace narvo::engine
