// SPDX-License-Identifier: MIT
// The zone kernels in plain scalar form: pixel by pixel, strip by strip, record by record. The kernels of
// the library are compared with it; it shares their argument record and none of their code.
#pragma once

#include "narvoassem/fast/call/kernel_call.h"
#include "narvoassem/fast/zone/zone_table.h"

namespace narvo::test::reference
{

using engine::ZoneKernel;

/// Runs the plain form of a zone kernel on the call's own image, hit arrays, pair array and end line.
/// A known image height (call.image.nRows) bounds every read: first the row, then the flat address.
/// @return the new pair count
int RunZoneKernel(ZoneKernel eKernel, const engine::CZoneCall& call);

} // namespace narvo::test::reference
