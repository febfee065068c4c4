// SPDX-License-Identifier: MIT
// Probes of the zone kernels.
#include "host/probe/rule_probe.h"
#include "narvoassem/compare/zone_driver.h"
#include "narvoassem/fast/zone/zone_rule.h"
#include "narvoassem/fast/zone/zone_table.h"

namespace narvo
{

namespace
{

template <engine::CZoneTraits kTraits>
BackendPointer MakeZone(const CConvParam& param, const engine::CZoneChoice& choice, const engine::CZoneCellSize& cell)
{
    return std::make_unique<RuleBackend<engine::CZoneRule<kTraits>, engine::CZoneCall>>(
        param, [&](CPairStorage& store, int* endLine) { return engine::MakeZoneCall(store, choice, cell, endLine); });
}

} // namespace

BackendPointer MakeZoneBackend(const CConvParam& param, bool asg, std::string& name)
{
    const engine::CZoneChoice& choice = asg ? engine::ChooseAsgZoneKernel(param) : engine::ChooseZoneKernel(param);
    const engine::CZoneCellSize cell = asg ? engine::GetAsgZoneCellSize(param) : engine::GetZoneCellSize(param);
    name = engine::GetKernelRow(choice.eKernel).pWords;
    return engine::CallWithEntry<engine::zoneKernels.size()>(
        static_cast<std::size_t>(choice.eKernel),
        [&](auto kernel)
        {
            constexpr engine::CZoneTraits kTraits = engine::zoneKernels[kernel].traits;
            return HasFraction(param) ? MakeZone<engine::WithFraction(kTraits)>(param, choice, cell)
                                      : MakeZone<kTraits>(param, choice, cell);
        });
}

} // namespace narvo
