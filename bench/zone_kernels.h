// The zone kernels of the interface, each with its baseline, under one calling shape.
#pragma once

#include <span>

#include "bench/plain_zone.h"

namespace bench
{

struct SZoneKernel
{
    const char* pName;
    int (*pLibrary)(SZoneCall&); ///< starts with no pairs held; @return the pair count
    PlainZone pPlain;
    // Targets, 0 for none.
    double dOverPlainAvx2;   ///< times the baseline's rate at AVX2
    double dOverPlainAvx512; ///< the same at AVX-512
    double dOfReading;       ///< share of the read pass's rate at AVX-512
};

std::span<const SZoneKernel> ZoneKernels();

} // namespace bench
