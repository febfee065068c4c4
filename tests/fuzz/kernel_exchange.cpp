// See kernel_exchange.h. Names are those that the linker gives to a wrapped function and to the one behind it.
#include "fuzz/kernel_exchange.h"

#include <atomic>

#include "narvoassem/fast/call/kernel_call.h"
#include "narvoassem/fast/trapezium/trapezium_call.h"
#include "reference/float_reference.h"
#include "reference/pixel_reference.h"
#include "reference/trapezium_reference.h"
#include "reference/zone_reference.h"

namespace
{

std::atomic<bool> bPlain = false;
std::atomic<int> nRuns = 0;

bool IsPlainRun()
{
    nRuns += bPlain ? 1 : 0;
    return bPlain;
}

} // namespace

// NOLINTBEGIN(bugprone-reserved-identifier,readability-identifier-naming)
extern "C"
{
    int __real__ZN5narvo13RunZoneKernelENS_10ZoneKernelERKNS_9CZoneCallE(narvo::ZoneKernel eKernel,
                                                                         const narvo::CZoneCall& call);
    int __real__ZN5narvo14RunPixelKernelENS_11PixelKernelERKNS_10CPixelCallE(narvo::PixelKernel eKernel,
                                                                             const narvo::CPixelCall& call);
    int __real__ZN5narvo14RunFloatKernelENS_11FloatKernelERKNS_10CFloatCallE(narvo::FloatKernel eKernel,
                                                                             const narvo::CFloatCall& call);
    int __real__ZN5narvo16RunTrapeziumHoriERKNS_18CTrapeziumHoriCallE(const narvo::CTrapeziumHoriCall& call);
    int __real__ZN5narvo16RunTrapeziumVertERKNS_18CTrapeziumVertCallE(const narvo::CTrapeziumVertCall& call);

    int __wrap__ZN5narvo13RunZoneKernelENS_10ZoneKernelERKNS_9CZoneCallE(narvo::ZoneKernel eKernel,
                                                                         const narvo::CZoneCall& call)
    {
        return IsPlainRun() ? narvo::reference::RunZoneKernel(eKernel, call)
                            : __real__ZN5narvo13RunZoneKernelENS_10ZoneKernelERKNS_9CZoneCallE(eKernel, call);
    }
    int __wrap__ZN5narvo14RunPixelKernelENS_11PixelKernelERKNS_10CPixelCallE(narvo::PixelKernel eKernel,
                                                                             const narvo::CPixelCall& call)
    {
        return IsPlainRun() ? narvo::reference::RunPixelKernel(eKernel, call)
                            : __real__ZN5narvo14RunPixelKernelENS_11PixelKernelERKNS_10CPixelCallE(eKernel, call);
    }
    int __wrap__ZN5narvo14RunFloatKernelENS_11FloatKernelERKNS_10CFloatCallE(narvo::FloatKernel eKernel,
                                                                             const narvo::CFloatCall& call)
    {
        return IsPlainRun() ? narvo::reference::RunFloatKernel(eKernel, call)
                            : __real__ZN5narvo14RunFloatKernelENS_11FloatKernelERKNS_10CFloatCallE(eKernel, call);
    }
    int __wrap__ZN5narvo16RunTrapeziumHoriERKNS_18CTrapeziumHoriCallE(const narvo::CTrapeziumHoriCall& call)
    {
        return IsPlainRun() ? narvo::reference::RunTrapeziumHori(call)
                            : __real__ZN5narvo16RunTrapeziumHoriERKNS_18CTrapeziumHoriCallE(call);
    }
    int __wrap__ZN5narvo16RunTrapeziumVertERKNS_18CTrapeziumVertCallE(const narvo::CTrapeziumVertCall& call)
    {
        return IsPlainRun() ? narvo::reference::RunTrapeziumVert(call)
                            : __real__ZN5narvo16RunTrapeziumVertERKNS_18CTrapeziumVertCallE(call);
    }
}
// NOLINTEND(bugprone-reserved-identifier,readability-identifier-naming)

namespace narvo::test
{

CPlainKernels::CPlainKernels()
{
    bPlain = true;
    nRuns = 0;
}

CPlainKernels::~CPlainKernels()
{
    bPlain = false;
}

int CPlainKernels::GetRuns() const
{
    return nRuns;
}

} // namespace narvo::test
