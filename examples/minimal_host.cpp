// SPDX-License-Identifier: MIT
// The smallest host: an image with one defect, compared with itself one pitch down, blobs printed.
#include <cstdio>
#include <vector>

#include <narvoassem/narvoassem.h>

int main()
{
    // A pattern that repeats every 32 columns and every 24 rows, and one bright spot of 6 by 5 pixels.
    constexpr int nWidth = 512, nHeight = 480;
    std::vector<unsigned char> image;
    for (int y = 0; y < nHeight; ++y)
        for (int x = 0; x < nWidth; ++x)
            image.push_back(x / 6 == 50 && y / 5 == 40 ? 230 : x % 32 < 12 && y % 24 < 16 ? 150 : 60);

    CConvParam param;
    param.nInspectMode = 1; // pixel comparison
    param.nDirection = 1;   // along y
    param.pImage = image.data();
    param.nImageWidth = nWidth, param.nImageHeight = nHeight;
    param.rtInspect = CRect(0, 0, nWidth, nHeight);
    param.nConvWidth = param.nConvHeight = 1;
    param.dConvPitch = 32, param.dScanPitch = 24; // the pattern's period along x and y, pixels
    param.nConvMultiple = param.nScanMultiple = 1;
    param.nThreshold = 25; // grey levels

    CAssemControl pool;
    if (pool.InitAssemControl(1, 1000) == 0) // one lane, up to 1000 blobs
        return 1;
    const int nCode = pool.Inspect_Rect(0, &param, 0);
    CNarvoAssem* pEngine = pool.GetNarvoAssem(0);
    for (int i = 0; i < pEngine->GetBlobCount(); ++i)
    {
        const CDefectBlob& blob = *pEngine->GetBlobDefect(i);
        std::printf("%d pixels around %d, %d\n", blob.nPairCount, blob.ptCenter.x, blob.ptCenter.y);
    }
    return nCode == 1 && pEngine->GetBlobCount() == 1 ? 0 : 1;
}
