// The float kernels: one text, stamped out once for each public kernel.
#include "narvoassem/fast/float_rows.h"
#include "narvoassem/fast/float_strips.h"
#include "narvoassem/fast/float_traits.h"
#include "narvoassem/fast/kernel_call.h"

namespace narvo
{

namespace
{

template <FloatKernel kKernel>
int Run(const CFloatCall& call)
{
    constexpr CFloatTraits kTraits = GetFloatTraits(kKernel);
    if constexpr (kTraits.bHorizontal)
        return CFloatRows<kTraits>(call).Run();
    else
        return CFloatStrips<kTraits>(call).Run();
}

} // namespace

int RunFloatKernel(FloatKernel eKernel, const CFloatCall& call)
{
    switch (eKernel)
    {
    case FloatKernel::Hori4:
        return Run<FloatKernel::Hori4>(call);
    case FloatKernel::Hori6:
        return Run<FloatKernel::Hori6>(call);
    case FloatKernel::Hori9:
        return Run<FloatKernel::Hori9>(call);
    case FloatKernel::HoriTable4:
        return Run<FloatKernel::HoriTable4>(call);
    case FloatKernel::HoriTable6:
        return Run<FloatKernel::HoriTable6>(call);
    case FloatKernel::Vert4:
        return Run<FloatKernel::Vert4>(call);
    case FloatKernel::Vert6:
        return Run<FloatKernel::Vert6>(call);
    case FloatKernel::Vert9:
        return Run<FloatKernel::Vert9>(call);
    case FloatKernel::Vtd:
        return Run<FloatKernel::Vtd>(call);
    case FloatKernel::VertIntrin:
        return Run<FloatKernel::VertIntrin>(call);
    case FloatKernel::VtdIntrin:
        return Run<FloatKernel::VtdIntrin>(call);
    case FloatKernel::VertRegion:
        return Run<FloatKernel::VertRegion>(call);
    }
    return static_cast<int>(call.pairs.nCount);
}

} // namespace narvo
