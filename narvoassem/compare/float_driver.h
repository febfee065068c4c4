// The choice of the float comparison.
#pragma once

#include "narvoassem/convparam.h"
#include "narvoassem/fast/kernel_call.h"

namespace narvo
{

/// What Compare_Float runs.
struct CFloatChoice
{
    enum class Path
    {
        Kernel,   ///< eKernel
        FreeForm, ///< the free-form region instead of a kernel
        Nothing   ///< no detection; the blob steps take the pairs that are held
    };
    Path ePath = Path::Kernel;
    FloatKernel eKernel = FloatKernel::Vert4;

    friend bool operator==(const CFloatChoice&, const CFloatChoice&) = default;
};

/// The window's area chooses the kernel, its shape does not. Only an nDirection of exactly 1 is vertical.
CFloatChoice ChooseFloatKernel(const CConvParam& param);

/// The call of eKernel on the parameters and stores of an engine.
CFloatCall MakeFloatCall(CPairStorage& store, FloatKernel eKernel, int* pEndLine);

} // namespace narvo
