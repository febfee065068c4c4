// Probes of the zone kernels.
#include "host/probe/rule_probe.h"
#include "narvoassem/compare/zone_driver.h"
#include "narvoassem/fast/zone/zone_rule.h"
#include "narvoassem/fast/zone/zone_table.h"

namespace narvo
{

namespace
{

template <CZoneTraits kTraits>
BackendPointer MakeZone(const CConvParam& param, const CZoneChoice& choice, const CZoneCellSize& cell)
{
    return std::make_unique<RuleBackend<CZoneRule<kTraits>, CZoneCall>>(
        param, [&](CPairStorage& store, int* endLine) { return MakeZoneCall(store, choice, cell, endLine); });
}

} // namespace

BackendPointer MakeZoneBackend(const CConvParam& param, bool asg, std::string& name)
{
    const CZoneChoice& choice = asg ? ChooseAsgZoneKernel(param) : ChooseZoneKernel(param);
    const CZoneCellSize cell = asg ? GetAsgZoneCellSize(param) : GetZoneCellSize(param);
    name = GetKernelRow(choice.eKernel).pWords;
    return CallWithEntry<zoneKernels.size()>(static_cast<std::size_t>(choice.eKernel),
                                             [&](auto kernel)
                                             {
                                                 constexpr CZoneTraits kTraits = zoneKernels[kernel].traits;
                                                 return HasFraction(param)
                                                            ? MakeZone<WithFraction(kTraits)>(param, choice, cell)
                                                            : MakeZone<kTraits>(param, choice, cell);
                                             });
}

} // namespace narvo
