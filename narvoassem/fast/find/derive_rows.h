// SPDX-License-Identifier: MIT
// Rows derived from an image's rows: means of 2 by 2 blocks, and sums over small windows. Their vector code
// (derive_rows.cc) is compiled once per instruction set.
#pragma once

#include <cstdint>

#include "narvoassem/base/grow_buffer.h"
#include "narvoassem/base/image_read.h"

namespace narvo::engine
{

/// Rows of the image that a derived row is made from, from the top; each holds as many pixels as the derived row and as
/// many more as the window is wider than one.
struct CSourceRows
{
    const std::uint8_t* pRow[3] = {};
    std::int64_t nPrefetch =
        0; ///< bytes from the last row to the memory that the next derived row will be the first to read
};

/// nLines rows from (x, y) down, nCount pixels of each; copies have room for these.
inline CSourceRows ReadRows(const CImageView& image, std::int64_t x, std::int64_t y, int nLines, std::int64_t nCount,
                            CGrowBuffer<std::uint8_t>* pCopies)
{
    CSourceRows rows;
    rows.nPrefetch = image.nStride;
    for (int nLine = 0; nLine < nLines; ++nLine)
        rows.pRow[nLine] = ReadRow(image, x, y + nLine, nCount, pCopies[nLine].Data());
    return rows;
}

/// pOut[x] = mean of the 2 by 2 block at x, rounded down.
void MakeMeanRow(const CSourceRows& rows, std::int64_t nCount, std::uint8_t* pOut);

/// pOut[x] = sum of the window nAcross (2 or 3) wide and nLines (2 or 3) high at x.
void MakeSumRow(const CSourceRows& rows, int nAcross, int nLines, std::int64_t nCount, std::uint16_t* pOut);

/// pOut[x] = sum over two rows q of ((q[x] * (16 - nFraction) + q[x + 2] * nFraction) >> 4) + q[x + 1]: a window 2 wide
/// displaced by nFraction sixteenths.
void MakeShiftedSumRow(const CSourceRows& rows, int nFraction, std::int64_t nCount, std::uint16_t* pOut);

} // namespace narvo::engine
