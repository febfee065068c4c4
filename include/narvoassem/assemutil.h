// SPDX-License-Identifier: MIT
/// @file
/// The search for the true sub-pixel pitch of a pattern in a piece of image, apart from any engine.
///
/// Pitches are ints in 1/16 pixel. A row displacement is a shift along x, a column displacement a shift along y.
/// Every search walks its candidates upward, both ends included, scores each by how badly the image fails to repeat
/// at that displacement, and keeps the first candidate of least cost. Without a candidate the references stay
/// unchanged. Only the caller's choice of region bounds the reads: pixels up to one candidate plus 2 beyond
/// the region are read (columns rounded up to blocks of 16, along rows one block at least). A region without height
/// reads nothing, nor does one without width in the searches down columns and in both directions; every candidate
/// costs 0 there, so the first one is kept.
#pragma once

#include <cstdint>

#include "narvoassem/export.h"

/// The searches, all static: they keep no state and may run on any thread.
class NARVO_API CAssemUtil
{
public:
    /// Widens nCount bytes to 16-bit values. pShort must be 16-byte aligned.
    static void ByteToShort(const unsigned char* pByte, short* pShort, int nCount);

    /// Row displacement, candidates nCenter - nPitchRange .. nCenter + nPitchRange; each difference of pixel-pair
    /// sums (1/32 grey level) counts by what exceeds 32 * nNoise. The whole and fraction parts truncate toward zero.
    static void CheckPitchSmall16(std::int64_t nCenter, int nPitchRange, int x0, int y0, int nWidth, int nHeight,
                                  const unsigned char* pImage, int nStride, int nNoise, int& nBest, int& nBestWhole,
                                  int& nBestFraction);
    /// Column displacement, as CheckPitchSmall16; the width is rounded down to a multiple of 16.
    static void CheckPitchSmallVert16(std::int64_t nCenter, int nPitchRange, int x0, int y0, int nWidth, int nHeight,
                                      const unsigned char* pImage, int nStride, int nNoise, int& nBest, int& nBestWhole,
                                      int& nBestFraction);
    /// Row displacement over the candidates nLow .. nHigh (1/16 pixel); the answer is whole pixels, truncated.
    static void CheckPitchPixel(int nLow, int nHigh, int x0, int y0, int nWidth, int nHeight,
                                const unsigned char* pImage, int nStride, int nNoise, int& nBestWhole);

    // The two-dimensional searches take the region as x0 <= x < x1 (in strips of 16) and y0 <= y < y1. Buffers 1 and 2
    // hold 16 shorts per row for y1 - y0 + 2 rows, 16-byte aligned, and are scratch. nUnused is not read.

    /// Both displacements searched: column outside, row inside.
    static void CheckPitchSmallVPT16(int nColumnLow, int nColumnHigh, int nRowLow, int nRowHigh, int x0, int x1, int y0,
                                     int y1, const unsigned char* pImage, int nStride, int nUnused, short* pBuffer1,
                                     short* pBuffer2, int& nBestColumn, int& nBestRow);
    /// Row displacement searched, column displacement fixed.
    static void CheckPitchSmallVP_T16(int nColumn, int nLow, int nHigh, int x0, int x1, int y0, int y1,
                                      const unsigned char* pImage, int nStride, int nUnused, short* pBuffer1,
                                      short* pBuffer2, int& nBest);
    /// Column displacement searched, row displacement fixed.
    static void CheckPitchSmallVT_P16(int nLow, int nHigh, int nRow, int x0, int x1, int y0, int y1,
                                      const unsigned char* pImage, int nStride, int nUnused, short* pBuffer1,
                                      short* pBuffer2, int& nBest);
    /// As CheckPitchSmallVT_P16 with the image's height known: the search ends at the first candidate that would
    /// read a row at or past the image's end or before its start. @return -1 the whole search ran, 1 stopped at the
    /// end, 2 stopped at the start; the best so far stands.
    static int CheckPitchSmallVT_P16_BOE(int nLow, int nHigh, int nRow, int x0, int x1, int y0, int y1,
                                         const unsigned char* pImage, int nStride, int nImageHeight, int nUnused,
                                         short* pBuffer1, short* pBuffer2, int& nBest);
};
