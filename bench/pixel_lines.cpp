// SPDX-License-Identifier: MIT
// Figures of the pixel mode: its kernels, and whole inspections.
#include "bench/inspection_lines.h"
#include "bench/kernel_lines.h"

namespace bench
{

void AddPixelLines(CTable& table, CScene& large, const SOptions& options)
{
    AddKernelFamily(table, large, PixelKernels(), densityFew, options);

    large.SetDensity(densitySparse);
    CConvParam param = large.RegionParam(true);
    param.nInspectMode = 1;
    param.nThreshold = flatFirst.nBase;
    param.nThresholdGain = flatFirst.nGain;
    AddInspectionLines(table, large,
                       {"pixel inspection to blobs", densitySparse.pName, param, "ConvPixelVertSFast", RunPixelVert, 1,
                        flatFirst.nBase, flatFirst.nGain},
                       options);
}

} // namespace bench
