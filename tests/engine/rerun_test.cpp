// SPDX-License-Identifier: MIT
// Re-runs against the plain recursion: passes that are only counted must leave the same results as if they were made.
// The passes of the scenes do not advance: the end line is a row while the region moves by columns, so that each
// re-run inspects the same place again, opens blobs and loses them to the shadow filter, or offers pairs to the blobs
// of earlier passes.
#include <algorithm>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "reference/rerun_reference.h"
#include "support/inspection_set.h"
#include "support/random.h"
#include "support/seeds.h"

namespace narvo::test
{
namespace
{

/// A periodic picture with spots, some of which repeat about a pitch away; random region, filters and stores.
class CRerunScene
{
public:
    explicit CRerunScene(std::uint64_t nSeed) : m_random(nSeed)
    {
        m_nPitch = m_random.Int(8, 16);
        m_nHeight = m_random.Int(3 * m_nPitch, 3 * m_nPitch + 4);
        m_nWidth = m_nHeight + m_random.Int(17, 60);
        DrawPicture();
        SetParam();
        m_nPairs = m_random.Pick({m_random.Int(1, 60), m_random.Int(5, 400), 20000});
        m_nHits = m_random.OneIn(4) ? m_random.Int(16, 400) : 5000;
        m_nBlobs = m_random.OneIn(4) ? m_random.Int(1, 6) : m_random.Int(10, 60);
    }

    void UseFreeForm()
    {
        param.nInspectMode = 0;
        param.nDirection = 1;
        param.bZoneFlagged = 1;
        m_mask.assign(m_image.size(), 1);
        param.pFreeFormMask = m_mask.data();
        for (int nZone = 0; nZone < CConvParam::nZoneLimit; ++nZone)
        {
            param.nDarkGrayLimit[nZone] = m_random.OneIn(2) ? m_random.Int(1, 120) : 0;
            param.nBrightMinDiff[nZone] = m_random.OneIn(2) ? m_random.Int(1, 100) : 0;
        }
        const int nColumns = m_nWidth / m_nPitch + 4;
        for (int nRow = -1; nRow < m_nHeight / m_nPitch + 4; ++nRow)
            for (int nColumn = 0; nColumn < nColumns; ++nColumn)
            {
                m_origins.push_back(nColumn * m_nPitch + 1);
                m_origins.push_back(nRow * m_nPitch + 1);
            }
        constexpr std::size_t nMargin = 20000; // cells may begin anywhere around the region
        m_zones.resize(m_image.size() + 2 * nMargin);
        for (short& nZone : m_zones)
            nZone = static_cast<short>(m_random.Int(0, 3));
        param.pZoneIndexMap = m_zones.data() + nMargin;
        param.pZoneOriginTable = m_origins.data();
        param.nZoneColumns = nColumns;
        param.nZoneMapStride = 4 * m_nPitch;
    }

    void UseRowsUnderAColumnLimit()
    {
        param.nInspectMode = 1;
        param.nDirection = 2;
    }

    void SetUp(CNarvoAssem& engine) const
    {
        engine.InitPixelStorage(m_nHits);
        engine.InitPairStorage(m_nPairs);
        engine.InitBlobStorage(m_nBlobs);
        engine.ResetNarvoAssem();
    }

    CConvParam param;

private:
    void DrawPicture()
    {
        m_image.resize(static_cast<std::size_t>(m_nWidth * m_nHeight));
        for (int y = 0; y < m_nHeight; ++y)
            for (int x = 0; x < m_nWidth; ++x)
                At(x, y) = static_cast<unsigned char>(80 + x % m_nPitch * 3 % 30 + y % m_nPitch * 2);
        for (int nSpots = m_random.Int(4, 25); nSpots > 0; --nSpots)
        {
            const int nSide = m_random.Int(1, 4);
            const int nGrey = m_random.Pick({90, -70});
            int x = m_random.Int(0, m_nWidth - 1);
            int y = m_random.Int(0, m_nHeight - 1);
            for (int nCopies = m_random.Int(1, 3); nCopies > 0; --nCopies)
            {
                DrawSpot(x, y, nSide, nGrey);
                x += m_nPitch + m_random.Int(-3, 3);
                y += m_random.Int(-5, 5);
            }
        }
    }

