// SPDX-License-Identifier: MIT
// The pixel kernels: one template, instantiated for each row of the table.
#include "narvoassem/fast/pixel/pixel_scan.h"

namespace narvo::engine
{

int RunPixelKernel(PixelKernel eKernel, const CPixelCall& call)
{
    return VisitKernel(eKernel, call, [](auto& source, auto& rule) { return CScan(source, rule).Run(); });
}

} // namespace narvo::engine
