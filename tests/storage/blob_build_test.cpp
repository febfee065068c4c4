// SPDX-License-Identifier: MIT
// The builders: grouping, zone limits, capacity, closing, what each builder runs.
#include <gtest/gtest.h>

#include "storage/store_samples.h"

namespace
{

using narvo::test::AddPair;
using narvo::test::CSampleStore;
using narvo::test::CTestImage;
using narvo::test::MakePair;

CDefectPair MakeInZone(int x, int y, int nType, int nZone, int nSrc, int nCmp)
{
    CDefectPair pair = MakePair(x, y, nType);
    pair.nZoneIndex = nZone;
    pair.nSrcGray = nSrc;
    pair.nCmpGray = nCmp;
    return pair;
}

TEST(BlobBuild, DiagonalPairsOfConsecutiveRowsShareALabelInTheHorizontalBuild)
{
    CSampleStore store;
    AddPair(store, MakePair(10, 5, DefectType_Bright));
    AddPair(store, MakePair(13, 5, DefectType_Bright));
    AddPair(store, MakePair(11, 6, DefectType_Bright));
    store.BlobDefect_NonFilter();
    ASSERT_EQ(store.nBlobCount, 2);
    EXPECT_EQ(store.pBlob[0].nPairCount, 2);
    EXPECT_EQ(store.pBlob[0].rtDefect, CRect(10, 5, 12, 7));
    EXPECT_EQ(store.pBlob[1].nPairCount, 1);
    EXPECT_EQ(store.pPairLabel[2], 0);
    EXPECT_EQ(store.pPairLinked[2], 1);
}

TEST(BlobBuild, PairsTwoColumnsApartStandAloneInTheHorizontalBuild)
{
    CSampleStore store;
    AddPair(store, MakePair(10, 5));
    AddPair(store, MakePair(12, 5));
    AddPair(store, MakePair(10, 7));
    store.BlobDefect_NonFilter();
    EXPECT_EQ(store.nBlobCount, 3);
}

TEST(BlobBuild, PairsWithinThreePixelsShareALabelInTheVerticalBuild)
{
    CSampleStore store;
    AddPair(store, MakePair(10, 5));
    AddPair(store, MakePair(13, 2));
    AddPair(store, MakePair(13, 9));
    AddPair(store, MakePair(14, 5));
    store.BlobDefectVert_NonFilter();
    ASSERT_EQ(store.nBlobCount, 2);
    EXPECT_EQ(store.pBlob[0].nPairCount, 3);
    EXPECT_EQ(store.pPairLabel[2], 2) << "four rows from the first";
    EXPECT_EQ(store.pPairLabel[3], 0) << "four columns from the first, claimed by the second under its label";
}

TEST(BlobBuild, ADarkAndABrightPairSideBySideMakeTwoBlobs)
{
    CSampleStore store;
    AddPair(store, MakePair(10, 5, DefectType_Dark));
    AddPair(store, MakePair(11, 5, DefectType_Bright));
    store.BlobDefect_NonFilter();
    ASSERT_EQ(store.nBlobCount, 2);
    EXPECT_EQ(store.pBlob[0].nDefectType, DefectType_Dark);
    EXPECT_EQ(store.pBlob[1].nDefectType, DefectType_Bright);
}

TEST(BlobBuild, AClaimedPairDoesNotBringAnotherGroupIn)
{
    // The last pair touches both groups: it goes to its first finder, and the groups stay apart.
    CSampleStore store;
    AddPair(store, MakePair(10, 5));
    AddPair(store, MakePair(14, 5));
    AddPair(store, MakePair(11, 6));
    AddPair(store, MakePair(13, 6));
    AddPair(store, MakePair(12, 7));
    store.BlobDefect_NonFilter();
    ASSERT_EQ(store.nBlobCount, 2);
    EXPECT_EQ(store.pPairLabel[2], 0);
    EXPECT_EQ(store.pPairLabel[3], 1);
    EXPECT_EQ(store.pPairLabel[4], 0);
    EXPECT_EQ(store.pBlob[1].nPairCount, 2);
}

TEST(BlobBuild, TheWalkEndsAtTheFirstUnclaimedPairOfTheTypePastTheLookAhead)
{
    CSampleStore store;
    AddPair(store, MakePair(10, 5));
    AddPair(store, MakePair(60, 5, DefectType_Bright)); // another type does not end the walk
    AddPair(store, MakePair(11, 5));
    AddPair(store, MakePair(28, 5)); // 17 columns on from pair 2: ends its walk too
    AddPair(store, MakePair(12, 5));
    store.BlobDefectVert_NonFilter();
    EXPECT_EQ(store.pPairLabel[2], 0);
    EXPECT_EQ(store.pPairLabel[4], 4) << "neither 0 nor 2 gets past pair 3";
}

// Long lists are searched by an index that leaves lone pairs out.
void AddLonePairs(CSampleStore& store, int nCount, int nFirstRow)
{
    for (int i = 0; i < nCount; ++i)
        AddPair(store, MakePair(20 + 40 * (i % 50), nFirstRow + 40 * (i / 50)));
}

TEST(BlobBuild, ALonePairEndsTheVerticalWalksOfOthers)
{
    for (const int nColumn : {29, 30})
    {
        CSampleStore store(1100, 1100);
        AddPair(store, MakePair(13, 100));
        AddPair(store, MakePair(nColumn, 5)); // the look-ahead of the first pair reaches column 29
        AddPair(store, MakePair(16, 101));
        AddLonePairs(store, 1000, 400);
        store.BlobDefectVert_NonFilter();
        EXPECT_EQ(store.pPairLabel[2], nColumn == 29 ? 0 : 2) << nColumn;
        EXPECT_EQ(store.nBlobCount, nColumn == 29 ? 1002 : 1003) << nColumn;
    }
}

TEST(BlobBuild, ALonePairOfAnotherTypeOrRemovedEndsNoWalk)
{
    for (const int nType : {DefectType_Bright, DefectType_Removed})
    {
        CSampleStore store(1100, 1100);
        AddPair(store, MakePair(13, 100));
        AddPair(store, MakePair(30, 5, nType));
        AddPair(store, MakePair(16, 101));
        AddLonePairs(store, 1000, 400);
        store.BlobDefectVert_NonFilter();
        EXPECT_EQ(store.pPairLabel[2], 0) << nType;
    }
}

TEST(BlobBuild, ALonePairEndsTheHorizontalWalksOfOthers)
{
    for (const int nRow : {101, 102})
    {
        CSampleStore store(1100, 1100);
        AddPair(store, MakePair(10, 100));
        AddPair(store, MakePair(500, nRow));
        AddPair(store, MakePair(11, 101));
        AddLonePairs(store, 1000, 400);
        store.BlobDefect_NonFilter();
        EXPECT_EQ(store.pPairLabel[2], nRow == 101 ? 0 : 2) << nRow;
    }
}

TEST(BlobBuild, OutOfOrderAHorizontalWalkClaimsRowsFarAbove)
{
    CSampleStore store(1100, 1100);
    AddPair(store, MakePair(10, 300));
    AddPair(store, MakePair(11, 7));
    AddLonePairs(store, 1000, 400);
    store.BlobDefect_NonFilter();
    EXPECT_EQ(store.pPairLabel[1], 0);
    EXPECT_EQ(store.nBlobCount, 1001);
}

TEST(BlobBuild, PairsAtTheReachOfTheVerticalWindowAreFoundAcrossAllCells)
{
    // A pair at every place of a cell of 8 by 8, each with one at the window's corner, far from all others.
    for (const int nReach : {3, 4})
    {
        CSampleStore store(1100, 1100);
        for (int i = 0; i < 512; ++i)
        {
            const CPoint pt(64 + i / 16 * 57, 64 + i % 16 * 57);
            AddPair(store, MakePair(pt.x, pt.y));
            AddPair(store, MakePair(pt.x + (i % 2 == 0 ? nReach : -nReach), pt.y + (i % 4 < 2 ? nReach : -nReach)));
        }
        store.BlobDefectVert_NonFilter();
        for (int i = 0; i < 512; ++i)
            ASSERT_EQ(store.pPairLinked[2 * i + 1], nReach == 3 ? 1 : 0) << "pair " << i << " at reach " << nReach;
    }
}

TEST(BlobBuild, PairsOfZoneZeroAreNeverDropped)
{
    CSampleStore store;
    for (int nZone = 0; nZone < 16; ++nZone)
    {
        store.ConvParam.nDarkGrayLimit[nZone] = 1;
        store.ConvParam.nBrightMinDiff[nZone] = 1000;
    }
    AddPair(store, MakeInZone(10, 5, DefectType_Dark, 0, 250, 0));
    AddPair(store, MakeInZone(30, 5, DefectType_Bright, 0, 10, 250));
    AddPair(store, MakeInZone(50, 5, DefectType_Dark, 1, 250, 0));
    AddPair(store, MakeInZone(70, 5, DefectType_Bright, 1, 250, 0));
    store.BlobDefect_NonFilter();
    EXPECT_EQ(store.nBlobCount, 2);
    EXPECT_EQ(store.nRemovedPair, 2);
    EXPECT_EQ(store.pPair[2].nDefectType, DefectType_Removed);
}

TEST(BlobBuild, ZoneLimitsAreMetFromTheTextsSide)
{
    CSampleStore store;
    store.ConvParam.nDarkGrayLimit[2] = 50;
    store.ConvParam.nBrightMinDiff[2] = 30;
    AddPair(store, MakeInZone(10, 5, DefectType_Dark, 2, 49, 0));
    AddPair(store, MakeInZone(20, 5, DefectType_Dark, 2, 50, 0));
    AddPair(store, MakeInZone(30, 5, DefectType_Bright, 2, 130, 100));
    AddPair(store, MakeInZone(40, 5, DefectType_Bright, 2, 129, 100));
    AddPair(store, MakeInZone(50, 5, 2, 2, 255, 255));
    store.BlobDefect_NonFilter();
    EXPECT_EQ(store.nBlobCount, 3);
    EXPECT_EQ(store.pPair[1].nDefectType, DefectType_Removed);
    EXPECT_EQ(store.pPair[3].nDefectType, DefectType_Removed);
}

TEST(BlobBuild, AllPairsOfALabelDroppedLeaveNoBlobAndLaterOnesOpenIt)
{
    CSampleStore store;
    store.ConvParam.nDarkGrayLimit[2] = 50;
    AddPair(store, MakeInZone(10, 5, DefectType_Dark, 2, 60, 0));
    AddPair(store, MakeInZone(11, 5, DefectType_Dark, 2, 70, 0));
    store.BlobDefect_NonFilter();
    EXPECT_EQ(store.nBlobCount, 0);
    EXPECT_EQ(store.nRemovedPair, 2);
    store.pPair[0].nDefectType = DefectType_Dark;
    store.pPair[1].nDefectType = DefectType_Dark;
    store.pPair[1].nSrcGray = 10;
    store.BlobDefect_NonFilter();
    ASSERT_EQ(store.nBlobCount, 1);
    EXPECT_EQ(store.pBlob[0].nBlobId, 0);
    EXPECT_EQ(store.nRemovedPair, 1) << "counted again at each build";
}

TEST(BlobBuild, ABlobKeepsThePairsThatJoinedWhenALaterOneIsDropped)
{
    CSampleStore store;
    store.ConvParam.nDarkGrayLimit[2] = 50;
    AddPair(store, MakeInZone(10, 5, DefectType_Dark, 2, 10, 0));
    AddPair(store, MakeInZone(11, 5, DefectType_Dark, 2, 60, 0));
    AddPair(store, MakeInZone(11, 6, DefectType_Dark, 2, 20, 0));
    store.BlobDefect_NonFilter();
    ASSERT_EQ(store.nBlobCount, 1);
    EXPECT_EQ(store.pBlob[0].nPairCount, 2);
    EXPECT_EQ(store.nRemovedPair, 1);
    EXPECT_EQ(store.pPair[1].nDefectType, DefectType_Removed);
}

TEST(BlobBuild, AnOlderBlobOfTheSameIdTakesADroppedPair)
{
    CSampleStore store;
    AddPair(store, MakePair(10, 5));
    store.BlobDefect_NonFilter();
    store.ResetPairStorage();
    store.ConvParam.nDarkGrayLimit[2] = 50;
    AddPair(store, MakeInZone(30, 5, DefectType_Dark, 2, 10, 0));
    AddPair(store, MakeInZone(31, 5, DefectType_Dark, 2, 60, 0));
    store.BlobDefect_NonFilter();
    ASSERT_EQ(store.nBlobCount, 2);
    EXPECT_EQ(store.pBlob[0].nBlobId, 0);
    EXPECT_EQ(store.pBlob[0].nPairCount, 2);
    EXPECT_EQ(store.pBlob[0].rtDefect, CRect(10, 5, 32, 6));
    EXPECT_EQ(store.pBlob[1].nPairCount, 1);
    EXPECT_EQ(store.nRemovedPair, 1);
}

TEST(BlobBuild, NewLabelsVanishUncountedWhenTheStoreIsFullAndOpenOnesStillFill)
{
    CSampleStore store(64, 1);
    AddPair(store, MakePair(10, 5));
    AddPair(store, MakePair(30, 5));
    AddPair(store, MakePair(11, 6));
    store.BlobDefect_NonFilter();
    ASSERT_EQ(store.nBlobCount, 1);
    EXPECT_EQ(store.pBlob[0].nPairCount, 2);
    EXPECT_EQ(store.nRemovedPair, 0);
    EXPECT_EQ(store.pPair[1].nDefectType, DefectType_Dark);
}

TEST(BlobBuild, ClosingDividesTheSumsAndTakesTheMark)
{
    CSampleStore store;
    store.ConvParam.nMultiType = 7;
    store.ConvParam.dPixelSizeX = 1.0;
    store.ConvParam.dPixelSizeY = 1.0;
    CDefectPair pair = MakeInZone(10, 5, DefectType_Dark, 0, 11, 20);
    pair.nPeak = 5;
    pair.nThreshold = 3;
    AddPair(store, pair);
    pair.ptDefect = CPoint(11, 6);
    pair.nSrcGray = 14;
    AddPair(store, pair);
    store.BlobDefect_NonFilter();
    ASSERT_EQ(store.nBlobCount, 1);
    const CDefectBlob& blob = store.pBlob[0];
    EXPECT_EQ(blob.ptCenter, CPoint(10, 5));
    EXPECT_EQ(blob.nAvgSrcGray, 12);
    EXPECT_EQ(blob.nAvgCmpGray, 20);
    EXPECT_EQ(blob.nAvgDiff, 8);
    EXPECT_EQ(blob.nAvgThreshold, 3);
    EXPECT_EQ(blob.nMultiType, 7);
    EXPECT_EQ(blob.nRScale, 3);
    EXPECT_GT(blob.dMajorAxis, 0.0);
}

TEST(BlobBuild, RemovedPairsAreCountedAndTakeNoPart)
{
    CSampleStore store;
    AddPair(store, MakePair(10, 5));
    AddPair(store, MakePair(11, 5, DefectType_Removed));
    AddPair(store, MakePair(12, 5));
    store.BlobDefect_NonFilter();
    EXPECT_EQ(store.nBlobCount, 2);
    EXPECT_EQ(store.nRemovedPair, 1);
}

TEST(BlobBuild, HorizontalBuildsClearTheLabelsOfTheWholeCapacityAndVerticalOnesOfThePairs)
{
    CSampleStore store(8, 8);
    AddPair(store, MakePair(10, 5));
    for (int i = 0; i < 8; ++i)
        store.pPairLinked[i] = store.pLabelOpened[i] = 9;
    store.BlobDefectVert_NonFilter();
    EXPECT_EQ(store.pPairLinked[0], 0);
    EXPECT_EQ(store.pPairLinked[7], 9);
    EXPECT_EQ(store.pLabelOpened[7], 9);
    store.BlobDefect_NonFilter();
    EXPECT_EQ(store.pPairLinked[7], 0);
    EXPECT_EQ(store.pLabelOpened[7], 0);
}

// A flat image: every filter test fails, so that a pair that is tested is gone.
class FilteredBuild : public testing::Test
{
protected:
    FilteredBuild()
    {
        m_image.Attach(m_store.ConvParam);
        m_store.ConvParam.nInspectMode = 1;
        m_store.ConvParam.dConvPitch = 10.0;
        m_store.ConvParam.nConvMultiple = 1;
        m_store.ConvParam.dScanPitch = 12.0;
        m_store.ConvParam.nScanMultiple = 1;
        m_store.ConvParam.nConvWidth = 1;
        m_store.ConvParam.nConvHeight = 1;
        CDefectPair pair = MakePair(30, 30);
        pair.nSrcGray = 50;
        pair.nCmpGray = 90;
        pair.nThreshold = 15;
        AddPair(m_store, pair);
        pair.ptDefect = CPoint(50, 50);
        pair.nDefectPair = DefectPair_Single;
        AddPair(m_store, pair);
    }

