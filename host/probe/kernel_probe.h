// SPDX-License-Identifier: MIT
// What a kernel finds at single pixels, for pages that show or explain a result: the engine's trace, as the host layer
// asks for it.
#pragma once

#include <memory>

#include "narvoassem/trace/kernel_trace.h"

namespace narvo
{

using engine::CChainLink;
using engine::CChainTrace;
using engine::CKernelProperties;
using engine::CKernelTrace;
using engine::CPixelTrace;
using engine::HitFate;

/// @throws HostError when the block asks for no kernel at a pitch
std::unique_ptr<const CKernelTrace> ProbeKernel(const CConvParam& param, bool asg);

} // namespace narvo
