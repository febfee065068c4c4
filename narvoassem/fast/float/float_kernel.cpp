// SPDX-License-Identifier: MIT
// The float kernels: one template, instantiated for each row of the table.
#include <type_traits>

#include "narvoassem/fast/call/kernel_call.h"
#include "narvoassem/fast/float/float_rows.h"
#include "narvoassem/fast/float/float_strips.h"
#include "narvoassem/fast/float/float_table.h"

namespace narvo::engine
{

namespace
{

template <CFloatTraits kTraits>
int Run(const CFloatCall& call)
{
    CFloatRule<kTraits> rule(call);
    std::conditional_t<kTraits.bHorizontal, CFloatRows<kTraits>, CFloatStrips<kTraits>> source(call, rule);
    return CScan(source, rule).Run();
}

} // namespace

int RunFloatKernel(FloatKernel eKernel, const CFloatCall& call)
{
    return CallWithEntry<floatKernels.size()>(static_cast<std::size_t>(eKernel),
                                              [&](auto kernel) { return Run<floatKernels[kernel].traits>(call); });
}

} // namespace narvo::engine
