// SPDX-License-Identifier: MIT
// The float comparison up to its pairs: the choice of a kernel, and the call that the engine makes of it.
#pragma once

#include "narvoassem/convparam.h"
#include "narvoassem/fast/call/kernel_call.h"
#include "narvoassem/fast/float/float_table.h"

class CNarvoAssem;

namespace narvo::engine
{

/// The choice of Compare_Float. The window's area chooses the kernel, its shape does not. Only an nDirection of exactly
/// 1 is vertical.
const CFloatChoice& ChooseFloatKernel(const CConvParam& param);
/// Whether Compare_Float inspects a free-form region in place of running a kernel.
bool TakesFreeForm(const CConvParam& param);
/// Whether Compare_Float runs a kernel at all; the blob steps take the pairs that are held where it does not.
bool RunsFloatKernel(const CConvParam& param);

/// The call of a choice on the parameters and stores of an engine.
CFloatCall MakeFloatCall(CPairStorage& store, const CFloatChoice& choice, int* pEndLine);

/// Runs what Compare_Float chooses. @return the new pair count
int RunFloat(CNarvoAssem& engine, int& nEndLine);

} // namespace narvo::engine
