// SPDX-License-Identifier: MIT
// See images.h.
#include "support/images.h"

#include <algorithm>

namespace narvo::test
{

namespace
{

std::uint8_t Grey(int nValue)
{
    return static_cast<std::uint8_t>(std::clamp(nValue, 0, 255));
}

void FillNoise(CRandom& random, std::uint8_t* pPixels, int nCount, int nLow, int nHigh)
{
    const std::uint64_t nSpan = static_cast<std::uint64_t>(nHigh - nLow + 1);
    std::uint64_t nBits = 0;
    for (int i = 0; i < nCount; i++)
    {
        if (i % 8 == 0)
            nBits = random.Next();
        pPixels[i] = static_cast<std::uint8_t>(static_cast<std::uint64_t>(nLow) + (((nBits & 255) * nSpan) >> 8));
        nBits >>= 8;
    }
}

/// Small bright and dark rectangles, more or fewer of them.
void AddSpots(CRandom& random, std::uint8_t* pPixels, int nWidth, int nHeight)
{
    const int nSpots = random.Int(1, 4 + nWidth * nHeight / random.Pick({40, 200, 1000}));
    for (int k = 0; k < nSpots; k++)
    {
        const int nLeft = random.Int(0, nWidth - 1);
        const int nTop = random.Int(0, nHeight - 1);
        const int nRight = std::min(nWidth, nLeft + random.Int(1, 3));
        const int nBottom = std::min(nHeight, nTop + random.Int(1, 3));
        const int nStep = random.Pick({-255, -60, -20, -5, 5, 20, 60, 255});
        for (int y = nTop; y < nBottom; y++)
            for (int x = nLeft; x < nRight; x++)
                pPixels[y * nWidth + x] = Grey(pPixels[y * nWidth + x] + nStep);
    }
}

} // namespace

void FillImage(CRandom& random, std::uint8_t* pPixels, int nWidth, int nHeight, int nPeriodX, int nPeriodY)
{
    const int nCount = nWidth * nHeight;
    switch (random.Int(0, 7))
    {
    case 0:
        FillNoise(random, pPixels, nCount, 0, random.Pick({0, 1, 3}));
        break;
    case 1:
        FillNoise(random, pPixels, nCount, random.Pick({252, 254, 255}), 255);
        break;
    case 2:
    {
        const int nValue = random.Int(0, 255);
        FillNoise(random, pPixels, nCount, nValue, nValue);
        break;
    }
    case 3:
        FillNoise(random, pPixels, nCount, 0, 255);
        break;
    case 4:
    {
        const int nValue = random.Int(0, 250);
        FillNoise(random, pPixels, nCount, nValue, nValue + random.Int(0, 5));
        AddSpots(random, pPixels, nWidth, nHeight);
        break;
    }
    default:
    {
        const int nStepX = std::clamp(nPeriodX, 1, 256);
        const int nStepY = std::clamp(nPeriodY, 1, 256);
        std::uint8_t aTile[256];
        const int nLow = random.Int(0, 120);
        const int nHigh = random.Int(121, 255);
        FillNoise(random, aTile, 256, nLow, nHigh);
        const bool bAlongX = random.OneIn(2);
        for (int y = 0; y < nHeight; y++)
            for (int x = 0; x < nWidth; x++)
                pPixels[y * nWidth + x] =
                    bAlongX ? aTile[(x % nStepX + y * 7) & 255] : aTile[(y % nStepY + x * 7) & 255];
        AddSpots(random, pPixels, nWidth, nHeight);
        break;
    }
    }
}

} // namespace narvo::test
