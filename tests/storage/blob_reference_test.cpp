// SPDX-License-Identifier: MIT
// Building, merging and shadow removal against the plain reference, on random lists long and short: the indexed forms
// must find exactly what the plain walks find, for any order of the list.
#include <algorithm>
#include <random>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "reference/blob_reference.h"
#include "storage/store_samples.h"

namespace
{

using narvo::test::reference::CBlobReference;
using EWindow = CBlobReference::EWindow;

enum class EOrder
{
    ByRow,
    ByColumn,
    ByStrip, ///< strips of 16 columns, each by row
    Shuffled,
    TwoPasses ///< two ordered lists, one behind the other
};

struct SCase
{
    int nPairs = 0;
    int nExtent = 0;    ///< side of the square that the pairs lie in
    int nClusters = 0;  ///< 0: scattered
    int nScattered = 0; ///< of a hundred pairs, beside the clusters
    int nRadius = 1;
    EOrder eOrder = EOrder::ByRow;
    int nTypes = 2;
    int nZones = 1;
};

class CRandomLists
{
public:
    explicit CRandomLists(unsigned nSeed) : m_engine(nSeed) {}

    int Draw(int nLow, int nHigh) { return std::uniform_int_distribution<int>(nLow, nHigh)(m_engine); }

    SCase DrawCase(int nMaxPairs)
    {
        SCase what;
        what.nPairs = Draw(0, 4) == 0 ? Draw(0, 70) : Draw(71, nMaxPairs);
        const int extents[] = {20, 60, 200, 700, 3000, 12000};
        what.nExtent = extents[Draw(0, 5)];
        what.nClusters = Draw(0, 1) * Draw(1, 12);
        what.nScattered = Draw(0, 1) * Draw(0, 99);
        what.nRadius = Draw(1, 40);
        what.eOrder = static_cast<EOrder>(Draw(0, 4));
        what.nTypes = Draw(1, 7);
        what.nZones = Draw(1, 4);
        return what;
    }

    std::vector<CDefectPair> DrawPairs(const SCase& what)
    {
        std::vector<CPoint> centres;
        for (int i = 0; i < what.nClusters; ++i)
            centres.emplace_back(Draw(0, what.nExtent), Draw(0, what.nExtent));
        std::vector<CDefectPair> pairs(static_cast<std::size_t>(what.nPairs));
        for (CDefectPair& pair : pairs)
        {
            CPoint pt(Draw(0, what.nExtent), Draw(0, what.nExtent));
            if (!centres.empty() && Draw(0, 99) >= what.nScattered)
            {
                const CPoint& centre = centres[static_cast<std::size_t>(Draw(0, what.nClusters - 1))];
                pt = CPoint(centre.x + Draw(-what.nRadius, what.nRadius), centre.y + Draw(-what.nRadius, what.nRadius));
            }
            pair.ptDefect = pt;
            pair.nDefectPos = Draw(1, 3);
            pair.nDefectPair = Draw(0, 1) == 0 ? DefectPair_Paired : DefectPair_Single;
            pair.nDefectType = DrawType(what.nTypes);
            pair.nPeak = Draw(-20, 400);
            pair.nSrcGray = Draw(0, 10) == 0 ? Draw(-100000, 100000) : Draw(0, 255);
            pair.nCmpGray = Draw(0, 255);
            pair.nZoneIndex = Draw(0, what.nZones - 1);
            pair.nThreshold = Draw(0, 50);
            pair.nSubZone = Draw(0, 15);
        }
        Sort(pairs, what.eOrder);
        return pairs;
    }

private:
    int DrawType(int nTypes)
    {
        const int types[] = {0, 1, 4, 2, 3, 9, -1};
        return types[Draw(0, nTypes - 1)];
    }

    void Sort(std::vector<CDefectPair>& pairs, EOrder eOrder)
    {
        const auto fnByKey = [](auto fnKey) {
            return [fnKey](const CDefectPair& a, const CDefectPair& b)
            { return fnKey(a.ptDefect) < fnKey(b.ptDefect); };
        };
        const auto fnRow = fnByKey([](const CPoint& pt) { return std::pair(pt.y, pt.x); });
        const auto fnColumn = fnByKey([](const CPoint& pt) { return std::pair(pt.x, pt.y); });
        const auto fnStrip = fnByKey([](const CPoint& pt) { return std::tuple(pt.x >> 4, pt.y, pt.x); });
        const auto itHalf = pairs.begin() + static_cast<std::ptrdiff_t>(pairs.size() / 2);
        switch (eOrder)
        {
        case EOrder::ByRow:
            std::sort(pairs.begin(), pairs.end(), fnRow);
            break;
        case EOrder::ByColumn:
            std::sort(pairs.begin(), pairs.end(), fnColumn);
            break;
        case EOrder::ByStrip:
            std::sort(pairs.begin(), pairs.end(), fnStrip);
            break;
        case EOrder::Shuffled:
            break;
        case EOrder::TwoPasses:
            std::sort(pairs.begin(), itHalf, fnStrip);
            std::sort(itHalf, pairs.end(), fnRow);
            break;
        }
    }

