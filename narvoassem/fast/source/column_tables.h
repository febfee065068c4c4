// SPDX-License-Identifier: MIT
// The tables of the column kernels: a displacement and eight weights for each block of 16 columns.
#pragma once

#include <cstdint>

#include "narvoassem/fast/call/kernel_call.h"
#include "narvoassem/fast/scan/pitch16.h"
#include "narvoassem/fast/scan/scan_scratch.h"

namespace narvo::engine
{

/// Index into the displacement table of column nColumn of a region that begins at nLeft. A block of 16 columns reads
/// the entry at its first column, low four bits cleared.
constexpr std::int64_t ColumnBlockIndex(std::int64_t nLeft, std::int64_t nColumn)
{
    return RoundDownTo16(nLeft + RoundDownTo16(nColumn));
}

/// Index into the weight tables, likewise; both halves of a block share its eight weights.
constexpr std::int64_t ColumnWeightIndex(std::int64_t nLeft, std::int64_t nColumn)
{
    return ColumnBlockIndex(nLeft, nColumn) + (nColumn & 7);
}

/// Expands the weight tables to one weight per column and points the row there. @return false without memory
template <class TRow>
bool SpreadColumnWeights(const CKernelCall& call, std::int64_t nColumns, CScanScratch& scratch, TRow& row)
{
    const auto nCount = static_cast<std::size_t>(nColumns);
    if (!scratch.columnNear.Reserve(nCount) || !scratch.columnFar.Reserve(nCount))
        return false;
    for (std::size_t n = 0; n < nCount; ++n)
    {
        const std::int64_t nWeight = ColumnWeightIndex(call.region.nLeft, static_cast<std::int64_t>(n));
        scratch.columnNear[n] = call.pConvWeightNear[nWeight];
        scratch.columnFar[n] = call.pConvWeightFar[nWeight];
    }
    row.pColumnNear = scratch.columnNear.Data();
    row.pColumnFar = scratch.columnFar.Data();
    return true;
}

} // namespace narvo::engine
