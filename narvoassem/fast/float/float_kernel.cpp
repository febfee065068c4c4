// SPDX-License-Identifier: MIT
// The float kernels: one template, instantiated for each row of the table.
#include "narvoassem/fast/float/float_scan.h"

namespace narvo::engine
{

int RunFloatKernel(FloatKernel eKernel, const CFloatCall& call)
{
    return VisitKernel(eKernel, call, [](auto& source, auto& rule) { return CScan(source, rule).Run(); });
}

} // namespace narvo::engine
