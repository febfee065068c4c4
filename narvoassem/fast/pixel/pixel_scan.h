// SPDX-License-Identifier: MIT
// A pixel kernel as the row source and the rule that a scan runs by.
#pragma once

#include <cstddef>

#include "narvoassem/fast/call/kernel_call.h"
#include "narvoassem/fast/pixel/pixel_rule.h"
#include "narvoassem/fast/pixel/pixel_table.h"
#include "narvoassem/fast/source/pixel_source.h"

namespace narvo::engine
{

template <CPixelTraits kTraits, class TVisit>
auto VisitPixel(const CPixelCall& call, const TVisit& visit)
{
    CPixelCall bounded = call;
    if constexpr (kTraits.bZeroOutside)
    {
        bounded.image.nFilledTop = call.region.nTop;
        bounded.image.nFilledBottom = call.region.nBottom;
    }
    CPixelRule<kTraits> rule(bounded);
    CPixelSource source(bounded, rule);
    return visit(source, rule);
}

/// @return visit(source, rule) of the kernel
template <class TVisit>
auto VisitKernel(PixelKernel eKernel, const CPixelCall& call, const TVisit& visit)
{
    return CallWithEntry<pixelKernels.size()>(static_cast<std::size_t>(eKernel),
                                              [&](auto kernel)
                                              {
                                                  constexpr CPixelTraits kTraits = pixelKernels[kernel].traits;
                                                  // A shift of whole pixels only keeps the cheaper reference.
                                                  if constexpr (kTraits.bFraction)
                                                      if ((call.nVtdPitch16 & 15) != 0)
                                                          return VisitPixel<WithFraction(kTraits)>(call, visit);
                                                  return VisitPixel<kTraits>(call, visit);
                                              });
}

} // namespace narvo::engine
