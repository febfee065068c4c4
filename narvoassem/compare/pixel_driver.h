// SPDX-License-Identifier: MIT
// The pixel comparison up to its pairs: the choice of a kernel, and the call that the engine makes of it.
#pragma once

#include "narvoassem/convparam.h"
#include "narvoassem/fast/call/kernel_call.h"
#include "narvoassem/fast/pixel/pixel_table.h"

class CNarvoAssem;

namespace narvo::engine
{

/// The choice of Compare_Pixel. Only an nDirection of exactly 1 is vertical.
const CPixelChoice& ChoosePixelKernel(const CConvParam& param);

/// The call of a choice on the parameters and stores of an engine; of two passes, the first.
CPixelCall MakePixelCall(CPairStorage& store, const CPixelChoice& choice, int* pEndLine);

/// Runs the kernel of Compare_Pixel, of two passes the first. @return the new pair count
int RunPixel(CNarvoAssem& engine, int& nEndLine);
/// Runs both passes, including their blobs.
void RunPixelTwice(CNarvoAssem& engine, int& nEndLine);

} // namespace narvo::engine
