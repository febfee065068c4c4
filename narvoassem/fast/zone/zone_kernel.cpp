// SPDX-License-Identifier: MIT
// The zone kernels: one template, instantiated for each row of the table.
#include "narvoassem/fast/zone/zone_scan.h"

namespace narvo::engine
{

int RunZoneKernel(ZoneKernel eKernel, const CZoneCall& call)
{
    return VisitKernel(eKernel, call, [](auto& source, auto& rule) { return CScan(source, rule).Run(); });
}

} // namespace narvo::engine
