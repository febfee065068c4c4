// SPDX-License-Identifier: MIT
// The pixel kernels in plain scalar form: pixel by pixel, row by row or strip by strip, record by record. The kernels
// of the library are compared with it; it shares their argument record and none of their code.
#pragma once

#include "narvoassem/fast/call/kernel_call.h"
#include "narvoassem/fast/pixel/pixel_table.h"

namespace narvo::test::reference
{

using engine::PixelKernel;

/// Runs the plain form of a pixel kernel on the call's own image, hit arrays, pair array and end line.
/// A known image height (call.image.nRows) bounds every read: first the row, then the flat address.
/// @return the new pair count
int RunPixelKernel(PixelKernel eKernel, const engine::CPixelCall& call);

} // namespace narvo::test::reference
