// SPDX-License-Identifier: MIT
// See case_image.h.
#include "soak/case_image.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>

#include "soak/case_pools.h"

namespace narvo::test
{

namespace
{

using CTile = std::array<std::uint8_t, 256>;

std::uint8_t Grey(int nValue)
{
    return static_cast<std::uint8_t>(std::clamp(nValue, 0, 255));
}

/// nLow .. nHigh, spread as the noise is.
void FillBand(CCaseSource& source, std::uint8_t* pPixels, int nCount, int nLow, int nHigh)
{
    const std::uint8_t* pNoise = CCasePools::Get().PickNoise(source);
    const int nSpan = nHigh - nLow + 1;
    // Wide images go through the noise more than once; an odd length keeps the rows apart.
    constexpr int nStretch = static_cast<int>(CCasePools::nNoiseReach) - 1;
    for (int nDone = 0; nDone < nCount; nDone += nStretch)
    {
        const int nPart = std::min(nCount - nDone, nStretch);
        for (int i = 0; i < nPart; ++i)
            pPixels[nDone + i] = static_cast<std::uint8_t>(nLow + (pNoise[i] * nSpan >> 8));
    }
}

/// One period in 256 steps: a triangle, a rectangle, or noise in runs.
CTile MakeTile(CCaseSource& source)
{
    CTile tile{};
    const int nLow = source.Int(0, 120);
    const int nHigh = source.Int(nLow, 255);
    const int nKind = source.Int(0, 3);
    const int nEdge = source.Int(16, 240);
    const std::uint8_t* pNoise = CCasePools::Get().PickNoise(source);
    for (int i = 0; i < 256; ++i)
    {
        int nShare = i < 128 ? 2 * i : 2 * (255 - i);
        if (nKind == 1)
            nShare = i < nEdge ? 0 : 255;
        else if (nKind == 2)
            nShare = pNoise[i >> 4];
        else if (nKind == 3)
            nShare = nShare * nEdge >> 8;
        tile[static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(nLow + ((nHigh - nLow) * nShare >> 8));
    }
    return tile;
}

std::uint8_t AtPhase(const CTile& tile, int nPlace, int nPeriod16)
{
    return tile[static_cast<std::size_t>(std::int64_t{nPlace} * 16 % nPeriod16 * 256 / nPeriod16)];
}

/// A pattern along one axis; across it, constant or moving on a little from line to line.
void FillPattern(CCaseSource& source, const CImageOrder& order, std::uint8_t* pPixels)
{
    const CTile tile = MakeTile(source);
    const auto nWidth = static_cast<std::size_t>(order.nWidth);
    if (!order.bAlongY)
    {
        for (int x = 0; x < order.nWidth; ++x)
            pPixels[x] = AtPhase(tile, x, order.nPeriod16);
        for (int y = 1; y < order.nHeight; ++y)
            std::memcpy(pPixels + static_cast<std::size_t>(y) * nWidth, pPixels, nWidth);
        return;
    }
    const bool bColumnsDiffer = source.OneIn(2);
    const std::uint8_t* pNoise = CCasePools::Get().PickNoise(source);
    for (int y = 0; y < order.nHeight; ++y)
    {
        std::uint8_t* const pRow = pPixels + static_cast<std::size_t>(y) * nWidth;
        const int nValue = AtPhase(tile, y, order.nPeriod16);
        if (bColumnsDiffer)
            for (std::size_t x = 0; x < nWidth; ++x)
                pRow[x] = static_cast<std::uint8_t>((nValue * 3 + (pNoise[x >> 2] & 0x7F)) >> 2);
        else
            std::memset(pRow, nValue, nWidth);
    }
}

/// A little noise on top, at most nStep either way.
void Roughen(CCaseSource& source, std::uint8_t* pPixels, int nCount, int nStep)
{
    const std::uint8_t* pNoise = CCasePools::Get().PickNoise(source);
    const int nPart = std::min(nCount, static_cast<int>(CCasePools::nNoiseReach));
    for (int i = 0; i < nPart; ++i)
        pPixels[i] = Grey(pPixels[i] + (pNoise[i] * (2 * nStep + 1) >> 8) - nStep);
}

bool IsQuiet(const CImageOrder& order, int nLeft, int nRight)
{
    constexpr int nMargin = 64;
    for (int i = 0; i < order.nQuietCount; ++i)
    {
        const int nSeam = order.nQuietFirst + i * order.nQuietStep;
        if (nRight > nSeam - nMargin && nLeft < nSeam + nMargin)
            return true;
    }
    return false;
}

void AddSpots(CCaseSource& source, const CImageOrder& order, std::uint8_t* pPixels)
{
    const int nSpots = source.Int(0, order.nMostSpots);
    for (int n = 0; n < nSpots; ++n)
    {
        const int nLeft = source.Int(0, order.nWidth - 1);
        const int nTop = source.Int(0, order.nHeight - 1);
        const int nMost = source.Pick({2, 3, 6});
        const int nRight = std::min(order.nWidth, nLeft + source.Int(1, nMost));
        const int nBottom = std::min(order.nHeight, nTop + source.Int(1, nMost));
        const int nStep = source.Pick({60, -60, 20, -20, 100, -100, 255, -255, 5});
        if (IsQuiet(order, nLeft, nRight))
            continue;
        for (int y = nTop; y < nBottom; ++y)
            for (int x = nLeft; x < nRight; ++x)
            {
                std::uint8_t& nPixel = pPixels[static_cast<std::size_t>(y) * order.nWidth + x];
                nPixel = Grey(nPixel + nStep);
            }
    }
}

} // namespace

void FillWithNoise(CCaseSource& source, std::uint8_t* pPixels, int nWidth, int nHeight)
{
    FillBand(source, pPixels, nWidth * nHeight, 0, 255);
}

void FillCaseImage(CCaseSource& source, const CImageOrder& order, std::uint8_t* pPixels)
{
    const int nCount = order.nWidth * order.nHeight;
    const int nKind = order.bFlat ? 0 : source.Int(0, 15);
    switch (nKind)
    {
    case 0:
    case 1:
    {
        const int nValue = source.Int(0, 255);
        std::memset(pPixels, nValue, static_cast<std::size_t>(nCount));
        break;
    }
    case 2:
    {
        const int nLow = source.Int(0, 240);
        const int nHigh = std::min(255, nLow + source.Int(0, 12));
        FillBand(source, pPixels, nCount, nLow, nHigh);
        break;
    }
    case 3:
    {
        // Nearly black or nearly white.
        const bool bWhite = source.OneIn(2);
        FillBand(source, pPixels, nCount, bWhite ? 252 : 0, bWhite ? 255 : 3);
        break;
    }
    case 4:
        // Dense hits: only where they stay few.
        FillBand(source, pPixels, nCount, 0, nCount < 3000 ? 255 : 15);
        break;
    case 5:
    {
        const int nAlongX = source.Int(0, 12);
        const int nAlongY = source.Int(0, 12);
        for (int y = 0; y < order.nHeight; ++y)
            for (int x = 0; x < order.nWidth; ++x)
                pPixels[static_cast<std::size_t>(y) * order.nWidth + x] =
                    static_cast<std::uint8_t>((x * nAlongX + y * nAlongY) >> 4);
        break;
    }
    default:
        FillPattern(source, order, pPixels);
        if (nKind >= 13)
            Roughen(source, pPixels, nCount, nKind - 12);
        break;
    }
    AddSpots(source, order, pPixels);
}

} // namespace narvo::test
