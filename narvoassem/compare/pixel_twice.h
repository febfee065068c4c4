// SPDX-License-Identifier: MIT
// Two passes of a pixel kernel over one region, with two pitches and two threshold sets.
#pragma once

#include <cstdint>

#include "narvoassem/fast/call/kernel_call.h"

class CNarvoAssem;

namespace narvo::engine
{

/// Runs the kernel with the call's own pitch and first set, then with the second ones, drops pairs of the second pass
/// beside one of the first, and builds the blobs of both passes in the engine.
/// @return the pair count of both passes
int RunPixelTwice(CNarvoAssem& assem, PixelKernel eKernel, const CPixelCall& call, std::int64_t nTwicePitch16,
                  const CThresholdSet& twice);

} // namespace narvo::engine
