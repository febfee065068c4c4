// SPDX-License-Identifier: MIT
// Working memory of one scan. Each thread keeps its own between calls, so that repeating a similar call allocates
// nothing; it is freed with the thread.
#pragma once

#include <cstddef>
#include <cstdint>

#include "narvoassem/base/grow_buffer.h"
#include "narvoassem/fast/bound/bound_stage.h"
#include "narvoassem/fast/find/find_row.h"
#include "narvoassem/fast/find/row_cache.h"
#include "narvoassem/fast/pair/hit_chains.h"
#include "narvoassem/fast/scan/cell_walk.h"

namespace narvo::engine
{

/// Adjacent strips that walk their cells in the same way.
struct CRunWalk
{
    CCellRows rows;
    std::int64_t nFirstStrip;
    std::int64_t nStripCount;
};

struct CScanScratch
{
    static constexpr std::size_t kRowCopies = 3;

    CHitChains chains;
    CBoundScratch bound;
    CGrowBuffer<std::uint16_t> mask;
    CGrowBuffer<CRunWalk> walks;
    CGrowBuffer<CStripRun> runs;
    CGrowBuffer<int> runOfStrip; ///< index of the run of each strip of a row, or -1
    CGrowBuffer<std::int16_t> zeroMap;
    CGrowBuffer<std::uint8_t> rowCopy[kRowCopies];
    CRowCache<std::uint8_t> means;
    CRowCache<std::uint16_t> sums;          ///< window sums at the source
    CRowCache<std::uint16_t> shiftedSums;   ///< window sums at a reference that is displaced along x
    CGrowBuffer<std::uint16_t> lineSums[5]; ///< sums of one row, and the parts of its reference
    CGrowBuffer<std::int64_t> displacement; ///< per block of 16 columns
    CGrowBuffer<std::int16_t> columnNear;
    CGrowBuffer<std::int16_t> columnFar;
    CGrowBuffer<std::uint8_t> classId; ///< per hit, for the class-id kernels
    CGrowBuffer<int> ownHits[6];       ///< hit arrays of kernels that get none from their caller
    CGrowBuffer<short> ownTypes;
    std::size_t nZeros = 0; ///< elements of zeroMap that are known to be 0

    /// Makes room for a row of nStrips strips, which may be none. @return false without memory
    bool ReserveRow(std::int64_t nStrips)
    {
        const std::size_t nCount = static_cast<std::size_t>(nStrips) + 1;
        const std::size_t nColumns = nCount * kStripWidth;
        if (!mask.Reserve(nCount + kSpareMasks) || !walks.Reserve(nCount) || !runs.Reserve(nCount) ||
            !runOfStrip.Reserve(nCount) || !zeroMap.Reserve(nColumns))
            return false;
        for (CGrowBuffer<std::uint8_t>& copy : rowCopy)
            if (!copy.Reserve(nColumns + kStripWidth))
                return false;
        for (; nZeros < nColumns; ++nZeros)
            zeroMap[nZeros] = 0;
        return true;
    }
};

/// The calling thread's scratch.
CScanScratch& GetScanScratch();

} // namespace narvo::engine
