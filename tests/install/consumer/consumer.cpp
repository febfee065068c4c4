// SPDX-License-Identifier: MIT
// A separate host: makes a periodic image with one defect, inspects it through the pool with the installed headers
// and library alone, and fails unless exactly that defect comes back.
#include <cmath>
#include <cstdio>
#include <vector>

#include <narvoassem/narvoassem.h>

namespace
{

constexpr int nWidth = 512;
constexpr int nHeight = 512;
constexpr int nPitch = 40;
constexpr int nCell = 80;

std::vector<unsigned char> MakeImage()
{
    std::vector<unsigned char> image(static_cast<std::size_t>(nWidth) * nHeight);
    for (int y = 0; y < nHeight; ++y)
        for (int x = 0; x < nWidth; ++x)
            image[static_cast<std::size_t>(y) * nWidth + x] =
                static_cast<unsigned char>(100 + 2 * (y % nPitch) - (x % nPitch));
    for (int y = 250; y < 254; ++y)
        for (int x = 200; x < 203; ++x)
            image[static_cast<std::size_t>(y) * nWidth + x] = 250;
    return image;
}

/// Origins of all zone cells, row by row; vertical inspections enter one grid row down.
std::vector<int> MakeOrigins(int nColumns, int nRows)
{
    std::vector<int> origins;
    for (int nRow = -1; nRow < nRows; ++nRow)
        for (int nColumn = 0; nColumn < nColumns; ++nColumn)
        {
            origins.push_back(nColumn * nCell);
            origins.push_back(nRow * nCell);
        }
    return origins;
}

} // namespace

int main()
{
    std::vector<unsigned char> image = MakeImage();
    const int nColumns = nWidth / nCell + 2;
    std::vector<int> origins = MakeOrigins(nColumns, nHeight / nCell + 2);
    // Twice the cell: the last cell of a row or column stretches.
    std::vector<short> offsets(static_cast<std::size_t>(2 * nCell + 16) * (2 * nCell + 16), 20);
    std::vector<short> zeros(offsets.size(), 0);

    CConvParam param;
    param.nInspectMode = 1;
    param.nDirection = 1;
    param.pImage = image.data();
    param.nImageWidth = nWidth;
    param.nImageHeight = nHeight;
    param.rtInspect = CRect(0, 0, nWidth, nHeight);
    param.nConvWidth = param.nConvHeight = 1;
    param.dConvPitch = param.dScanPitch = nPitch;
    param.nConvMultiple = param.nScanMultiple = 1;
    param.nZoneConvMultiple = param.nZoneScanMultiple = nCell / nPitch;
    param.pThresholdOffsetMap = offsets.data();
    param.pThresholdGainMap = zeros.data();
    param.pZoneIndexMap = zeros.data();
    param.nZoneMapStride = 2 * nCell + 16;
    param.pZoneOriginTable = origins.data();
    param.nZoneColumns = nColumns;

    CAssemControl control;
    if (control.InitAssemControl(1, 1000) != 1)
        return 1;
    const int nCode = control.Inspect_Rect(0, &param, 0);
    CNarvoAssem* pEngine = control.GetNarvoAssem(0);
    const int nBlobs = pEngine->GetBlobCount();
    std::printf("code %d, %d blob(s)\n", nCode, nBlobs);
    if (nCode != 1 || nBlobs != 1)
        return 1;
    const CDefectBlob& blob = *pEngine->GetBlobDefect(0);
    std::printf("x %d .. %d, y %d .. %d, %d pixels\n", blob.rtDefect.left, blob.rtDefect.right, blob.rtDefect.top,
                blob.rtDefect.bottom, blob.nPairCount);
    return blob.rtDefect == CRect(200, 250, 203, 254) && blob.nPairCount == 12 ? 0 : 1;
}
