// The choice of the pixel comparison.
#pragma once

#include "narvoassem/convparam.h"
#include "narvoassem/fast/kernel_call.h"

namespace narvo
{

/// A pixel kernel, run once or as a twice kernel, which does its own blob steps.
struct CPixelChoice
{
    PixelKernel eKernel;
    bool bTwice = false;

    friend bool operator==(const CPixelChoice&, const CPixelChoice&) = default;
};

/// The kernel of Compare_Pixel, by the first test that holds. Only an nDirection of exactly 1 is vertical.
CPixelChoice ChoosePixelKernel(const CConvParam& param);

/// The call of eKernel on the parameters and stores of an engine; of a twice kernel, its first pass.
CPixelCall MakePixelCall(CPairStorage& store, PixelKernel eKernel, int* pEndLine);

} // namespace narvo
