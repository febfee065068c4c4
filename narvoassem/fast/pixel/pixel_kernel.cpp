// SPDX-License-Identifier: MIT
// The pixel kernels: one template, instantiated for each row of the table.
#include "narvoassem/fast/call/kernel_call.h"
#include "narvoassem/fast/pixel/pixel_rule.h"
#include "narvoassem/fast/pixel/pixel_table.h"
#include "narvoassem/fast/source/pixel_source.h"

namespace narvo::engine
{

namespace
{

template <CPixelTraits kTraits>
int Run(const CPixelCall& call)
{
    CPixelCall bounded = call;
    if constexpr (kTraits.bZeroOutside)
    {
        bounded.image.nFilledTop = call.region.nTop;
        bounded.image.nFilledBottom = call.region.nBottom;
    }
    CPixelRule<kTraits> rule(bounded);
    CPixelSource source(bounded, rule);
    return CScan(source, rule).Run();
}

} // namespace

int RunPixelKernel(PixelKernel eKernel, const CPixelCall& call)
{
    return CallWithEntry<pixelKernels.size()>(static_cast<std::size_t>(eKernel),
                                              [&](auto kernel)
                                              {
                                                  constexpr CPixelTraits kTraits = pixelKernels[kernel].traits;
                                                  // A shift of whole pixels only keeps the cheaper reference.
                                                  if constexpr (kTraits.bFraction)
                                                      if ((call.nVtdPitch16 & 15) != 0)
                                                          return Run<WithFraction(kTraits)>(call);
                                                  return Run<kTraits>(call);
                                              });
}

} // namespace narvo::engine
