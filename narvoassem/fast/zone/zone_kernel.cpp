// SPDX-License-Identifier: MIT
// The zone kernels: one template, instantiated for each row of the table.
#include "narvoassem/fast/call/kernel_call.h"
#include "narvoassem/fast/source/pixel_source.h"
#include "narvoassem/fast/zone/zone_rule.h"
#include "narvoassem/fast/zone/zone_table.h"

namespace narvo::engine
{

namespace
{

template <CZoneTraits kTraits>
int Run(const CZoneCall& call)
{
    CZoneRule<kTraits> rule(call);
    CPixelSource source(call, rule);
    return CScan(source, rule).Run();
}

} // namespace

int RunZoneKernel(ZoneKernel eKernel, const CZoneCall& call)
{
    return CallWithEntry<zoneKernels.size()>(static_cast<std::size_t>(eKernel),
                                             [&](auto kernel)
                                             {
                                                 constexpr CZoneTraits kTraits = zoneKernels[kernel].traits;
                                                 // A shift of whole pixels only keeps the cheaper reference.
                                                 if constexpr (kTraits.bFraction)
                                                     if ((call.nVtdPitch16 & 15) != 0)
                                                         return Run<WithFraction(kTraits)>(call);
                                                 return Run<kTraits>(call);
                                             });
}

} // namespace narvo::engine
