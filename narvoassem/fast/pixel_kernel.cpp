// The pixel kernels: one text, stamped out once for each public kernel.
#include "narvoassem/fast/kernel_call.h"
#include "narvoassem/fast/pixel_rule.h"
#include "narvoassem/fast/pixel_traits.h"
#include "narvoassem/fast/scan_rows.h"
#include "narvoassem/fast/scan_strips.h"

namespace narvo
{

namespace
{

template <PixelKernel kKernel, bool kFraction = false>
int Run(const CPixelCall& call)
{
    constexpr CPixelTraits kTraits = GetPixelTraits(kKernel, kFraction);
    CPixelCall bounded = call;
    if constexpr (kTraits.bZeroOutside)
    {
        bounded.image.nFilledTop = call.region.nTop;
        bounded.image.nFilledBottom = call.region.nBottom;
    }
    CPixelRule<kTraits> rule(bounded);
    if constexpr (kTraits.scan.bHorizontal)
        return CRowScan(bounded, rule).Run();
    else
        return CStripScan(bounded, rule).Run();
}

/// A shift of whole pixels alone leaves the cheaper reference.
template <PixelKernel kKernel>
int RunShifted(const CPixelCall& call)
{
    return (call.nVtdPitch16 & 15) != 0 ? Run<kKernel, true>(call) : Run<kKernel, false>(call);
}

} // namespace

int RunPixelKernel(PixelKernel eKernel, const CPixelCall& call)
{
    switch (eKernel)
    {
    case PixelKernel::Hori:
        return Run<PixelKernel::Hori>(call);
    case PixelKernel::HoriTable:
        return Run<PixelKernel::HoriTable>(call);
    case PixelKernel::HoriIntrin:
        return Run<PixelKernel::HoriIntrin>(call);
    case PixelKernel::VertDirect:
        return Run<PixelKernel::VertDirect>(call);
    case PixelKernel::Vert:
        return Run<PixelKernel::Vert>(call);
    case PixelKernel::Vert2:
        return Run<PixelKernel::Vert2>(call);
    case PixelKernel::Vtds:
        return Run<PixelKernel::Vtds>(call);
    case PixelKernel::Vtds2:
        return Run<PixelKernel::Vtds2>(call);
    case PixelKernel::VertIntrin:
        return Run<PixelKernel::VertIntrin>(call);
    case PixelKernel::VtdsIntrin:
        return Run<PixelKernel::VtdsIntrin>(call);
    case PixelKernel::VertWide:
        return RunShifted<PixelKernel::VertWide>(call);
    case PixelKernel::VtdsWide:
        return Run<PixelKernel::VtdsWide>(call);
    case PixelKernel::VertMask:
        return RunShifted<PixelKernel::VertMask>(call);
    }
    return static_cast<int>(call.pairs.nCount);
}

} // namespace narvo
