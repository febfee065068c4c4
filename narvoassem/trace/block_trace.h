// SPDX-License-Identifier: MIT
// What a call would do with a parameter block: refuse it and why, or compare it and how. Nothing is compared.
#pragma once

#include <vector>

#include "narvoassem/compare/comparison.h"
#include "narvoassem/compare/comparison_steps.h"
#include "narvoassem/compare/zone_driver.h"
#include "narvoassem/convparam.h"
#include "narvoassem/engine/refusal.h"
#include "narvoassem/trace/trace.h"

namespace narvo::engine
{

/// The calls that take a block.
enum class BlockCall
{
    Rect,      ///< CAssemControl::Inspect_Rect
    RectAsg,   ///< CAssemControl::Inspect_Rect with bASG
    Asg,       ///< CAssemControl::Inspect_ASG
    Trapezium, ///< CAssemControl::Inspect_Trapezium
    EngineRect ///< CNarvoAssem::Inspect_Rect
};

struct CBlockTrace
{
    CConvParam param; ///< as the comparison gets it: direction, signs, limits and switches settled
    CRefusals refusals;
    int nCode = 1; ///< of a refused block 8 or 64; 1 where the comparison takes place
    Comparison eComparison = Comparison::None;
    CSelectedKernel kernel{}; ///< for the comparisons that choose one
    COptionSet given;         ///< the options that the block sets
    bool bRuns = false;       ///< something is compared
    CBlobSteps steps;
    CZoneCellSize cell;        ///< of zone comparisons
    std::vector<CRect> bands;  ///< columns that run on sub-engines; none where the region is inspected whole
    std::vector<CRect> unread; ///< bands that no origin record lies right of: nothing is compared there
    CRefusals bandRefusals; ///< checks that bands fail each for itself: nothing is compared there, and no code says so
};

/// Of what the block points at, only the first row of the origin grid is read, and that only where there are bands.
CBlockTrace TraceBlock(const CConvParam& param, BlockCall eCall);

} // namespace narvo::engine
