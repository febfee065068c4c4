// SPDX-License-Identifier: MIT
// Figures of a whole inspection in any mode: against the kernel that it runs and against finding connected defects
// with OpenCV.
#pragma once

#include <string>

#include "bench/bench_lines.h"
#include "bench/kernel_rows.h"

namespace bench
{

constexpr int nBlobs = 100000; ///< stores of an engine

struct SInspection
{
    std::string strName;
    std::string strDensity;
    CConvParam param;
    const char* pKernelName;
    LibraryKernel pKernel; ///< the kernel that param selects
    int nWindow;           ///< side of the window whose mean is compared, pixels
    double dBase;          ///< threshold for OpenCV, grey levels
    double dGain;          ///< the same, 1/256
};

/// One inspection of the whole image, directly on an engine.
int InspectAnew(CNarvoAssem& engine, CConvParam& param);

/// The scene has its density already.
void AddInspectionLines(CTable& table, CScene& scene, const SInspection& inspection, const SOptions& options);

} // namespace bench
