// SPDX-License-Identifier: MIT
// A zone kernel as the row source and the rule that a scan runs by.
#pragma once

#include <cstddef>

#include "narvoassem/fast/call/kernel_call.h"
#include "narvoassem/fast/source/pixel_source.h"
#include "narvoassem/fast/zone/zone_rule.h"
#include "narvoassem/fast/zone/zone_table.h"

namespace narvo::engine
{

template <CZoneTraits kTraits, class TVisit>
auto VisitZone(const CZoneCall& call, const TVisit& visit)
{
    CZoneRule<kTraits> rule(call);
    CPixelSource source(call, rule);
    return visit(source, rule);
}

/// @return visit(source, rule) of the kernel
template <class TVisit>
auto VisitKernel(ZoneKernel eKernel, const CZoneCall& call, const TVisit& visit)
{
    return CallWithEntry<zoneKernels.size()>(static_cast<std::size_t>(eKernel),
                                             [&](auto kernel)
                                             {
                                                 constexpr CZoneTraits kTraits = zoneKernels[kernel].traits;
                                                 // A shift of whole pixels only keeps the cheaper reference.
                                                 if constexpr (kTraits.bFraction)
                                                     if ((call.nVtdPitch16 & 15) != 0)
                                                         return VisitZone<WithFraction(kTraits)>(call, visit);
                                                 return VisitZone<kTraits>(call, visit);
                                             });
}

} // namespace narvo::engine
