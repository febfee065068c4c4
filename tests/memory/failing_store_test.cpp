// SPDX-License-Identifier: MIT
// The blob steps over long lists without memory for their indices: they walk the lists instead and find the same.
#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include "gtest/gtest.h"

#include "memory/failing_heap.h"
#include "narvoassem/blobstorage.h"
#include "support/inspection_set.h"
#include "support/random.h"

namespace
{

using namespace narvo::test;

constexpr int nSide = 400;

/// A store with a noisy image, and pairs in the order of a compare in rows or in strips.
class CLongList : public CBlobStorage
{
public:
    CLongList(const std::vector<unsigned char>& image, bool bVertical, unsigned nSeed)
    {
        InitPairStorage(3000);
        InitBlobStorage(2000);
        ResetPairStorage();
        // The blob steps only read the image.
        ConvParam.pImage = const_cast<unsigned char*>(image.data());
        ConvParam.nImageWidth = ConvParam.nImageHeight = nSide;
        ConvParam.rtInspect.SetRect(0, 0, nSide, nSide);
        ConvParam.nDirection = bVertical ? 1 : 0;
        ConvParam.dConvPitch = ConvParam.dScanPitch = 20.25;
        ConvParam.nConvMultiple = ConvParam.nScanMultiple = 1;
        ConvParam.nConvWidth = ConvParam.nConvHeight = 2;
        ConvParam.dPixelSizeX = ConvParam.dPixelSizeY = 1.0;
        CRandom random(nSeed);
        for (nPairCount = 0; nPairCount < 1500; ++nPairCount)
        {
            CDefectPair& pair = pPair[nPairCount];
            pair.nDefectPos = random.Int(1, 3);
            pair.nDefectPair = random.Pick({1, 5});
            pair.nDefectType = random.Int(0, 1);
            pair.nPeak = random.Int(1, 90);
            pair.ptDefect = CPoint(random.Int(0, nSide - 1), random.Int(0, nSide - 1));
            pair.nSrcGray = random.Int(0, 255);
            pair.nCmpGray = random.Int(0, 255);
            pair.nZoneIndex = random.Int(0, 15);
            pair.nThreshold = random.Int(1, 20);
        }
        std::stable_sort(pPair, pPair + nPairCount,
                         [bVertical](const CDefectPair& a, const CDefectPair& b)
                         { return bVertical ? a.ptDefect.x < b.ptDefect.x : a.ptDefect.y < b.ptDefect.y; });
    }

    SFound Read() const { return {0, nPairCount, std::vector<CDefectBlob>(pBlob, pBlob + nBlobCount)}; }
};

/// Checks that a step has the same result under every failure. fnPrepare runs before it with all memory.
void TestStep(const std::string& strName, bool bVertical, const std::function<void(CLongList&)>& fnPrepare,
              const std::function<void(CLongList&)>& fnStep)
{
    SCOPED_TRACE(strName);
    std::vector<unsigned char> image(static_cast<std::size_t>(nSide) * nSide);
    CRandom random(3);
    for (unsigned char& nPixel : image)
        nPixel = static_cast<unsigned char>(random.Int(60, 200));

    SFound expected;
    {
        CLongList list(image, bVertical, 5);
        fnPrepare(list);
        fnStep(list);
        expected = list.Read();
    }
    ASSERT_GT(expected.blobs.size(), 80U);
    const long nAllocations = FailEachInTurn(
        [&](const SFailures& failures)
        {
            CLongList list(image, bVertical, 5);
            // Another thread prepares: the working memory of this one is the step's own.
            RunOnFreshThread([&] { fnPrepare(list); });
            CFailingHeap heap(failures);
            fnStep(list);
            const long nAsked = heap.Stop();
            EXPECT_TRUE(list.Read() == expected) << "failure " << failures.nFirst;
            return nAsked;
        });
    EXPECT_GT(nAllocations, 0);
}

void PrepareNothing(CLongList& /*list*/)
{
}

TEST(FailingBlobSteps, BuildersGroupAndFillTheSameWithoutAnIndex)
{
    TestStep("rows, filtered", false, PrepareNothing, [](CLongList& list) { list.BlobDefect(); });
    TestStep("rows", false, PrepareNothing, [](CLongList& list) { list.BlobDefect_NonFilter(); });
    TestStep("strips, filtered", true, PrepareNothing, [](CLongList& list) { list.BlobDefectVert(); });
    TestStep("strips", true, PrepareNothing, [](CLongList& list) { list.BlobDefectVert_NonFilter(); });
    TestStep("strips, another store's pairs", true, PrepareNothing,
             [](CLongList& list) { list.BlobDefectVert(&list); });
}

TEST(FailingBlobSteps, BuildAfterAnEarlierOneFindsTheSameBlobs)
{
    const auto build = [](CLongList& list)
    {
        for (int nZone = 0; nZone < 16; ++nZone)
        {
            list.ConvParam.nDarkGrayLimit[nZone] = 128;
            list.ConvParam.nBrightMinDiff[nZone] = 20;
        }
        list.BlobDefect_NonFilter();
    };
    TestStep("second build", false, build, build);
}

TEST(FailingBlobSteps, MergesAndShadowFiltersChooseTheSameWithoutAGrid)
{
    const auto rows = [](CLongList& list) { list.BlobDefect_NonFilter(); };
    const auto strips = [](CLongList& list) { list.BlobDefectVert_NonFilter(); };
    TestStep("merge", false, rows, [](CLongList& list) { list.MergeDivision(0, 4); });
    TestStep("merge of a part", true, strips, [](CLongList& list) { list.MergeDivision(30, 2); });
    TestStep("shadow, rows", false, rows, [](CLongList& list) { list.ShadowFilter(0, 20.25); });
    TestStep("shadow, strips", true, strips, [](CLongList& list) { list.ShadowFilterVert(0, 20.25); });
}

TEST(FailingBlobSteps, BuildOfMorePairsThanTheStoreHoldsBuildsAllOrNone)
{
    const std::vector<unsigned char> image(static_cast<std::size_t>(nSide) * nSide, 100);
    SFound expected;
    const auto build = [&](const SFailures& failures)
    {
        CLongList source(image, true, 5);
        CBlobStorage target;
        target.InitPairStorage(10);
        target.InitBlobStorage(2000);
        target.ConvParam = source.ConvParam;
        CFailingHeap heap(failures);
        target.BlobDefectVert(&source);
        const long nAsked = heap.Stop();
        const SFound found{0, 0, std::vector<CDefectBlob>(target.pBlob, target.pBlob + target.nBlobCount)};
        if (failures.nEnd == 0)
            expected = found;
        EXPECT_TRUE(found == expected || found.blobs.empty()) << "failure " << failures.nFirst;
        return nAsked;
    };
    build(SFailures::None());
    EXPECT_GT(FailEachInTurn(build), 4);
    EXPECT_GT(expected.blobs.size(), 80U);
}

} // namespace
