// SPDX-License-Identifier: MIT
// A float kernel as the row source and the rule that a scan runs by.
#pragma once

#include <cstddef>
#include <type_traits>

#include "narvoassem/fast/call/kernel_call.h"
#include "narvoassem/fast/float/float_rows.h"
#include "narvoassem/fast/float/float_strips.h"
#include "narvoassem/fast/float/float_table.h"

namespace narvo::engine
{

template <CFloatTraits kTraits, class TVisit>
auto VisitFloat(const CFloatCall& call, const TVisit& visit)
{
    CFloatRule<kTraits> rule(call);
    std::conditional_t<kTraits.bHorizontal, CFloatRows<kTraits>, CFloatStrips<kTraits>> source(call, rule);
    return visit(source, rule);
}

/// @return visit(source, rule) of the kernel
template <class TVisit>
auto VisitKernel(FloatKernel eKernel, const CFloatCall& call, const TVisit& visit)
{
    return CallWithEntry<floatKernels.size()>(static_cast<std::size_t>(eKernel), [&](auto kernel)
                                              { return VisitFloat<floatKernels[kernel].traits>(call, visit); });
}

} // namespace narvo::engine
