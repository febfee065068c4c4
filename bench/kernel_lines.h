// SPDX-License-Identifier: MIT
// Figures of a family of kernels: rates at the vector levels, against the baselines, against reading alone.
#pragma once

#include <span>

#include "bench/bench_lines.h"
#include "bench/kernel_rows.h"

namespace bench
{

/// How one scene is measured.
struct SKernelCase
{
    SDensity density;
    bool bTargets; ///< the rows' targets apply here
    int nRounds;
    int nRepeat;
};

/// Adds the figures of all rows. Records are compared first: wrong results end the run.
void AddKernelLines(CTable& table, CScene& scene, std::span<const SKernelRow> rows, const SKernelCase& kernelCase,
                    bool bAllLevels);

/// The family's usual cases: the large image with few hits, and with options.bAll other densities and an image in
/// cache.
void AddKernelFamily(CTable& table, CScene& large, std::span<const SKernelRow> rows, const SDensity& few,
                     const SOptions& options);

} // namespace bench
