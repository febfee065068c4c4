// SPDX-License-Identifier: MIT
// Probes of the pixel kernels.
#include "host/probe/rule_probe.h"
#include "narvoassem/compare/pixel_driver.h"
#include "narvoassem/fast/pixel/pixel_rule.h"
#include "narvoassem/fast/pixel/pixel_table.h"

namespace narvo
{

namespace
{

template <engine::CPixelTraits kTraits>
BackendPointer MakePixel(const CConvParam& param, const engine::CPixelChoice& choice)
{
    return std::make_unique<RuleBackend<engine::CPixelRule<kTraits>, engine::CPixelCall>>(
        param,
        [&](CPairStorage& store, int* endLine)
        {
            engine::CPixelCall call = engine::MakePixelCall(store, choice, endLine);
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
    const engine::CPixelChoice& choice = engine::ChoosePixelKernel(param);
    name = engine::GetKernelRow(choice.eKernel).pWords;
    return engine::CallWithEntry<engine::pixelKernels.size()>(
        static_cast<std::size_t>(choice.eKernel),
        [&](auto kernel)
        {
            constexpr engine::CPixelTraits kTraits = engine::pixelKernels[kernel].traits;
            return HasFraction(param) ? MakePixel<engine::WithFraction(kTraits)>(param, choice)
                                      : MakePixel<kTraits>(param, choice);
        });
}

} // namespace narvo