    std::mt19937 m_engine;
};

void ExpectSameBlobs(const CBlobReference& reference, const CBlobStorage& store, const char* pStep)
{
    ASSERT_EQ(store.nBlobCount, static_cast<int>(reference.blobs.size())) << pStep;
    for (int i = 0; i < store.nBlobCount; ++i)
    {
        const std::string strDifference =
            narvo::test::reference::FindDifference(reference.blobs[static_cast<std::size_t>(i)], store.pBlob[i]);
        ASSERT_EQ(strDifference, "") << pStep << ", blob " << i;
    }
}

// One or more builds into one store, each followed by the tidying steps or not, all compared.
void RunCase(CRandomLists& lists, int nMaxPairs)
{
    narvo::test::CSampleStore store(nMaxPairs, nMaxPairs);
    CBlobReference reference;
    store.ConvParam.nMultiType = lists.Draw(-1, 5);
    store.ConvParam.dPixelSizeX = 0.5 * lists.Draw(0, 10);
    store.ConvParam.dPixelSizeY = 0.7 * lists.Draw(0, 10);
    for (int nZone = 0; nZone < 16; ++nZone)
    {
        store.ConvParam.nDarkGrayLimit[nZone] = lists.Draw(0, 1) * lists.Draw(1, 255);
        store.ConvParam.nBrightMinDiff[nZone] = lists.Draw(0, 1) * lists.Draw(1, 100);
    }
    const int nBuilds = lists.Draw(1, 3);
    for (int nBuild = 0; nBuild < nBuilds; ++nBuild)
    {
        const SCase what = lists.DrawCase(nMaxPairs);
        SCOPED_TRACE(testing::Message() << what.nPairs << " pairs, extent " << what.nExtent << ", " << what.nClusters
                                        << " clusters, order " << static_cast<int>(what.eOrder));
        std::vector<CDefectPair> pairs = lists.DrawPairs(what);
        store.ResetPairStorage();
        for (const CDefectPair& pair : pairs)
            narvo::test::AddPair(store, pair);
        store.nBlobSize = reference.nBlobSize =
            lists.Draw(0, 3) == 0 ? std::min(store.nBlobCount + lists.Draw(0, 40), store.nBlobCapacity)
                                  : store.nBlobCapacity;
        const bool bVertical = lists.Draw(0, 1) == 1;
        const int nFirst = lists.Draw(0, 3) == 0 ? 0 : store.nBlobCount;
        bVertical ? store.BlobDefectVert_NonFilter() : store.BlobDefect_NonFilter();
        reference.Build(pairs, bVertical ? EWindow::Vertical : EWindow::Horizontal, store.ConvParam);

        for (std::size_t i = 0; i < pairs.size(); ++i)
        {
            ASSERT_EQ(store.pPairLabel[i], reference.labels[i]) << "label of pair " << i;
            ASSERT_EQ(store.pPairLinked[i], reference.linked[i]) << "pair " << i;
            ASSERT_EQ(store.pPair[i].nDefectType, pairs[i].nDefectType) << "type of pair " << i;
        }
        ASSERT_EQ(store.nRemovedPair, reference.nRemovedPair);
        ASSERT_NO_FATAL_FAILURE(ExpectSameBlobs(reference, store, "build"));

        if (lists.Draw(0, 3) != 0)
        {
            const int nDist = lists.Draw(0, 5) == 0 ? lists.Draw(-8, 3000) : lists.Draw(0, 12);
            store.MergeDivision(nFirst, nDist);
            reference.MergeDivision(nFirst, nDist, store.ConvParam);
            ASSERT_EQ(store.nMergedBlob, reference.nMerged);
            ASSERT_NO_FATAL_FAILURE(ExpectSameBlobs(reference, store, "merge"));
        }
        if (lists.Draw(0, 3) != 0)
        {
            const double dPitch = 0.25 * lists.Draw(-400, 2000);
            bVertical ? store.ShadowFilterVert(nFirst, dPitch) : store.ShadowFilter(nFirst, dPitch);
            reference.Shadow(nFirst, dPitch, bVertical ? 1 : 0);
            ASSERT_NO_FATAL_FAILURE(ExpectSameBlobs(reference, store, "shadow"));
        }
    }
}

TEST(BlobReference, RandomListsGiveTheBlobsOfThePlainWalks)
{
    CRandomLists lists(20261);
    for (int i = 0; i < 3000; ++i)
    {
        SCOPED_TRACE(testing::Message() << "case " << i);
        ASSERT_NO_FATAL_FAILURE(RunCase(lists, 600));
    }
}

TEST(BlobReference, LongRandomListsGiveTheBlobsOfThePlainWalks)
{
    CRandomLists lists(5);
    for (int i = 0; i < 40; ++i)
    {
        SCOPED_TRACE(testing::Message() << "case " << i);
        ASSERT_NO_FATAL_FAILURE(RunCase(lists, 6000));
    }
}

TEST(BlobReference, PixelsBeyondTheFirstExtremePointsGiveTheBlobsOfThePlainWalks)
{
    std::vector<CDefectPair> pairs;
    for (const int y : {-2, -1, 0, 5, 32758, 32759, 32760, 32761, 40000})
        for (const int x : {-40000, -1, 0, 5, 32758, 32759, 32760, 32761, 40000})
            pairs.push_back(narvo::test::MakePair(x, y, static_cast<int>(pairs.size() % 2)));
    narvo::test::CSampleStore store(200, 200);
    store.ConvParam.dPixelSizeX = 3.5;
    store.ConvParam.nMultiType = 2;
    for (const CDefectPair& pair : pairs)
        narvo::test::AddPair(store, pair);
    store.BlobDefect_NonFilter();
    CBlobReference reference;
    reference.nBlobSize = store.nBlobSize;
    reference.Build(pairs, EWindow::Horizontal, store.ConvParam);
    ExpectSameBlobs(reference, store, "build");
}

TEST(BlobReference, ManyOverlappingBlobsMergeAsInThePlainWalk)
{
    CRandomLists lists(99);
    for (int i = 0; i < 200; ++i)
    {
        narvo::test::CSampleStore store(4, 800);
        CBlobReference reference;
        const int nExtent = lists.Draw(50, 3000);
        const int nSide = lists.Draw(1, 300);
        const int nBlobs = lists.Draw(65, 800);
        for (int b = 0; b < nBlobs; ++b)
        {
            const int x = lists.Draw(-nExtent, nExtent);
            const int y = lists.Draw(-nExtent, nExtent);
            CDefectPair pair = narvo::test::MakePair(x, y, lists.Draw(0, 1));
            pair.nDefectPos = lists.Draw(1, 3);
            CDefectBlob blob;
            blob.CreateBlob(&pair, b);
            blob.CheckDefectRect(x + lists.Draw(0, nSide), y + lists.Draw(0, nSide));
            store.AddBlob(&blob);
            narvo::test::reference::SBlob expected;
            expected.nPos = pair.nDefectPos;
            expected.nPair = pair.nDefectPair;
            expected.nType = pair.nDefectType;
            expected.nId = b;
            expected.nCount = 1;
            expected.center = expected.peak = expected.maxGray = {x, y};
            expected.rect = {blob.rtDefect.left, blob.rtDefect.top, blob.rtDefect.right, blob.rtDefect.bottom};
            expected.nMinSrc = expected.nMinCmp = expected.nMinDiff = 0;
            expected.zoneMinPeak.fill(256);
            expected.zoneMinPeak[0] = 0;
            expected.zoneCount[0] = expected.subZoneCount[0] = 1;
            for (std::size_t p = 0; p < 8; ++p)
                expected.extreme[p] = {blob.ptExtreme[p].x, blob.ptExtreme[p].y};
            reference.blobs.push_back(expected);
        }
        const int nFirst = lists.Draw(0, 20);
        const int nDist = lists.Draw(-30, 60);
        store.MergeDivision(nFirst, nDist);
        reference.MergeDivision(nFirst, nDist, store.ConvParam);
        ASSERT_NO_FATAL_FAILURE(ExpectSameBlobs(reference, store, "merge"));
        const double dPitch = lists.Draw(1, 500);
        store.ShadowFilter(nFirst, dPitch);
        reference.Shadow(nFirst, dPitch, 0);
        ASSERT_NO_FATAL_FAILURE(ExpectSameBlobs(reference, store, "shadow"));
    }
}

} // namespace
