// SPDX-License-Identifier: MIT
// Figures of the pixel mode: its kernels, and whole inspections.
#include "bench/inspection_lines.h"
#include "bench/kernel_lines.h"

namespace bench
{

void AddPixelLines(CTable& table, CScene& large, const SOptions& options)
{
    AddKernelFamily(table, large, PixelKernels(), densityFew, options);

    CConvParam param = large.RegionParam(true);
    param.nInspectMode = 1;
    param.nThreshold = flatFirst.nBase;
    param.nThresholdGain = flatFirst.nGain;
    const auto inspection = [&](const SDensity& density)
    {
        large.SetDensity(density);
        return SInspection{"pixel inspection to blobs",
                           density.pName,
                           param,
                           "ConvPixelVertSFast",
                           RunPixelVert,
                           1,
                           flatFirst.nBase,
                           flatFirst.nGain,
                           65.0};
    };
    AddShareLines(table, large, inspection(densityNone), {0.95}, options);
    AddShareLines(table, large, inspection(densityFew), {0.45}, options);
    AddShareLines(table, large, inspection(densitySparse), {0.8, 0.65, 0.42}, options);
    AddInspectionLines(table, large, inspection(densitySparse), options);
}

} // namespace bench
