// SPDX-License-Identifier: MIT
// See pitch_reference.h.
#include "reference/pitch_reference.h"

#include <algorithm>
#include <cstdlib>
#include <vector>

namespace narvo::test
{

namespace
{

constexpr std::int64_t nStartCost = 0x0FFFFFFFFFFFFFFF;

std::int64_t RowCost(const CPitchImage& image, std::int64_t c, int x0, int y0, int nWidth, int nHeight, int nNoise)
{
    const std::int64_t i = c >> 4;
    const int f = static_cast<int>(c & 15);
    std::int64_t nCost = 0;
    for (int y = y0; y < y0 + nHeight; ++y)
        for (int xBlock = x0; xBlock == x0 || xBlock < x0 + nWidth; xBlock += 16)
            for (int x = xBlock; x < xBlock + 16; ++x)
            {
                const std::uint8_t* p = image.pImage + y * image.nStride + x;
                const int E = 16 * (p[0] + p[1]) - (16 - f) * p[i] - 16 * p[i + 1] - f * p[i + 2];
                nCost += std::max<std::int64_t>(std::abs(E) - std::int64_t{32} * nNoise, 0);
            }
    return nCost;
}

std::int64_t ColumnCost(const CPitchImage& image, std::int64_t c, int x0, int y0, int nWidth, int nHeight, int nNoise)
{
    const std::int64_t i = c >> 4;
    const int f = static_cast<int>(c & 15);
    const std::int64_t s = image.nStride;
    std::int64_t nCost = 0;
    for (int x = x0; x < x0 + nWidth / 16 * 16; ++x)
        for (int y = y0; y < y0 + nHeight; ++y)
        {
            const std::uint8_t* p = image.pImage + y * s + x;
            const int E = 16 * (p[0] + p[s]) - (16 - f) * p[i * s] - 16 * p[(i + 1) * s] - f * p[(i + 2) * s];
            nCost += std::max<std::int64_t>(std::abs(E) - std::int64_t{32} * nNoise, 0);
        }
    return nCost;
}

template <typename TCost>
CPitchFound SearchReference(std::int64_t nLow, std::int64_t nHigh, const TCost& cost)
{
    CPitchFound found;
    std::int64_t nBest = nStartCost;
    for (std::int64_t c = nLow; c <= nHigh; ++c)
    {
        const std::int64_t nCost = cost(c);
        if (nCost < nBest)
        {
            nBest = nCost;
            found.bFound = true;
            found.nColumn = c;
        }
    }
    return found;
}

std::int64_t BoxCost(const CPitchImage& image, std::int64_t v, std::int64_t h, int x0, int x1, int y0, int y1,
                     int nImageHeight, int& nStatus)
{
    const std::int64_t iv = v >> 4;
    const int fv = static_cast<int>(v & 15);
    const std::int64_t ih = h >> 4;
    const int fh = static_cast<int>(h & 15);
    std::int64_t nCost = 0;
    for (int xStrip = x0; xStrip < x1; xStrip += 16)
    {
        const auto nRows = static_cast<std::size_t>(std::max(y1 - y0 + 2, 0));
        std::vector<int> A(nRows * 16);
        std::vector<int> B(nRows * 16);
        for (std::size_t r = 0; r < nRows; ++r)
        {
            const std::int64_t nAddress = (y0 + static_cast<std::int64_t>(r)) * image.nStride + xStrip;
            if (nImageHeight >= 0)
            {
                if (nAddress >= image.nStride * nImageHeight - iv * image.nStride)
                {
                    nStatus = 1;
                    return nCost;
                }
                if (nAddress < 0)
                {
                    nStatus = 2;
                    return nCost;
                }
            }
            for (std::size_t j = 0; j < 16; ++j)
            {
                const std::uint8_t* p = image.pImage + nAddress + j;
                const std::uint8_t* q = p + iv * image.nStride + ih;
                A[r * 16 + j] = p[0] + p[1];
                B[r * 16 + j] = ((q[0] * (16 - fh) + q[2] * fh) >> 4) + q[1];
            }
        }
        for (std::size_t i = 0; i + 32 < nRows * 16; ++i)
            nCost += std::abs(16 * (A[i] + A[i + 16]) - (16 - fv) * B[i] - 16 * B[i + 16] - fv * B[i + 32]);
    }
    return nCost;
}

} // namespace

CPitchFound SearchRowReference(const CPitchImage& image, std::int64_t nLow, std::int64_t nHigh, int x0, int y0,
                               int nWidth, int nHeight, int nNoise)
{
    return SearchReference(nLow, nHigh,
                           [&](std::int64_t c) { return RowCost(image, c, x0, y0, nWidth, nHeight, nNoise); });
}

CPitchFound SearchColumnReference(const CPitchImage& image, std::int64_t nLow, std::int64_t nHigh, int x0, int y0,
                                  int nWidth, int nHeight, int nNoise)
{
    return SearchReference(nLow, nHigh,
                           [&](std::int64_t c) { return ColumnCost(image, c, x0, y0, nWidth, nHeight, nNoise); });
}

CPitchFound SearchBoxReference(const CPitchImage& image, int nColumnLow, int nColumnHigh, int nRowLow, int nRowHigh,
                               int x0, int x1, int y0, int y1, int nImageHeight)
{
    CPitchFound found;
    std::int64_t nBest = nStartCost;
    for (std::int64_t v = nColumnLow; v <= nColumnHigh; ++v)
        for (std::int64_t h = nRowLow; h <= nRowHigh; ++h)
        {
            const std::int64_t nCost = BoxCost(image, v, h, x0, x1, y0, y1, nImageHeight, found.nStatus);
            if (found.nStatus != -1)
                return found;
            if (nCost < nBest)
            {
                nBest = nCost;
                found.bFound = true;
                found.nColumn = v;
                found.nRow = h;
            }
        }
    return found;
}

} // namespace narvo::test
