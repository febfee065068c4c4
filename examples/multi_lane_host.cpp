// SPDX-License-Identifier: MIT
// A host with several lanes: the regions of one image distributed over threads, one engine each. The blobs are the same
// for any number of lanes, and are printed in the order of the regions.
#include <atomic>
#include <cstdio>
#include <thread>
#include <vector>

#include <narvoassem/narvoassem.h>

namespace
{

constexpr int nWidth = 1024, nHeight = 2048, nRegionHeight = 256;
constexpr int nRegions = nHeight / nRegionHeight;

/// Rows of dots that repeat every 20 columns and every 16 rows, with one dark spot in each region.
std::vector<unsigned char> MakeImage()
{
    std::vector<unsigned char> image(nWidth * nHeight);
    for (int y = 0; y < nHeight; ++y)
        for (int x = 0; x < nWidth; ++x)
            image[y * nWidth + x] = x % 20 < 8 && y % 16 < 10 ? 170 : 80;
    for (int region = 0; region < nRegions; ++region)
        for (int y = 0; y < 4; ++y)
            for (int x = 0; x < 6; ++x)
                image[(region * nRegionHeight + 120 + y) * nWidth + 100 + 100 * region + x] = 10;
    return image;
}

/// The blobs of every region, found on the given number of lanes; empty if a call failed.
std::vector<std::vector<CDefectBlob>> Inspect(std::vector<unsigned char>& image, int nLanes)
{
    std::vector<std::vector<CDefectBlob>> found(nRegions);
    CAssemControl pool;
    if (pool.InitAssemControl(nLanes, 1000) == 0)
        return found;
    pool.ResetReinspectCount(); // once per image

    std::atomic<int> nNext = 0;
    const auto work = [&](int nLane)
    {
        for (int region = nNext++; region < nRegions; region = nNext++)
        {
            CConvParam param; // each call has its own: the pool may write to it
            param.nInspectMode = param.nDirection = 1;
            param.pImage = image.data();
            param.nImageWidth = nWidth, param.nImageHeight = nHeight;
            param.rtInspect = CRect(0, region * nRegionHeight, nWidth, (region + 1) * nRegionHeight);
            param.nConvWidth = param.nConvHeight = 1;
            param.dConvPitch = 20, param.dScanPitch = 16;
            param.nConvMultiple = param.nScanMultiple = 1;
            param.nThreshold = 25;
            if (pool.Inspect_Rect(nLane, &param, 0) != 1)
                continue;
            CNarvoAssem* pEngine = pool.GetNarvoAssem(nLane);
            for (int i = 0; i < pEngine->GetBlobCount(); ++i) // results stay with the lane until its next call
                found[region].push_back(*pEngine->GetBlobDefect(i));
        }
    };
    std::vector<std::thread> lanes;
    for (int nLane = 0; nLane < nLanes; ++nLane)
        lanes.emplace_back(work, nLane);
    for (std::thread& lane : lanes)
        lane.join();
    return found;
}

} // namespace

int main()
{
    std::vector<unsigned char> image = MakeImage();
    const auto alone = Inspect(image, 1);
    const auto shared = Inspect(image, 4);
    bool bSame = true;
    for (int region = 0; region < nRegions; ++region)
    {
        const auto& blobs = shared[region];
        bSame =
            bSame && blobs.size() == 1 && alone[region].size() == 1 && blobs[0].ptCenter == alone[region][0].ptCenter;
        for (const CDefectBlob& blob : blobs)
            std::printf("region %d: %d pixels around %d, %d\n", region, blob.nPairCount, blob.ptCenter.x,
                        blob.ptCenter.y);
    }
    return bSame ? 0 : 1;
}
