// SPDX-License-Identifier: MIT
// Figures of the zone kernels; engine_lines.cpp has those of whole zone inspections.
#include "bench/kernel_lines.h"

namespace bench
{

void AddZoneLines(CTable& table, CScene& large, const SOptions& options)
{
    AddKernelFamily(table, large, ZoneKernels(), densityFew, options);
}

} // namespace bench
