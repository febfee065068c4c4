// SPDX-License-Identifier: MIT
// The pool's own checks of a block, which come before those of the engine.
#pragma once

#include "narvoassem/convparam.h"
#include "narvoassem/engine/refusal.h"

namespace narvo::engine
{

/// Average mode: brings the thresholds to their signs, dark negative and bright positive. The comparisons by pitch:
/// swaps nDirection where bAutoDirection allows it and the region is too small along it alone.
/// @return why CAssemControl::Inspect_Rect refuses the block
CRefusals ScreenBlock(CConvParam& param);

/// The code of a call that is refused for these reasons, which are not none: 64 where the region is too small in any
/// direction, otherwise 8.
int GetRefusalCode(CRefusals refusals);

} // namespace narvo::engine
