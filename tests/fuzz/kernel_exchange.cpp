// SPDX-License-Identifier: MIT
// See kernel_exchange.h. Names are those that the linker gives to a wrapped function and to the original.
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
    int __real__ZN5narvo6engine13RunZoneKernelENS0_10ZoneKernelERKNS0_9CZoneCallE(narvo::engine::ZoneKernel eKernel,
                                                                                  const narvo::engine::CZoneCall& call);
    int __real__ZN5narvo6engine14RunPixelKernelENS0_11PixelKernelERKNS0_10CPixelCallE(
        narvo::engine::PixelKernel eKernel, const narvo::engine::CPixelCall& call);
    int __real__ZN5narvo6engine14RunFloatKernelENS0_11FloatKernelERKNS0_10CFloatCallE(
        narvo::engine::FloatKernel eKernel, const narvo::engine::CFloatCall& call);
    int __real__ZN5narvo6engine16RunTrapeziumHoriERKNS0_18CTrapeziumHoriCallE(
        const narvo::engine::CTrapeziumHoriCall& call);
    int __real__ZN5narvo6engine16RunTrapeziumVertERKNS0_18CTrapeziumVertCallE(
        const narvo::engine::CTrapeziumVertCall& call);

    int __wrap__ZN5narvo6engine13RunZoneKernelENS0_10ZoneKernelERKNS0_9CZoneCallE(narvo::engine::ZoneKernel eKernel,
                                                                                  const narvo::engine::CZoneCall& call)
    {
        return IsPlainRun() ? narvo::test::reference::RunZoneKernel(eKernel, call)
                            : __real__ZN5narvo6engine13RunZoneKernelENS0_10ZoneKernelERKNS0_9CZoneCallE(eKernel, call);
    }
    int
    __wrap__ZN5narvo6engine14RunPixelKernelENS0_11PixelKernelERKNS0_10CPixelCallE(narvo::engine::PixelKernel eKernel,
                                                                                  const narvo::engine::CPixelCall& call)
    {
        return IsPlainRun()
                   ? narvo::test::reference::RunPixelKernel(eKernel, call)
                   : __real__ZN5narvo6engine14RunPixelKernelENS0_11PixelKernelERKNS0_10CPixelCallE(eKernel, call);
    }
    int
    __wrap__ZN5narvo6engine14RunFloatKernelENS0_11FloatKernelERKNS0_10CFloatCallE(narvo::engine::FloatKernel eKernel,
                                                                                  const narvo::engine::CFloatCall& call)
    {
        return IsPlainRun()
                   ? narvo::test::reference::RunFloatKernel(eKernel, call)
                   : __real__ZN5narvo6engine14RunFloatKernelENS0_11FloatKernelERKNS0_10CFloatCallE(eKernel, call);
    }
    int
    __wrap__ZN5narvo6engine16RunTrapeziumHoriERKNS0_18CTrapeziumHoriCallE(const narvo::engine::CTrapeziumHoriCall& call)
    {
        return IsPlainRun() ? narvo::test::reference::RunTrapeziumHori(call)
                            : __real__ZN5narvo6engine16RunTrapeziumHoriERKNS0_18CTrapeziumHoriCallE(call);
    }
    int
    __wrap__ZN5narvo6engine16RunTrapeziumVertERKNS0_18CTrapeziumVertCallE(const narvo::engine::CTrapeziumVertCall& call)
    {
        return IsPlainRun() ? narvo::test::reference::RunTrapeziumVert(call)
                            : __real__ZN5narvo6engine16RunTrapeziumVertERKNS0_18CTrapeziumVertCallE(call);
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
