// SPDX-License-Identifier: MIT
// The refusals of the pool again, in one place and in the order of a call: the result for a parameter block before
// anything is compared.
#pragma once

#include "narvoassem/convparam.h"

namespace narvo::test
{

/// The entries of the pool, and the engine's own inspection.
enum class Entry
{
    Rect,       ///< CAssemControl::Inspect_Rect
    RectAsg,    ///< CAssemControl::Inspect_Rect with bASG
    Asg,        ///< CAssemControl::Inspect_ASG
    Trapezium,  ///< CAssemControl::Inspect_Trapezium
    EngineRect, ///< CNarvoAssem::Inspect_Rect
};

/// @return 8 or 64 when the block is refused, 0 when it is compared
int ExpectRefusal(CConvParam param, Entry eEntry);

/// The block that the engine gets: the pool turns directions and signs of thresholds in the host's block.
/// @return the pool's own refusal, 8 or 64, or 0
int ScreenReference(CConvParam& param);

} // namespace narvo::test
