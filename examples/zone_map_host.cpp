// SPDX-License-Identifier: MIT
// A host with zone maps: a display cell whose bright window is inspected sharply and whose wiring is inspected loosely.
// Two spots of the same strength are made; only the one in the window is a defect.
#include <cstdio>
#include <vector>

#include <narvoassem/narvoassem.h>

namespace
{

constexpr int nWidth = 640, nHeight = 600, nCellWidth = 40, nCellHeight = 30;

/// Zone 1 is the window of a cell, zone 0 the wiring around it.
int ZoneAt(int x, int y)
{
    return x >= 6 && x < 34 && y >= 4 && y < 26 ? 1 : 0;
}

/// A map over one cell and its surroundings. The kernels address a map from the origin of the current cell, and may
/// read from one cell before it to two cells after its start; strips of 16 columns may begin left of it.
struct ZoneMap
{
    static constexpr int nBefore = nCellWidth + 16;
    static constexpr int nStride = nBefore + 2 * nCellWidth + 16;
    static constexpr int nLines = 4 * nCellHeight;

    explicit ZoneMap(const short (&values)[2])
    {
        for (int y = 0; y < nLines; ++y)
            for (int x = 0; x < nStride; ++x)
                cells.push_back(values[ZoneAt((x - nBefore + 2 * nCellWidth) % nCellWidth, y % nCellHeight)]);
    }
    short* Origin() { return cells.data() + nCellHeight * nStride + nBefore; }

    std::vector<short> cells;
};

} // namespace

int main()
{
    std::vector<unsigned char> image(nWidth * nHeight);
    for (int y = 0; y < nHeight; ++y)
        for (int x = 0; x < nWidth; ++x)
            image[y * nWidth + x] = ZoneAt(x % nCellWidth, y % nCellHeight) == 1 ? 140 : 50;
    const auto spot = [&](int nLeft, int nTop)
    {
        for (int y = nTop; y < nTop + 4; ++y)
            for (int x = nLeft; x < nLeft + 4; ++x)
                image[y * nWidth + x] += 30;
    };
    spot(8 * nCellWidth + 20, 10 * nCellHeight + 12); // in a window
    spot(4 * nCellWidth, 14 * nCellHeight + 10);      // on the wiring

    ZoneMap offset({60, 12}), gain({0, 10}), zone({0, 1}); // grey levels, 1/256 of the brighter value, index

    // The origin of every cell, row by row, with one spare row above the region and some spare cells after it.
    constexpr int nColumns = nWidth / nCellWidth + 8, nRows = nHeight / nCellHeight + 8;
    std::vector<int> origins;
    for (int row = -1; row < nRows - 1; ++row)
        for (int column = 0; column < nColumns; ++column)
            origins.insert(origins.end(), {column * nCellWidth, row * nCellHeight});

    CConvParam param;
    param.nDirection = 1;
    param.pImage = image.data();
    param.nImageWidth = nWidth, param.nImageHeight = nHeight;
    param.rtInspect = CRect(0, 0, nWidth, nHeight);
    param.nConvWidth = param.nConvHeight = 1;
    param.dConvPitch = nCellWidth, param.dScanPitch = nCellHeight;
    param.nConvMultiple = param.nScanMultiple = 1;
    param.pThresholdOffsetMap = offset.Origin(); // its presence selects the zone comparison
    param.pThresholdGainMap = gain.Origin();
    param.pZoneIndexMap = zone.Origin();
    param.nZoneMapStride = ZoneMap::nStride;
    param.pZoneOriginTable = origins.data();
    param.nZoneColumns = nColumns;

    CAssemControl pool;
    if (pool.InitAssemControl(1, 1000) == 0)
        return 1;
    const int nCode = pool.Inspect_Rect(0, &param, 0);
    CNarvoAssem* pEngine = pool.GetNarvoAssem(0);
    for (int i = 0; i < pEngine->GetBlobCount(); ++i)
    {
        const CDefectBlob& blob = *pEngine->GetBlobDefect(i);
        std::printf("%d pixels around %d, %d: %d of them in the window, mean difference %d\n", blob.nPairCount,
                    blob.ptCenter.x, blob.ptCenter.y, blob.nZoneCount[1], blob.nAvgDiff);
    }
    return nCode == 1 && pEngine->GetBlobCount() == 1 && pEngine->GetBlobDefect(0)->nZoneCount[1] == 16 ? 0 : 1;
}