    void DrawSpot(int nLeft, int nTop, int nSide, int nGrey)
    {
        for (int y = std::max(nTop, 0); y < std::min(nTop + nSide, m_nHeight); ++y)
            for (int x = std::max(nLeft, 0); x < std::min(nLeft + nSide, m_nWidth); ++x)
                At(x, y) = static_cast<unsigned char>(std::clamp(At(x, y) + nGrey, 0, 255));
    }

    unsigned char& At(int x, int y) { return m_image[static_cast<std::size_t>(y * m_nWidth + x)]; }

    void SetParam()
    {
        param.pImage = m_image.data();
        param.nImageWidth = m_nWidth;
        param.nImageHeight = m_nHeight;
        param.rtInspect.SetRect(0, 0, m_nWidth, m_nHeight);
        param.nConvWidth = param.nConvHeight = 2;
        param.dConvPitch = param.dScanPitch = m_nPitch;
        param.nConvMultiple = param.nScanMultiple = 1;
        param.nThreshold = m_random.Int(5, 30);
        param.nThresholdGain = 0;
        param.nMaxReinspect = m_random.Pick({0, 1, 2, 3, 3, 3, 9, 40});
        param.nMergeDivision = m_random.Int(0, 9);
        param.bKeepSingle = m_random.OneIn(4) ? 0 : 1;
        param.nFilterMode = m_random.Int(0, 1);
        param.nFilterMode2 = m_random.Int(0, 1);
        param.bFalseFilter = m_random.Int(0, 1);
        param.bMarginFilter = m_random.Int(0, 1);
        param.bExtendedKernel = m_random.Int(0, 1);
    }

    CRandom m_random;
    int m_nPitch;
    int m_nWidth;
    int m_nHeight;
    int m_nPairs;
    int m_nHits;
    int m_nBlobs;
    std::vector<unsigned char> m_image;
    std::vector<unsigned char> m_mask;
    std::vector<short> m_zones;
    std::vector<int> m_origins;
};

SFound FoundIn(const CNarvoAssem& engine, int nCode)
{
    return {nCode, engine.nPairCount, {engine.pBlob, engine.pBlob + engine.nBlobCount}};
}

auto CountersOf(const CNarvoAssem& engine)
{
    return std::tuple(engine.nReinspectCount, engine.nMergedBlob, engine.nRemovedPair, engine.nRemovedScan,
                      engine.nRemovedConv, engine.nRemovedByClass, engine.ConvParam.rtInspect.left,
                      engine.ConvParam.rtInspect.top);
}

/// Scenes that each way of going round makes, run both ways. @return passes that were made one by one
template <typename TUse>
long CompareWithEachPass(const std::string& strName, int nScenes, const TUse& fnUse)
{
    long nReruns = 0;
    for (const std::uint64_t nSeed : CaseSeeds(strName, nScenes))
    {
        CRerunScene scene(nSeed);
        fnUse(scene);
        CRerunReference reference;
        CNarvoAssem engine;
        scene.SetUp(reference);
        scene.SetUp(engine);
        CConvParam param = scene.param;
        const SFound expected = FoundIn(reference, reference.InspectEachPass(&param));
        param = scene.param;
        const SFound found = FoundIn(engine, engine.Inspect_Rect(&param));
        EXPECT_TRUE(found == expected) << ReplayHint(nSeed);
        EXPECT_EQ(CountersOf(engine), CountersOf(reference)) << ReplayHint(nSeed);
        if (testing::Test::HasFailure())
            break;
        nReruns += reference.nReinspectCount;
    }
    return nReruns;
}

TEST(Rerun, RepeatingPassesLeaveBlobsAndCountersAsIfEachHadBeenMade)
{
    constexpr int nScenes = 2000;
    EXPECT_GT(CompareWithEachPass("free-form re-runs", nScenes, [](CRerunScene& scene) { scene.UseFreeForm(); }),
              nScenes / CaseShare());
    EXPECT_GT(CompareWithEachPass("row re-runs", nScenes, [](CRerunScene& scene) { scene.UseRowsUnderAColumnLimit(); }),
              nScenes / CaseShare());
}

} // namespace
} // namespace narvo::test
