// SPDX-License-Identifier: MIT
// A noisy image on which all kernels give different results, and the traces of a comparison in an engine: by these,
// tests find out which kernel a driver has run.
#pragma once

#include <array>
#include <cstdint>
#include <random>
#include <vector>

#include "narvoassem/narvoassem.h"

namespace narvo::test
{

/// Noise of 40 grey levels, tables that differ from the plain pitches, and a region well inside the image.
class CDriverScene
{
public:
    static constexpr int nWidth = 320;
    static constexpr int nHeight = 256;

    CDriverScene() : image(static_cast<std::size_t>(nWidth) * nHeight)
    {
        std::mt19937 random(5);
        for (unsigned char& nPixel : image)
            nPixel = static_cast<unsigned char>(90 + random() % 40);
        for (std::size_t i = 0; i < scanTable.size(); ++i)
            scanTable[i] = 25 * 16 + static_cast<int>(i % 5);
        for (std::size_t i = 0; i < convTable.size(); ++i)
        {
            convTable[i] = static_cast<unsigned short>(27 + i / 64 % 2);
            weightNear[i] = static_cast<short>(11 - i / 100);
            weightFar[i] = static_cast<short>(16 - weightNear[i]);
        }
        mask.assign(image.size(), 1);

        param.pImage = image.data();
        param.nImageWidth = nWidth;
        param.nImageHeight = nHeight;
        param.rtInspect.SetRect(16, 10, 16 + 200, 10 + 190);
        param.nConvWidth = param.nConvHeight = 2;
        param.dConvPitch = 27.34;
        param.dScanPitch = 25.41;
        param.nConvMultiple = param.nScanMultiple = 1;
    }

    std::vector<unsigned char> image;
    std::vector<unsigned char> mask;
    std::array<int, 32> scanTable{};
    std::array<unsigned short, nWidth> convTable{};
    std::array<short, nWidth> weightNear{};
    std::array<short, nWidth> weightFar{};
    CConvParam param;
};

/// An engine whose hit arrays hold a known pattern, which shows what a kernel does not write.
class CTracedEngine : public CNarvoAssem
{
public:
    static constexpr int nTraced = 3000;

    CTracedEngine()
    {
        InitAssem(0, 5000);
        for (int i = 0; i < nTraced; ++i)
        {
            pPixelX[i] = pPixelY[i] = pSrcGray[i] = pCmpGray[i] = pZoneIndex[i] = pThreshold[i] = -77;
            pPixelType[i] = pPeak[i] = -77;
        }
    }
};

/// What distinguishes kernels: the records' places, kinds, compare values and thresholds, which the blob steps do not
/// change, and the working arrays as the kernel left them.
inline std::vector<int> GetTrace(const CNarvoAssem& engine)
{
    std::vector<int> trace;
    for (int i = 0; i < engine.nPairCount; ++i)
    {
        const CDefectPair& pair = engine.pPair[i];
        trace.insert(trace.end(), {pair.nDefectPos, pair.nDefectPair, pair.ptDefect.x, pair.ptDefect.y, pair.nCmpGray,
                                   pair.nZoneIndex, pair.nThreshold, pair.nSubZone});
    }
    for (int i = 0; i < CTracedEngine::nTraced; ++i)
        trace.insert(trace.end(), {engine.pPixelX[i], engine.pPixelY[i], engine.pPixelType[i], engine.pPeak[i],
                                   engine.pSrcGray[i], engine.pCmpGray[i], engine.pZoneIndex[i], engine.pThreshold[i]});
    return trace;
}

} // namespace narvo::test
