// SPDX-License-Identifier: MIT
// What a trapezium kernel call holds: the flat argument lists of the public kernels, and the engine's own calls, as
// records.
#pragma once

#include <cstdint>
#include <limits>

#include "narvoassem/fast/call/kernel_call.h"

namespace narvo::engine
{

/// Parts common to both directions. Of the hit arrays x, y, type and peak are used.
struct CTrapeziumCall
{
    CImageView image;
    CHitArrays hits;
    CPairSink pairs;
    std::int64_t nThreshold16 = 0; ///< 1/64 grey level
    std::int64_t nGrayLimit = 255;
    std::int64_t nPitch16 = 0;        ///< compare distance, 1/16 pixel
    const int* pPitchTable = nullptr; ///< the same per 16 rows (horizontal) or columns (vertical)
    std::int64_t bKeepSingle = 0;
};

/// Rows from nTop to nBottom between two slanted sides.
struct CTrapeziumHoriCall : CTrapeziumCall
{
    std::int64_t nTop = 0;
    std::int64_t nBottom = 0;
    std::int64_t nLeftTop = 0;
    std::int64_t nLeftBottom = 0;
    std::int64_t nRightTop = 0;
    std::int64_t nRightBottom = 0;
    /// Of pPitchTable: rows that come later take it too.
    std::int64_t nLastEntry = std::numeric_limits<std::int64_t>::max();
    std::int64_t nPitchRound = 0; ///< 8 or more: partners one pixel further on, without a table
};

/// Columns from nLeft to nRight between two slanted sides.
struct CTrapeziumVertCall : CTrapeziumCall
{
    std::int64_t nLeft = 0;
    std::int64_t nRight = 0;
    std::int64_t nTopLeft = 0;
    std::int64_t nBottomLeft = 0;
    std::int64_t nTopRight = 0;
    std::int64_t nBottomRight = 0;
    std::int64_t nConvPitch16 = 0; ///< twice this and one nPitch16 is the shortest strip
};

/// Both return the new pair count.
int RunTrapeziumHori(const CTrapeziumHoriCall& call);
int RunTrapeziumVert(const CTrapeziumVertCall& call);

} // namespace narvo::engine
