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
    double dOverPlain; ///< target: times the baseline's rate at the widest level
    double dOfReading; ///< target: share of the read pass's rate at the widest level
};

std::span<const SZoneKernel> ZoneKernels();

} // namespace bench