    CTestImage m_image{100, 100};
    CSampleStore m_store;
};

TEST_F(FilteredBuild, HorizontalAndVerticalBuildsCorrectAndFilter)
{
    for (const bool bVertical : {false, true})
    {
        m_store.ResetBlobStorage();
        m_store.pPair[0].nSrcGray = 50;
        m_store.pPair[1].nDefectType = DefectType_Dark;
        bVertical ? m_store.BlobDefectVert() : m_store.BlobDefect();
        ASSERT_EQ(m_store.nBlobCount, 1);
        EXPECT_EQ(m_store.pBlob[0].nMaxPeak, 25);
        EXPECT_EQ(m_store.pBlob[0].nAvgSrcGray, 100) << "the image's pixel";
        EXPECT_EQ(m_store.nRemovedPair, 1);
    }
}

TEST_F(FilteredBuild, UnfilteredBuildsTakeThePairsAsTheyAre)
{
    m_store.BlobDefectVert_NonFilter();
    m_store.BlobDefect_NonFilter();
    ASSERT_EQ(m_store.nBlobCount, 4);
    EXPECT_EQ(m_store.pBlob[0].nAvgSrcGray, 50);
}

TEST_F(FilteredBuild, WithTheZoneFlagTheVerticalBuildCorrectsButDoesNotFilter)
{
    m_store.ConvParam.bZoneFlagged = 1;
    m_store.BlobDefectVert();
    ASSERT_EQ(m_store.nBlobCount, 2);
    EXPECT_EQ(m_store.pBlob[1].nMaxPeak, 25);
}

TEST_F(FilteredBuild, OnlyTheVerticalBuildOfTheStoresOwnPairsVerifies)
{
    CString strings[16];
    strings[1] = "1;101";
    m_store.ConvParam.pVeriPitchString = strings;
    m_store.ConvParam.dVeriPitchConv[1] = 5.0;
    m_store.pPair[0].nZoneIndex = 1;
    m_store.BlobDefect();
    EXPECT_EQ(m_store.nBlobCount, 1);
    m_store.BlobDefectVert_NonFilter();
    EXPECT_EQ(m_store.nBlobCount, 2);
    EXPECT_EQ(m_store.BlobDefectVert(&m_store), 1);
    EXPECT_EQ(m_store.nBlobCount, 3);
    EXPECT_EQ(m_store.nRemovedConv, 0);
    m_store.BlobDefectVert();
    EXPECT_EQ(m_store.nBlobCount, 3) << "the pair equals the image a short pitch on: pattern";
    EXPECT_EQ(m_store.nRemovedConv, 1);
    EXPECT_EQ(m_store.nRemovedPair, 1) << "the filtered one; a verified pair is not counted here";
}

TEST_F(FilteredBuild, VerificationAlsoRunsOnPairsThatWouldJoin)
{
    CString strings[16];
    strings[1] = "1;101";
    m_store.ConvParam.pVeriPitchString = strings;
    m_store.ConvParam.dVeriPitchConv[1] = 5.0;
    CDefectPair pair = m_store.pPair[0];
    pair.ptDefect = CPoint(31, 30);
    pair.nZoneIndex = 1;
    AddPair(m_store, pair);
    m_store.BlobDefectVert();
    ASSERT_EQ(m_store.nBlobCount, 1);
    EXPECT_EQ(m_store.pBlob[0].nPairCount, 1);
    EXPECT_EQ(m_store.nRemovedConv, 1);
    EXPECT_EQ(m_store.nRemovedPair, 1);
}

TEST_F(FilteredBuild, VerticalBuildsOfTheStoresOwnPairsAreTimed)
{
    m_store.dBlobTime = -1.0;
    m_store.BlobDefectVert(nullptr);
    EXPECT_EQ(m_store.dBlobTime, -1.0);
    m_store.BlobDefect();
    EXPECT_EQ(m_store.dBlobTime, -1.0);
    m_store.BlobDefectVert();
    EXPECT_GE(m_store.dBlobTime, 0.0);
    m_store.dBlobTime = -1.0;
    m_store.BlobDefectVert_NonFilter();
    EXPECT_GE(m_store.dBlobTime, 0.0);
}

TEST_F(FilteredBuild, PairsOfAnotherStoreAreFilteredThereAndBuiltHere)
{
    CSampleStore target;
    AddPair(target, MakePair(5, 5));
    EXPECT_EQ(target.BlobDefectVert(&m_store), 1);
    ASSERT_EQ(target.nBlobCount, 1);
    EXPECT_EQ(target.pBlob[0].nAvgSrcGray, 100);
    EXPECT_EQ(target.nRemovedPair, 1);
    EXPECT_EQ(m_store.pPair[1].nDefectType, DefectType_Removed);
    EXPECT_EQ(m_store.nBlobCount, 0);
}

TEST_F(FilteredBuild, ANullListMeansTheStoresOwnPairs)
{
    EXPECT_EQ(m_store.BlobDefectVert(nullptr), 1);
    EXPECT_EQ(m_store.nBlobCount, 1);
    EXPECT_EQ(m_store.nRemovedPair, 1);
}

TEST_F(FilteredBuild, LabelArraysGrowForALongerListAndThePairsHeldStay)
{
    CSampleStore source(200, 4);
    m_image.Attach(source.ConvParam);
    for (int i = 0; i < 200; ++i)
        AddPair(source, MakePair(i % 100, 10 * (i / 100)));
    CSampleStore target(3, 64);
    AddPair(target, MakePair(5, 6));
    EXPECT_EQ(target.BlobDefectVert(&source), 1);
    EXPECT_GT(target.nBlobCount, 1);
    EXPECT_EQ(target.nPairSize, 3);
    EXPECT_EQ(target.nPairCount, 1);
    EXPECT_EQ(target.pPair[0].ptDefect, CPoint(5, 6));
    const int* pLabels = target.pPairLabel;
    target.BlobDefectVert(&source);
    EXPECT_EQ(target.pPairLabel, pLabels) << "grown once";

    CBlobStorage bare;
    bare.InitBlobStorage(64);
    bare.BlobDefectVert(&source);
    EXPECT_EQ(bare.nBlobCount, target.nBlobCount / 2);
}

} // namespace
