// Probes of the pixel kernels.
#include <array>
#include <string_view>

#include "host/probe/rule_probe.h"
#include "narvoassem/compare/pixel_driver.h"
#include "narvoassem/fast/pixel_rule.h"
#include "narvoassem/fast/pixel_traits.h"

namespace narvo
{

namespace
{

constexpr std::array<std::string_view, 13> pixelNames = {"pixel, horizontal",
                                                         "pixel, horizontal, column table",
                                                         "pixel, horizontal, extended",
                                                         "pixel, vertical, read directly",
                                                         "pixel, vertical",
                                                         "pixel, vertical, second threshold of dark hits",
                                                         "pixel, vertical, row table",
                                                         "pixel, vertical, row table, second threshold of dark hits",
                                                         "pixel, vertical, extended, dead zones",
                                                         "pixel, vertical, extended, row table, dead zones",
                                                         "pixel, vertical, extended",
                                                         "pixel, vertical, extended, row table",
                                                         "pixel, vertical, mask"};

template <std::size_t kIndex, bool kFraction>
BackendPointer MakePixel(const CConvParam& param)
{
    constexpr auto kKernel = static_cast<PixelKernel>(kIndex);
    constexpr CPixelTraits kTraits = GetPixelTraits(kKernel, kFraction);
    return std::make_unique<RuleBackend<CPixelRule<kTraits>, CPixelCall>>(
        param,
        [&](CPairStorage& store, int* endLine)
        {
            CPixelCall call = MakePixelCall(store, kKernel, endLine);
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
    const bool fraction = HasFraction(param);
    const auto kernel = static_cast<std::size_t>(ChoosePixelKernel(param).eKernel);
    name = pixelNames[kernel];
    return Choose(kernel, std::make_index_sequence<pixelNames.size()>(),
                  [&](auto index)
                  { return fraction ? MakePixel<index, true>(param) : MakePixel<index, false>(param); });
}

} // namespace narvo
