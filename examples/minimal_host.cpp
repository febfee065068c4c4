// The smallest host: one image in memory, one region, one flat threshold zone, blobs printed.
#include <cstdio>
#include <vector>

#include <narvoassem/narvoassem.h>

int main()
{
    // A pattern that repeats every 32 columns and every 24 rows, with one bright square that does not belong there.
    constexpr int nWidth = 512, nHeight = 480, nPitchX = 32, nPitchY = 24;
    std::vector<unsigned char> image(nWidth * nHeight);
    for (int y = 0; y < nHeight; ++y)
        for (int x = 0; x < nWidth; ++x)
            image[y * nWidth + x] = x % nPitchX < 12 && y % nPitchY < 16 ? 150 : 60;
    for (int y = 200; y < 205; ++y)
        for (int x = 300; x < 306; ++x)
            image[y * nWidth + x] = 230;

    // One zone: flat maps. A kernel may read from a cell before the cell in force to two cells behind its start.
    constexpr int nStride = 4 * nPitchX + 32, nLines = 4 * nPitchY;
    constexpr int nFirst = nPitchY * nStride + nPitchX + 16;
    std::vector<short> offset(nStride * nLines, 25), gain(nStride * nLines, 0), zone(nStride * nLines, 0);

    // Cell origins, with a spare grid row above the region and spare rows and columns behind it.
    constexpr int nColumns = nWidth / nPitchX + 8, nRows = nHeight / nPitchY + 8;
    std::vector<int> origins;
    for (int row = -1; row < nRows - 1; ++row)
        for (int column = 0; column < nColumns; ++column)
            origins.insert(origins.end(), {column * nPitchX, row * nPitchY});

    CConvParam param;
    param.nInspectMode = param.nDirection = 1;
    param.pImage = image.data();
    param.nImageWidth = nWidth, param.nImageHeight = nHeight;
    param.rtInspect = CRect(0, 0, nWidth, nHeight);
    param.nConvWidth = param.nConvHeight = 1;
    param.dConvPitch = nPitchX;
    param.dScanPitch = nPitchY;
    param.nConvMultiple = param.nScanMultiple = 1;
    param.pThresholdOffsetMap = offset.data() + nFirst;
    param.pThresholdGainMap = gain.data() + nFirst;
    param.pZoneIndexMap = zone.data() + nFirst;
    param.nZoneMapStride = nStride;
    param.pZoneOriginTable = origins.data();
    param.nZoneColumns = nColumns;

    CAssemControl pool;
    pool.InitAssemControl(1, 1000);
    const int nCode = pool.Inspect_Rect(0, &param, 0);
    CNarvoAssem* pEngine = pool.GetNarvoAssem(0);
    std::printf("code %d, %d blob(s)\n", nCode, pEngine->GetBlobCount());
    for (int i = 0; i < pEngine->GetBlobCount(); ++i)
    {
        const CDefectBlob& blob = *pEngine->GetBlobDefect(i);
        std::printf("%d pixels around %d, %d\n", blob.nPairCount, blob.ptCenter.x, blob.ptCenter.y);
    }
    return nCode == 1 && pEngine->GetBlobCount() == 1 ? 0 : 1;
}
