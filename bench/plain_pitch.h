// SPDX-License-Identifier: MIT
// Baseline of the pitch search: each candidate's cost one pixel at a time, without vectors.
#pragma once

#include <cstdint>

namespace bench
{

/// A region whose left upper pixel is pFirst.
struct SPitchRegion
{
    const std::uint8_t* pFirst;
    std::int64_t nStride;
    int nWidth; ///< a multiple of 16
    int nHeight;
};

/// The first candidate of least cost in nLow .. nHigh (1/16 pixel), along x with an nStep of 1, along y with one of the
/// row stride. Differences count by what exceeds 32 * nNoise.
int PlainPitchLine(const SPitchRegion& region, std::int64_t nStep, int nLow, int nHigh, int nNoise);

struct SPitchPair
{
    int nColumn;
    int nRow;
};

/// The same over both displacements, in strips of 16 columns whose sums use two buffers of 16 values for each of
/// nHeight + 2 rows.
SPitchPair PlainPitchBox(const SPitchRegion& region, int nColumnLow, int nColumnHigh, int nRowLow, int nRowHigh,
                         short* pBuffer1, short* pBuffer2);

} // namespace bench
