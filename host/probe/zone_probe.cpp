// Probes of the zone kernels.
#include <array>
#include <string_view>

#include "host/probe/comparison_choice.h"
#include "host/probe/rule_probe.h"
#include "narvoassem/fast/zone_rule.h"
#include "narvoassem/fast/zone_traits.h"

namespace narvo
{

namespace
{

constexpr std::array<std::string_view, 15> zoneNames = {"zone, vertical",
                                                        "zone, vertical, read directly",
                                                        "zone, vertical, means of 2 by 2",
                                                        "zone, vertical, skipped cells",
                                                        "zone, vertical, means of 2 by 2, skipped cells",
                                                        "zone, vertical, two threshold segments",
                                                        "zone, vertical, row table or shift",
                                                        "zone, horizontal",
                                                        "zone, horizontal, column table",
                                                        "zone, vertical, extended",
                                                        "zone, vertical, extended, zone tables",
                                                        "zone, vertical, extended, second threshold of dark hits",
                                                        "zone, vertical, extended, shift",
                                                        "zone, vertical, extended, class ids",
                                                        "zone, vertical, extended, class ids, row table"};

/// Zone kernels read as tables of rows do; nothing else does.
template <std::size_t kIndex, bool kFraction>
BackendPointer MakeZone(const CConvParam& param, const CZoneCellSize& cell)
{
    constexpr auto kKernel = static_cast<ZoneKernel>(kIndex);
    constexpr CZoneTraits kTraits = GetZoneTraits(kKernel, kFraction);
    return std::make_unique<RuleBackend<CZoneRule<kTraits>, CZoneCall>>(
        param, [&](CPairStorage& store, int* endLine) { return MakeZoneCall(store, kKernel, cell, endLine); });
}

} // namespace

BackendPointer MakeZoneBackend(const CConvParam& param, bool asg, std::string& name)
{
    const bool fraction = HasFraction(param);
    const ZoneChoice choice = ChooseZone(param, asg);
    const auto kernel = static_cast<std::size_t>(choice.kernel);
    name = zoneNames[kernel];
    return Choose(kernel, std::make_index_sequence<zoneNames.size()>(),
                  [&](auto index) {
                      return fraction ? MakeZone<index, true>(param, choice.cell)
                                      : MakeZone<index, false>(param, choice.cell);
                  });
}

} // namespace narvo
