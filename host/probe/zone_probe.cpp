// Probes of the zone kernels.
#include "host/probe/comparison_choice.h"
#include "host/probe/rule_probe.h"
#include "narvoassem/fast/zone_rule.h"
#include "narvoassem/fast/zone_table.h"

namespace narvo
{

namespace
{

template <CZoneTraits kTraits>
BackendPointer MakeZone(const CConvParam& param, const ZoneChoice& choice)
{
    return std::make_unique<RuleBackend<CZoneRule<kTraits>, CZoneCall>>(
        param,
        [&](CPairStorage& store, int* endLine) { return MakeZoneCall(store, choice.kernel, choice.cell, endLine); });
}

} // namespace

BackendPointer MakeZoneBackend(const CConvParam& param, bool asg, std::string& name)
{
    const ZoneChoice choice = ChooseZone(param, asg);
    name = GetKernelRow(choice.kernel.eKernel).pWords;
    return CallWithEntry<zoneKernels.size()>(static_cast<std::size_t>(choice.kernel.eKernel),
                                             [&](auto kernel)
                                             {
                                                 constexpr CZoneTraits kTraits = zoneKernels[kernel].traits;
                                                 return HasFraction(param)
                                                            ? MakeZone<WithFraction(kTraits)>(param, choice)
                                                            : MakeZone<kTraits>(param, choice);
                                             });
}

} // namespace narvo
