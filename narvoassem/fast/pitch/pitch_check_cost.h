// SPDX-License-Identifier: MIT
// How badly a piece of image fails to repeat at a displacement: sums of differences, in wide vectors. The search over
// displacements is in pitch_check.cpp. Displacements here are a whole part and a fraction 0 .. 15 in 1/16 pixel.
#pragma once

#include <cstdint>

namespace narvo::engine
{

/// The costs of candidates with the same whole part are computed together: they differ by a multiple of one difference.
constexpr int nPitchFractions = 16;

/// A region compared along one axis: nRows rows of nColumns columns (a multiple of 16) from pFirst on.
struct CPitchLines
{
    const std::uint8_t* pFirst;
    std::int64_t nStride; ///< bytes from row to row
    std::int64_t nColumns;
    std::int64_t nRows;
    std::int64_t nAlong; ///< bytes from a pixel to its neighbour along the axis compared: 1 or nStride
};

/// Sums of max(|E| - nFloor, 0) over the region for the fractions nFirst .. nFirst + nCount - 1 (at most 15), where E
/// is 16 times the sum of two neighbours minus the same sum one displacement on, interpolated.
void GetLineCosts(const CPitchLines& lines, std::int64_t nWhole, int nFirst, int nCount, std::int64_t nFloor,
                  std::int64_t* pCosts);

/// Fills nRows rows of 16 sums of two neighbours along x: of pSource into pPlain, and one displacement along x on,
/// interpolated (pDisplaced being its whole part, nFraction the rest), into pShifted.
void FillBoxStrip(const std::uint8_t* pSource, const std::uint8_t* pDisplaced, std::int64_t nStride, std::int64_t nRows,
                  int nFraction, std::int16_t* pPlain, std::int16_t* pShifted);

/// Adds, for each of nRows rows of such a strip (which has two rows more), the differences of 2 by 2 sums and their
/// counterparts for the fractions nFirst .. nFirst + nCount - 1 along y.
void AddBoxCosts(const std::int16_t* pPlain, const std::int16_t* pShifted, std::int64_t nRows, int nFirst, int nCount,
                 std::int64_t* pCosts);

/// Widens bytes to 16 bits with non-temporal stores; pShort is 16-byte aligned.
void WidenBytes(const std::uint8_t* pByte, std::int16_t* pShort, std::int64_t nCount);

} // namespace narvo::engine
