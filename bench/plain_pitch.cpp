// SPDX-License-Identifier: MIT
// See plain_pitch.h. Compiled without vectorization.
#include "bench/plain_pitch.h"

#include <algorithm>
#include <cstdlib>
#include <limits>

namespace bench
{

namespace
{

constexpr int nStrip = 16;

std::int64_t LineCost(const SPitchRegion& region, std::int64_t s, int nCandidate, int nNoise)
{
    const int nFar = nCandidate & 15;
    const int nNear = 16 - nFar;
    std::int64_t nCost = 0;
    for (int y = 0; y < region.nHeight; ++y)
    {
        const std::uint8_t* const p = region.pFirst + y * region.nStride;
        const std::uint8_t* const q = p + (nCandidate >> 4) * s;
        for (int x = 0; x < region.nWidth; ++x)
        {
            const int nDifference = 16 * (p[x] + p[x + s]) - nNear * q[x] - 16 * q[x + s] - nFar * q[x + 2 * s];
            nCost += std::max(std::abs(nDifference) - 32 * nNoise, 0);
        }
    }
    return nCost;
}

std::int64_t BoxCost(const SPitchRegion& region, int nColumn, int nRow, short* pPlain, short* pShifted)
{
    const int nFarRow = nRow & 15;
    const int nFarColumn = nColumn & 15;
    std::int64_t nCost = 0;
    for (int x = 0; x < region.nWidth; x += nStrip)
    {
        for (int y = 0; y < region.nHeight + 2; ++y)
        {
            const std::uint8_t* const p = region.pFirst + y * region.nStride + x;
            const std::uint8_t* const q = p + (nColumn >> 4) * region.nStride + (nRow >> 4);
            for (int j = 0; j < nStrip; ++j)
            {
                pPlain[y * nStrip + j] = static_cast<short>(p[j] + p[j + 1]);
                pShifted[y * nStrip + j] =
                    static_cast<short>(((q[j] * (16 - nFarRow) + q[j + 2] * nFarRow) >> 4) + q[j + 1]);
            }
        }
        for (int i = 0; i < region.nHeight * nStrip; ++i)
            nCost += std::abs(16 * (pPlain[i] + pPlain[i + nStrip]) - (16 - nFarColumn) * pShifted[i] -
                              16 * pShifted[i + nStrip] - nFarColumn * pShifted[i + 2 * nStrip]);
    }
    return nCost;
}

} // namespace

int PlainPitchLine(const SPitchRegion& region, std::int64_t nStep, int nLow, int nHigh, int nNoise)
{
    std::int64_t nLeast = std::numeric_limits<std::int64_t>::max();
    int nBest = nLow;
    for (int nCandidate = nLow; nCandidate <= nHigh; ++nCandidate)
        if (const std::int64_t nCost = LineCost(region, nStep, nCandidate, nNoise); nCost < nLeast)
        {
            nLeast = nCost;
            nBest = nCandidate;
        }
    return nBest;
}

SPitchPair PlainPitchBox(const SPitchRegion& region, int nColumnLow, int nColumnHigh, int nRowLow, int nRowHigh,
                         short* pBuffer1, short* pBuffer2)
{
    std::int64_t nLeast = std::numeric_limits<std::int64_t>::max();
    SPitchPair best{nColumnLow, nRowLow};
    for (int nColumn = nColumnLow; nColumn <= nColumnHigh; ++nColumn)
        for (int nRow = nRowLow; nRow <= nRowHigh; ++nRow)
            if (const std::int64_t nCost = BoxCost(region, nColumn, nRow, pBuffer1, pBuffer2); nCost < nLeast)
            {
                nLeast = nCost;
                best = {nColumn, nRow};
            }
    return best;
}

} // namespace bench
