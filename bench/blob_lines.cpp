// SPDX-License-Identifier: MIT
// How building, merging and shadow removal grow with the number of pairs: 100 stores of 1,000 pairs each against one
// store of 100,000. Both sides touch the same amount of memory, so that the ratio shows the steps and not the caches;
// 1 is linear growth.
#include <algorithm>
#include <random>
#include <string>

#include "bench/bench_lines.h"
#include "bench/bench_scene.h"
#include "bench/bench_timer.h"

namespace bench
{

namespace
{

constexpr int nSmall = 1000;
constexpr int nLarge = 100000;
constexpr double dAllowedGrowth = 1.3;

struct SPlacement
{
    const char* pName;
    int nClusterSide; ///< pixels; 1 scatters
};

/// A blob store that holds nCount pairs in the order in which a kernel writes them, and can be set back to that state.
class CStore
{
public:
    CStore(CScene& scene, bool bVertical, int nCount, const SPlacement& placement, std::uint64_t nSeed)
    {
        m_store.ConvParam = scene.ZoneParam(bVertical);
        m_store.InitPixelStorage(16);
        m_store.InitPairStorage(nCount);
        m_store.InitBlobStorage(nCount);
        m_store.nPairCount = nCount;

        // The same share of the image is hit for every count: a store of 1,000 covers a region of a hundredth.
        const int nRegionHeight = std::max(64, static_cast<int>(std::int64_t{scene.nHeight} * nCount / nLarge));
        std::mt19937_64 random(nSeed);
        const int nSide = placement.nClusterSide;
        std::uniform_int_distribution<int> placeX(0, scene.nWidth - nSide);
        std::uniform_int_distribution<int> placeY(0, nRegionHeight - nSide);
        std::vector<CPoint> points;
        while (points.size() < static_cast<std::size_t>(nCount))
        {
            const CPoint corner(placeX(random), placeY(random));
            for (int i = 0; i < nSide * nSide && points.size() < static_cast<std::size_t>(nCount); ++i)
                points.push_back(CPoint(corner.x + i % nSide, corner.y + i / nSide));
        }
        std::sort(points.begin(), points.end(),
                  [bVertical](const CPoint& a, const CPoint& b)
                  {
                      if (bVertical && a.x / 16 != b.x / 16)
                          return a.x < b.x;
                      return a.y != b.y ? a.y < b.y : a.x < b.x;
                  });
        for (std::size_t i = 0; i < points.size(); ++i)
        {
            CDefectPair& pair = *m_store.GetPairDefect(static_cast<int>(i));
            pair.Reset();
            pair.nDefectPos = points[i].y < 60 ? DefectPos_First : DefectPos_Middle;
            pair.nDefectPair = DefectPair_Paired;
            pair.nDefectType = random() % 2 == 0 ? DefectType_Dark : DefectType_Bright;
            pair.nPeak = 10;
            pair.ptDefect = points[i];
            pair.nSrcGray = 120;
            pair.nCmpGray = 80;
            pair.nThreshold = 20;
        }
        // Clusters are of one polarity each, as defects are.
        if (nSide > 1)
            for (int i = 0; i < nCount; ++i)
                m_store.GetPairDefect(i)->nDefectType = DefectType_Dark;
        m_pairs.assign(m_store.pPair, m_store.pPair + nCount);
    }

    /// Restores the pairs; no blobs.
    void Restore()
    {
        m_store.ResetBlobStorage();
        std::copy(m_pairs.begin(), m_pairs.end(), m_store.pPair);
        m_store.nPairCount = static_cast<int>(m_pairs.size());
    }
    CBlobStorage& Store() { return m_store; }

private:
    CBlobStorage m_store;
    std::vector<CDefectPair> m_pairs;
};

enum Step
{
    Step_Build,
    Step_Merge,
    Step_Shadow,
    Step_Count
};
constexpr const char* pStepNames[Step_Count] = {"building", "merging", "shadow removal"};

/// Adds the time of each step over all stores to dTimes.
void RunSteps(std::vector<CStore>& stores, bool bVertical, double (&dTimes)[Step_Count])
{
    for (CStore& store : stores)
        store.Restore();
    const auto timed = [&](Step eStep, auto step)
    {
        const double dStart = Now();
        for (CStore& store : stores)
            step(store.Store());
        dTimes[eStep] = Now() - dStart;
    };
    timed(Step_Build,
          [&](CBlobStorage& store) { bVertical ? store.BlobDefectVert_NonFilter() : store.BlobDefect_NonFilter(); });
    timed(Step_Merge, [&](CBlobStorage& store) { store.MergeDivision(0, 4); });
    timed(Step_Shadow, [&](CBlobStorage& store)
          { bVertical ? store.ShadowFilterVert(0, dScanPeriod) : store.ShadowFilter(0, dConvPeriod); });
}

void AddGrowthLines(CTable& table, CScene& scene, bool bVertical, const SPlacement& placement, int nRounds)
{
    std::vector<CStore> small;
    small.reserve(nLarge / nSmall);
    for (int i = 0; i < nLarge / nSmall; ++i)
        small.emplace_back(scene, bVertical, nSmall, placement, static_cast<std::uint64_t>(i));
    std::vector<CStore> large;
    large.reserve(1);
    large.emplace_back(scene, bVertical, nLarge, placement, 12345);

    double dBestSmall[Step_Count];
    double dBestLarge[Step_Count];
    std::fill(std::begin(dBestSmall), std::end(dBestSmall), 1e9);
    std::fill(std::begin(dBestLarge), std::end(dBestLarge), 1e9);
    for (int nRound = -1; nRound < nRounds; ++nRound)
    {
        double dSmall[Step_Count];
        double dLarge[Step_Count];
        RunSteps(small, bVertical, dSmall);
        RunSteps(large, bVertical, dLarge);
        for (int i = 0; i < Step_Count; ++i)
        {
            dBestSmall[i] = std::min(dBestSmall[i], dSmall[i]);
            dBestLarge[i] = std::min(dBestLarge[i], dLarge[i]);
        }
    }
    const std::string strCase = std::string(bVertical ? "vertical " : "horizontal ");
    for (int i = 0; i < Step_Count; ++i)
    {
        const std::string strName = strCase + pStepNames[i] + ", 100,000 pairs, " + placement.pName;
        table.Note(strName, dBestLarge[i] * 1e3, "ms");
        table.Require(strName + ", growth over that in pairs", dBestLarge[i] / dBestSmall[i], "x", Bound::AtMost,
                      dAllowedGrowth);
    }
    table.Note(strCase + placement.pName + ", blobs left", large.front().Store().GetBlobCount(), "");
}

} // namespace

void AddBlobLines(CTable& table, CScene& scene, const SOptions& options)
{
    for (const bool bVertical : {true, false})
        for (const SPlacement& placement : {SPlacement{"scattered", 1}, SPlacement{"clusters of 6 by 6", 6}})
            AddGrowthLines(table, scene, bVertical, placement, options.Rounds(5));
}

} // namespace bench
