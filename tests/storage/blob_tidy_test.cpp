// SPDX-License-Identifier: MIT
// Merging, ghosts, the real-scale diameter and the block means.
#include <gtest/gtest.h>

#include "storage/store_samples.h"

namespace
{

using narvo::test::CSampleStore;
using narvo::test::CTestImage;
using narvo::test::MakeBlob;

void Add(CBlobStorage& store, const CDefectBlob& blob)
{
    CDefectBlob copy(blob);
    store.AddBlob(&copy);
}

/// Blobs that are neither near each other nor near anything below 1000: with them a list is long enough to be searched
/// by place.
void AddFarBlobs(CBlobStorage& store)
{
    for (int i = 0; i < 80; ++i)
        Add(store, MakeBlob(CRect(1000 + 50 * i, 1000, 1002 + 50 * i, 1002)));
}

TEST(MergeDivision, RectanglesAtTheDistanceMergeAndOneFurtherDoNot)
{
    for (const int nGap : {4, 5})
    {
        CSampleStore alongX;
        Add(alongX, MakeBlob(CRect(10, 10, 12, 12)));
        Add(alongX, MakeBlob(CRect(12 + nGap, 10, 20 + nGap, 12)));
        EXPECT_EQ(alongX.MergeDivision(0, 4), 1);
        EXPECT_EQ(alongX.nBlobCount, nGap == 4 ? 1 : 2);
        CSampleStore alongY;
        Add(alongY, MakeBlob(CRect(10, 12 + nGap, 12, 20)));
        Add(alongY, MakeBlob(CRect(10, 10, 12, 12)));
        alongY.MergeDivision(0, 4);
        EXPECT_EQ(alongY.nBlobCount, nGap == 4 ? 1 : 2);
        EXPECT_EQ(alongY.nMergedBlob, nGap == 4 ? 1 : 0);
    }
}

TEST(MergeDivision, ALonePixelInTheRectangleOfALargeBlobMergesWithIt)
{
    // The large blob is sparse, as one that a scratch leaves: the pixel has no pair of it near.
    for (const bool bPixelFirst : {false, true})
    {
        for (const int nX : {194, 195, 350, 504, 505})
        {
            CSampleStore store(64, 128);
            const CDefectBlob pixel = MakeBlob(CRect(nX, 300, nX + 1, 301));
            if (bPixelFirst)
                Add(store, pixel);
            Add(store, MakeBlob(CRect(200, 200, 500, 500)));
            if (!bPixelFirst)
                Add(store, pixel);
            AddFarBlobs(store);
            store.MergeDivision(0, 4);
            const bool bWithin = nX + 1 + 4 >= 200 && nX - 4 <= 500;
            EXPECT_EQ(store.nBlobCount, bWithin ? 81 : 82) << nX << ", pixel first: " << bPixelFirst;
        }
    }
}

TEST(MergeDivision, ALonePixelMergesWithARectangleThatGrewOverItOnlyIfItComesLater)
{
    // Two bars make a corner; the pixel lies between them, far from both.
    for (int nPlace = 0; nPlace < 3; ++nPlace)
    {
        CSampleStore store(64, 128);
        const CDefectBlob pixel = MakeBlob(CRect(450, 250, 451, 251));
        const CDefectBlob bars[] = {MakeBlob(CRect(200, 200, 210, 500)), MakeBlob(CRect(210, 490, 600, 500))};
        for (int i = 0; i < 3; ++i)
        {
            if (i == nPlace)
                Add(store, pixel);
            if (i < 2)
                Add(store, bars[i]);
        }
        AddFarBlobs(store);
        store.MergeDivision(0, 4);
        EXPECT_EQ(store.nBlobCount, nPlace == 2 ? 81 : 82) << "place " << nPlace;
    }
}

TEST(MergeDivision, PixelsAtTheDistanceAreFoundAcrossAllCells)
{
    // A pixel at every place of a cell of 32 by 32, in turn, with one at the distance or one further.
    for (int i = 0; i < 1024; ++i)
    {
        const CPoint pt(64 + i % 32, 96 + i / 32);
        for (const int nStep : {-6, -5, 5, 6})
        {
            const CPoint ptOther = i % 2 == 0 ? CPoint(pt.x + nStep, pt.y - 5) : CPoint(pt.x + 5, pt.y + nStep);
            CSampleStore store(64, 128);
            Add(store, MakeBlob(CRect(pt.x, pt.y, pt.x + 1, pt.y + 1)));
            Add(store, MakeBlob(CRect(ptOther.x, ptOther.y, ptOther.x + 1, ptOther.y + 1)));
            for (int nFar = 0; nFar < 80; ++nFar) // in rows of their own, so that few buckets hold one by chance
                Add(store, MakeBlob(CRect(500 + 91 * nFar, 500 + 211 * nFar, 501 + 91 * nFar, 501 + 211 * nFar)));
            store.MergeDivision(0, 4);
            ASSERT_EQ(store.nBlobCount, nStep * nStep == 25 ? 81 : 82) << pt.x << ", " << pt.y << ", step " << nStep;
        }
    }
}

TEST(MergeDivision, PixelsAtADistanceOfManyCellsMerge)
{
    for (const int nFar : {201, 202})
    {
        CSampleStore store(64, 128);
        Add(store, MakeBlob(CRect(100, 100, 101, 101)));
        Add(store, MakeBlob(CRect(100 + nFar, 110, 101 + nFar, 111)));
        for (int i = 0; i < 80; ++i)
            Add(store, MakeBlob(CRect(5000 + 910 * i, 5000 + 2110 * i, 5001 + 910 * i, 5001 + 2110 * i)));
        store.MergeDivision(0, 200);
        EXPECT_EQ(store.nBlobCount, nFar == 201 ? 81 : 82);
    }
}

TEST(MergeDivision, ADarkAndABrightBlobNeverMerge)
{
    CSampleStore store;
    Add(store, MakeBlob(CRect(10, 10, 12, 12), DefectType_Dark));
    Add(store, MakeBlob(CRect(10, 10, 12, 12), DefectType_Bright));
    store.MergeDivision(0, 100);
    EXPECT_EQ(store.nBlobCount, 2);
}

TEST(MergeDivision, ABlobMissedOnTheForwardWalkIsNotComparedAgain)
{
    CSampleStore store;
    Add(store, MakeBlob(CRect(10, 10, 12, 12)));
    Add(store, MakeBlob(CRect(30, 10, 32, 12)));
    Add(store, MakeBlob(CRect(12, 10, 28, 12)));
    store.MergeDivision(0, 4);
    ASSERT_EQ(store.nBlobCount, 2);
    EXPECT_EQ(store.pBlob[0].rtDefect, CRect(10, 10, 28, 12));
    EXPECT_EQ(store.pBlob[1].rtDefect, CRect(30, 10, 32, 12));
}

TEST(MergeDivision, AGrownRectangleReachesLaterBlobs)
{
    CSampleStore store;
    Add(store, MakeBlob(CRect(10, 10, 12, 12)));
    Add(store, MakeBlob(CRect(12, 10, 28, 12)));
    Add(store, MakeBlob(CRect(30, 10, 32, 12)));
    store.MergeDivision(0, 4);
    ASSERT_EQ(store.nBlobCount, 1);
    EXPECT_EQ(store.nMergedBlob, 2);
    EXPECT_EQ(store.pBlob[0].nPairCount, 3);
}

TEST(MergeDivision, EarlierBlobsAreLeftAloneAndTheDiameterIsFormedAgain)
{
    CSampleStore store;
    store.ConvParam.dPixelSizeX = store.ConvParam.dPixelSizeY = 1.0;
    for (int i = 0; i < 3; ++i)
    {
        Add(store, MakeBlob(CRect(10 + i, 10, 11 + i, 11)));
        store.pBlob[i].nRScale = 99;
    }
    store.MergeDivision(1, 4);
    ASSERT_EQ(store.nBlobCount, 2);
    EXPECT_EQ(store.pBlob[0].nRScale, 99);
    EXPECT_EQ(store.pBlob[1].nRScale, 2);
}

TEST(MergeDivision, CompactionKeepsTheSumOfThresholdsOfThePlace)
{
    CSampleStore store;
    for (int i = 0; i < 3; ++i)
    {
        Add(store, MakeBlob(CRect(10 + 2 * i, 10, 11 + 2 * i, 11), i == 1 ? DefectType_Bright : DefectType_Dark));
        store.pBlob[i].nSumThreshold = 100 + i;
    }
    store.pBlob[1].bRemoved = 1;
    store.MergeDivision(0, 0);
    ASSERT_EQ(store.nBlobCount, 2);
    EXPECT_EQ(store.pBlob[1].rtDefect.left, 14);
    EXPECT_EQ(store.pBlob[1].nSumThreshold, 101);
}

TEST(MergeDivision, AReversedRectangleMergesByTheBareInequalitiesInAnyListLength)
{
    for (const bool bLong : {false, true})
        for (const int nDist : {9, 10})
        {
            CSampleStore store(64, 128);
            Add(store, MakeBlob(CRect(20, 20, 21, 21)));
            Add(store, MakeBlob(CRect(30, 20, 10, 21)));
            if (bLong)
                AddFarBlobs(store);
            store.MergeDivision(0, nDist);
            EXPECT_EQ(store.nMergedBlob, nDist == 10 ? 1 : 0) << "distance " << nDist << ", long " << bLong;
        }
}

TEST(MergeMix, DistanceZeroLeavesOneBlobOfAnyList)
{
    CSampleStore store;
    for (int i = 0; i < 5; ++i)
        Add(store, MakeBlob(CRect(100 * i, 10, 100 * i + 1, 11), i % 2));
    EXPECT_EQ(store.MergeMix(1, 0), 1);
    ASSERT_EQ(store.nBlobCount, 2);
    EXPECT_EQ(store.pBlob[0].nPairCount, 1);
    EXPECT_EQ(store.pBlob[1].nPairCount, 4);
    EXPECT_EQ(store.pBlob[1].rtDefect, CRect(100, 10, 401, 11));
    EXPECT_EQ(store.nMergedBlob, 3);
    EXPECT_EQ(store.pBlob[1].nDefectType, DefectType_Bright) << "never the mixed type";
}

TEST(MergeMix, ADistanceBelowTheOwnExtentMergesNothing)
{
    CSampleStore store;
    Add(store, MakeBlob(CRect(10, 10, 12, 12)));
    Add(store, MakeBlob(CRect(10, 10, 12, 12)));
    store.MergeMix(0, -3);
    EXPECT_EQ(store.nBlobCount, 2);
}

TEST(MergeMix, ARectangleReversedBeyondTheDistanceMergesNothing)
{
    for (const CRect& rt : {CRect(10, 20, 12, 12), CRect(20, 10, 12, 12)})
    {
        for (const int nDist : {5, 9})
        {
            CSampleStore store;
            Add(store, MakeBlob(CRect(10, 10, 12, 12)));
            Add(store, MakeBlob(rt));
            store.MergeMix(0, nDist);
            EXPECT_EQ(store.nBlobCount, nDist == 9 ? 1 : 2) << rt.left << " " << rt.top;
        }
    }
}

// One blob of the given band at (100, 100) and a neighbour whose rectangle is given; pitch 20.5. The same in a long
// list.
int CountAfterShadow(int nPos, const CRect& rtNeighbour, bool bVertical)
{
    int nLeft[2] = {};
    for (const bool bLong : {false, true})
    {
        CSampleStore store(64, 128);
        Add(store, MakeBlob(CRect(100, 100, 101, 101), DefectType_Dark, nPos));
        Add(store, MakeBlob(rtNeighbour));
        if (bLong)
            AddFarBlobs(store);
        const int nFar = store.nBlobCount - 2;
        bVertical ? store.ShadowFilterVert(0, 20.5) : store.ShadowFilter(0, 20.5);
        nLeft[bLong ? 1 : 0] = store.nBlobCount - nFar;
    }
    EXPECT_EQ(nLeft[1], nLeft[0]) << "in a long list";
    return nLeft[0];
}

TEST(ShadowFilter, AMiddleBlobSurvivesRegardlessOfWhatLiesAPitchAway)
{
    EXPECT_EQ(CountAfterShadow(DefectPos_Middle, CRect(120, 100, 121, 101), false), 2);
    EXPECT_EQ(CountAfterShadow(DefectPos_Middle, CRect(100, 120, 101, 121), true), 2);
}

TEST(ShadowFilter, TheNeighboursRectangleIsWidenedByThreePixels)
{
    // The ghost of the first band lies at (120, 100).
    EXPECT_EQ(CountAfterShadow(DefectPos_First, CRect(123, 100, 124, 101), false), 1);
    EXPECT_EQ(CountAfterShadow(DefectPos_First, CRect(124, 100, 125, 101), false), 2);
    EXPECT_EQ(CountAfterShadow(DefectPos_First, CRect(117, 100, 118, 101), false), 1) << "right + 2 is inside";
    EXPECT_EQ(CountAfterShadow(DefectPos_First, CRect(116, 100, 117, 101), false), 2) << "right + 3 is outside";
    EXPECT_EQ(CountAfterShadow(DefectPos_First, CRect(120, 103, 121, 104), false), 1);
    EXPECT_EQ(CountAfterShadow(DefectPos_First, CRect(120, 104, 121, 105), false), 2);
    EXPECT_EQ(CountAfterShadow(DefectPos_First, CRect(120, 97, 121, 98), false), 1);
    EXPECT_EQ(CountAfterShadow(DefectPos_First, CRect(120, 96, 121, 97), false), 2);
}

TEST(ShadowFilter, TheLastBandLooksBackAndSumsAreTruncated)
{
    // 100 - 20.5 = 79.5: 79.
    EXPECT_EQ(CountAfterShadow(DefectPos_Last, CRect(82, 100, 83, 101), false), 1);
    EXPECT_EQ(CountAfterShadow(DefectPos_Last, CRect(83, 100, 84, 101), false), 2);
    EXPECT_EQ(CountAfterShadow(DefectPos_Last, CRect(100, 82, 101, 83), true), 1);
    EXPECT_EQ(CountAfterShadow(DefectPos_First, CRect(100, 123, 101, 124), true), 1);
    EXPECT_EQ(CountAfterShadow(DefectPos_First, CRect(120, 100, 121, 101), true), 2);
}

TEST(ShadowFilter, AReversedRectangleHidesNoGhostInAnyListLength)
{
    for (const bool bLong : {false, true})
    {
        CSampleStore store(64, 128);
        Add(store, MakeBlob(CRect(100, 100, 101, 101), DefectType_Dark, DefectPos_First));
        Add(store, MakeBlob(CRect(130, 100, 110, 101)));
        if (bLong)
            AddFarBlobs(store);
        const int nBefore = store.nBlobCount;
        store.ShadowFilter(0, 20.0);
        EXPECT_EQ(store.nBlobCount, nBefore) << "long " << bLong;
    }
}

TEST(ShadowFilter, OfTwoBandBlobsOnePitchApartBothGo)
{
    CSampleStore store;
    Add(store, MakeBlob(CRect(100, 100, 101, 101), DefectType_Dark, DefectPos_First));
    Add(store, MakeBlob(CRect(120, 100, 121, 101), DefectType_Dark, DefectPos_Last));
    store.ShadowFilter(0, 20.0);
    EXPECT_EQ(store.nBlobCount, 0);
}

TEST(ShadowFilter, ABlobIsNotItsOwnNeighbourAndEarlierBlobsAreNone)
{
    CSampleStore store;
    Add(store, MakeBlob(CRect(120, 100, 121, 101)));
    Add(store, MakeBlob(CRect(100, 100, 101, 101), DefectType_Dark, DefectPos_First));
    store.pBlob[1].rtDefect = CRect(100, 100, 140, 101);
    store.pBlob[1].nRScale = 77;
    store.ShadowFilter(1, 20.0);
    EXPECT_EQ(store.nBlobCount, 2);
    EXPECT_EQ(store.pBlob[1].nRScale, 77);
    store.ShadowFilter(0, 20.0);
    EXPECT_EQ(store.nBlobCount, 1);
}

TEST(RealScale, SizesOfZeroGiveZeroAndOnePixelItsRoundedDiagonal)
{
    CSampleStore store;
    const CDefectBlob blob = MakeBlob(CRect(5, 5, 6, 6));
    EXPECT_EQ(store.CalcRScale(blob.ptExtreme), 0);
    store.ConvParam.dPixelSizeX = 10.0;
    store.ConvParam.dPixelSizeY = 20.0;
    EXPECT_EQ(store.CalcRScale(blob.ptExtreme), 22);
}

TEST(RealScale, TheSizeNamedYGoesWithX)
{
    CSampleStore store;
    store.ConvParam.dPixelSizeX = 1.0;
    store.ConvParam.dPixelSizeY = 10.0;
    CPoint points[8];
    points[3] = CPoint(7, 0);
    EXPECT_EQ(store.CalcRScale(points), 70);
    points[3] = CPoint(0, 7);
    EXPECT_EQ(store.CalcRScale(points), 7);
}

TEST(AreaValue, SourceAndReferenceRunOverTransposedBlocks)
{
    CTestImage image(64, 64, 0);
    for (int y = 0; y < 64; ++y)
    {
        for (int x = 0; x < 64; ++x)
            image.Set(x, y, (x * 7 + y * 13) % 200);
    }
    CSampleStore store;
    image.Attach(store.ConvParam);
    double dSum = 0.0;
    double dRefAlongX = 0.0;
    double dRefAlongY = 0.0;
    for (int i = 0; i < 2; ++i)
    {
        for (int j = 0; j < 5; ++j)
        {
            dSum += image.Get(10 + j, 20 + i);
            dRefAlongX += static_cast<int>(image.Get(10 + i + 8, 20 + j) * 0.75 + image.Get(10 + i + 9, 20 + j) * 0.25);
            dRefAlongY += static_cast<int>(image.Get(10 + i, 20 + j + 8) * 0.75 + image.Get(10 + i, 20 + j + 9) * 0.25);
        }
    }
    EXPECT_EQ(store.GetAreaValue(10, 20, 5, 2, 8.25, 255), static_cast<int>((dSum - dRefAlongX) / 10));
    EXPECT_EQ(store.GetAreaValueVert(10, 20, 5, 2, 8.25, 255), static_cast<int>((dSum - dRefAlongY) / 10));
}

TEST(AreaValue, ValuesAreClippedAboveAndTheVerticalFormStopsAtTheEnd)
{
    CTestImage image(64, 64, 200);
    image.Fill(CRect(10, 10, 14, 14), 50);
    CSampleStore store;
    image.Attach(store.ConvParam);
    EXPECT_EQ(store.GetAreaValue(10, 10, 4, 4, 8.0, 255), -150);
    EXPECT_EQ(store.GetAreaValue(10, 10, 4, 4, 8.0, 120), -70);
    EXPECT_EQ(store.GetAreaValueVert(10, 10, 4, 4, 8.0, 255), -150);
    EXPECT_EQ(store.GetAreaValueVert(10, 10, 4, 4, 52.9, 255), -150) << "row 63 is the last";
    EXPECT_EQ(store.GetAreaValueVert(10, 10, 4, 4, 53.0, 255), 0);
    EXPECT_EQ(store.GetAreaValue(10, 10, 0, 4, 8.0, 255), 0) << "an empty block";
}

} // namespace
