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
    double dOfComponents;  ///< target: times OpenCV's operators with components
};

/// Targets of a whole inspection, shares of the rate of reading alone; 0 for none.
struct SShareTargets
{
    double dAvx512;
    double dAvx2 = 0.0;
    double dSsse3 = 0.0;
};

/// One inspection of the whole image, directly on an engine.
int InspectAnew(CNarvoAssem& engine, CConvParam& param);

/// The inspection's share of reading alone, and which part of its time the comparison takes. The scene has its density
/// already.
void AddShareLines(CTable& table, CScene& scene, const SInspection& inspection, const SShareTargets& targets,
                   const SOptions& options);

/// The same, against OpenCV.
void AddInspectionLines(CTable& table, CScene& scene, const SInspection& inspection, const SOptions& options);

} // namespace bench
