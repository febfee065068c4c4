// SPDX-License-Identifier: MIT
// A module that a program loads and unloads, and that brings the engine's library with it.
#include <vector>

#include <narvoassem/narvoassem.h>

/// Inspects an image that is wide enough for the band split, whose threads outlive the call. @return 0 where it found
/// the spot
extern "C" __attribute__((visibility("default"))) int UseLibrary()
{
    constexpr int width = 4096;
    constexpr int height = 240;
    std::vector<unsigned char> image;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            image.push_back(x / 6 == 50 && y / 5 == 20 ? 230 : x % 32 < 12 && y % 24 < 16 ? 150 : 60);

    CConvParam param;
    param.nInspectMode = 1;
    param.nDirection = 1;
    param.pImage = image.data();
    param.nImageWidth = width;
    param.nImageHeight = height;
    param.rtInspect = CRect(0, 0, width, height);
    param.nConvWidth = param.nConvHeight = 1;
    param.dConvPitch = 32;
    param.dScanPitch = 24;
    param.nConvMultiple = param.nScanMultiple = 1;
    param.nThreshold = 25;

    CAssemControl pool;
    if (pool.InitAssemControl(1, 1000) == 0)
        return 1;
    const int code = pool.Inspect_Rect(0, &param, 0);
    return code == 1 && pool.GetNarvoAssem(0)->GetBlobCount() == 1 ? 0 : 2;
}
