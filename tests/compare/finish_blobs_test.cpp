// SPDX-License-Identifier: MIT
// The steps from pairs to blobs as the engine takes them, against the store's own operations one after another.
#include <algorithm>
#include <cstddef>
#include <cstring>
#include <memory>
#include <random>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "narvoassem/compare/compare_chain.h"

namespace
{

constexpr int nExtent = 2000;

/// Lone pixels and squares of pixels, in the order in which kernels write them.
std::vector<CDefectPair> DrawPairs(std::mt19937& random, int nCount, bool bVertical)
{
    const auto draw = [&random](int nLow, int nHigh)
    { return std::uniform_int_distribution<int>(nLow, nHigh)(random); };
    std::vector<CDefectPair> pairs;
    while (static_cast<int>(pairs.size()) < nCount)
    {
        const int nSide = draw(0, 9) == 0 ? draw(2, 12) : 1;
        const CPoint ptCorner(draw(0, nExtent), draw(0, nExtent));
        const int nType = draw(0, 1);
        for (int i = 0; i < nSide * nSide; ++i)
        {
            CDefectPair& pair = pairs.emplace_back();
            pair.ptDefect = CPoint(ptCorner.x + i % nSide, ptCorner.y + i / nSide);
            pair.nDefectPos = pair.ptDefect.y < nExtent / 3 ? DefectPos_First : DefectPos_Middle;
            pair.nDefectPair = DefectPair_Paired;
            pair.nDefectType = nType;
            pair.nSrcGray = draw(0, 255);
            pair.nCmpGray = draw(0, 255);
            pair.nPeak = draw(0, 100);
            pair.nThreshold = draw(5, 40);
            pair.nZoneIndex = draw(0, 15);
        }
    }
    std::sort(pairs.begin(), pairs.end(),
              [bVertical](const CDefectPair& a, const CDefectPair& b)
              {
                  const auto key = [bVertical](const CPoint& pt)
                  { return std::tuple(bVertical ? pt.x / 16 : 0, pt.y, pt.x); };
                  return key(a.ptDefect) < key(b.ptDefect);
              });
    return pairs;
}

std::unique_ptr<CBlobStorage> MakeStore(const std::vector<CDefectPair>& pairs, int nBlobs, int nDist, double dPitch)
{
    auto store = std::make_unique<CBlobStorage>();
    store->InitPairStorage(static_cast<int>(pairs.size()));
    store->InitBlobStorage(nBlobs);
    store->ConvParam.nMergeDivision = nDist;
    store->ConvParam.dConvPitch = store->ConvParam.dScanPitch = dPitch;
    store->ConvParam.dPixelSizeX = 2.5;
    store->ConvParam.dPixelSizeY = 1.5;
    std::copy(pairs.begin(), pairs.end(), store->pPair);
    store->nPairCount = static_cast<int>(pairs.size());
    return store;
}

void ExpectSameBlobs(const CBlobStorage& expected, const CBlobStorage& found)
{
    ASSERT_EQ(found.nBlobCount, expected.nBlobCount);
    ASSERT_EQ(found.nMergedBlob, expected.nMergedBlob);
    for (int i = 0; i < found.nBlobCount; ++i)
    {
        const CDefectBlob& a = expected.pBlob[i];
        const CDefectBlob& b = found.pBlob[i];
        // In two parts: between them is padding.
        ASSERT_EQ(std::memcmp(&a, &b, offsetof(CDefectBlob, ptExtreme) + sizeof a.ptExtreme), 0) << "blob " << i;
        ASSERT_EQ(std::memcmp(&a.dAngle, &b.dAngle, 5 * sizeof a.dAngle), 0) << "blob " << i;
    }
}

class FinishBlobs : public testing::TestWithParam<bool>
{
};

TEST_P(FinishBlobs, TheStepsTogetherGiveTheBlobsOfTheStoresOperations)
{
    const bool bVertical = GetParam();
    std::mt19937 random(4711);
    int nMerged = 0;
    int nGhosts = 0;
    for (int nCase = 0; nCase < 200; ++nCase)
    {
        SCOPED_TRACE(testing::Message() << "case " << nCase);
        const auto draw = [&random](int nLow, int nHigh)
        { return std::uniform_int_distribution<int>(nLow, nHigh)(random); };
        const std::vector<CDefectPair> pairs = DrawPairs(random, draw(1, 2500), bVertical);
        const int nBlobs = draw(0, 3) == 0 ? draw(0, 300) : static_cast<int>(pairs.size());
        const int nDist = draw(0, 4) == 0 ? draw(-3, 200) : draw(0, 8);
        const double dPitch = 0.25 * draw(40, 1600);
        const auto store = MakeStore(pairs, nBlobs, nDist, dPitch);
        bVertical ? store->BlobDefectVert_NonFilter() : store->BlobDefect_NonFilter();
        store->MergeDivision(0, nDist);
        const int nBefore = store->nBlobCount;
        bVertical ? store->ShadowFilterVert(0, store->ConvParam.GetRealScanPitch())
                  : store->ShadowFilter(0, store->ConvParam.GetRealConvPitch());
        nMerged += store->nMergedBlob;
        nGhosts += nBefore - store->nBlobCount;

        const auto together = MakeStore(pairs, nBlobs, nDist, dPitch);
        narvo::engine::FinishBlobs(*together, {.bVertical = bVertical, .bFilters = false}, 0);
        ASSERT_NO_FATAL_FAILURE(ExpectSameBlobs(*store, *together));
    }
    EXPECT_GT(nMerged, 1000);
    EXPECT_GT(nGhosts, 50);
}

INSTANTIATE_TEST_SUITE_P(Directions, FinishBlobs, testing::Bool());

} // namespace
