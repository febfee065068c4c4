// The zone kernels: one text, stamped out once for each public kernel.
#include "narvoassem/fast/kernel_call.h"
#include "narvoassem/fast/scan_rows.h"
#include "narvoassem/fast/scan_strips.h"
#include "narvoassem/fast/zone_rule.h"
#include "narvoassem/fast/zone_traits.h"

namespace narvo
{

namespace
{

template <ZoneKernel kKernel, bool kFraction = false>
int Run(const CZoneCall& call)
{
    constexpr CZoneTraits kTraits = GetZoneTraits(kKernel, kFraction);
    CZoneRule<kTraits> rule(call);
    if constexpr (kTraits.scan.bHorizontal)
        return CRowScan(call, rule).Run();
    else
        return CStripScan(call, rule).Run();
}

/// A shift of whole pixels alone leaves the cheaper reference.
template <ZoneKernel kKernel>
int RunShifted(const CZoneCall& call)
{
    return (call.nVtdPitch16 & 15) != 0 ? Run<kKernel, true>(call) : Run<kKernel, false>(call);
}

} // namespace

int RunZoneKernel(ZoneKernel eKernel, const CZoneCall& call)
{
    switch (eKernel)
    {
    case ZoneKernel::Vert:
        return Run<ZoneKernel::Vert>(call);
    case ZoneKernel::VertDirect:
        return Run<ZoneKernel::VertDirect>(call);
    case ZoneKernel::Vert2by2:
        return Run<ZoneKernel::Vert2by2>(call);
    case ZoneKernel::VertFlag:
        return Run<ZoneKernel::VertFlag>(call);
    case ZoneKernel::VertFlag2by2:
        return Run<ZoneKernel::VertFlag2by2>(call);
    case ZoneKernel::VertKnee:
        return Run<ZoneKernel::VertKnee>(call);
    case ZoneKernel::Vtd:
        return RunShifted<ZoneKernel::Vtd>(call);
    case ZoneKernel::Hori:
        return Run<ZoneKernel::Hori>(call);
    case ZoneKernel::HoriTable:
        return Run<ZoneKernel::HoriTable>(call);
    case ZoneKernel::Vert2S:
        return Run<ZoneKernel::Vert2S>(call);
    case ZoneKernel::Vert2STsp:
        return Run<ZoneKernel::Vert2STsp>(call);
    case ZoneKernel::Vert2SBlack:
        return Run<ZoneKernel::Vert2SBlack>(call);
    case ZoneKernel::VtdIntrin:
        return RunShifted<ZoneKernel::VtdIntrin>(call);
    case ZoneKernel::ClassId:
        return Run<ZoneKernel::ClassId>(call);
    case ZoneKernel::ClassIdTable:
        return Run<ZoneKernel::ClassIdTable>(call);
    }
    return static_cast<int>(call.pairs.nCount);
}

} // namespace narvo
