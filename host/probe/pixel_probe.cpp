// Probes of the pixel kernels.
#include "host/probe/rule_probe.h"
#include "narvoassem/compare/pixel_driver.h"
#include "narvoassem/fast/pixel/pixel_rule.h"
#include "narvoassem/fast/pixel/pixel_table.h"

namespace narvo
{

namespace
{

template <CPixelTraits kTraits>
BackendPointer MakePixel(const CConvParam& param, const CPixelChoice& choice)
{
    return std::make_unique<RuleBackend<CPixelRule<kTraits>, CPixelCall>>(
        param,
        [&](CPairStorage& store, int* endLine)
        {
            CPixelCall call = MakePixelCall(store, choice, endLine);
            if (kTraits.bZeroOutside)
            {
                call.image.nFilledTop = call.region.nTop;
                call.image.nFilledBottom = call.region.nBottom;
            }
            return call;
        });
}

} // namespace

BackendPointer MakePixelBackend(const CConvParam& param, std::string& name)
{
    const CPixelChoice& choice = ChoosePixelKernel(param);
    name = GetKernelRow(choice.eKernel).pWords;
    return CallWithEntry<pixelKernels.size()>(static_cast<std::size_t>(choice.eKernel),
                                              [&](auto kernel)
                                              {
                                                  constexpr CPixelTraits kTraits = pixelKernels[kernel].traits;
                                                  return HasFraction(param)
                                                             ? MakePixel<WithFraction(kTraits)>(param, choice)
                                                             : MakePixel<kTraits>(param, choice);
                                              });
}

} // namespace narvo
