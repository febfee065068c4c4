// SPDX-License-Identifier: MIT
// The blob record: statistics, outline, merge, shape.
#include <cmath>
#include <numbers>

#include <gtest/gtest.h>

#include "storage/store_samples.h"

namespace
{

using narvo::test::MakePair;

CDefectPair MakeMeasured(int x, int y, int nSrc, int nCmp, int nPeak, int nThreshold)
{
    CDefectPair pair = MakePair(x, y);
    pair.nSrcGray = nSrc;
    pair.nCmpGray = nCmp;
    pair.nPeak = nPeak;
    pair.nThreshold = nThreshold;
    return pair;
}

TEST(DefectBlob, ABlobOfOnePairHasItsFourCornersAndAPositiveMinorAxis)
{
    const CDefectPair pair = MakePair(7, 9);
    CDefectBlob blob;
    blob.CreateBlob(&pair, 3);
    blob.CalcExtraFeature();
    EXPECT_EQ(blob.rtDefect, CRect(7, 9, 8, 10));
    EXPECT_EQ(blob.ptExtreme[0], CPoint(7, 9));
    EXPECT_EQ(blob.ptExtreme[1], CPoint(7, 10));
    EXPECT_EQ(blob.ptExtreme[2], CPoint(7, 9));
    EXPECT_EQ(blob.ptExtreme[3], CPoint(8, 9));
    EXPECT_EQ(blob.ptExtreme[4], CPoint(8, 9));
    EXPECT_EQ(blob.ptExtreme[5], CPoint(8, 10));
    EXPECT_EQ(blob.ptExtreme[6], CPoint(7, 10));
    EXPECT_EQ(blob.ptExtreme[7], CPoint(8, 10));
    EXPECT_EQ(blob.nBlobId, 3);
    EXPECT_EQ(blob.nPairCount, 1);
    // Variance 1/4 + 1/12 on both axes.
    EXPECT_NEAR(blob.dMajorAxis, std::sqrt(2.0) * std::sqrt(2.0 / 3.0), 1e-12);
    EXPECT_NEAR(blob.dMinorAxis, blob.dMajorAxis, 1e-12);
    EXPECT_NEAR(blob.dElongation, 1.0 / blob.dMajorAxis, 1e-12);
    EXPECT_NEAR(blob.dCircularity, 4.0 / (std::numbers::pi * 4.0 / 3.0), 1e-12);
    EXPECT_EQ(blob.dAngle, 0.0);
}

TEST(DefectBlob, ARowOfPairsHasItsAxisAlongX)
{
    CDefectBlob blob;
    for (int x = 10; x < 20; ++x)
    {
        const CDefectPair pair = MakePair(x, 5);
        if (x == 10)
            blob.CreateBlob(&pair, 0);
        else
            blob.IncludePair(&pair);
    }
    blob.CalcExtraFeature();
    EXPECT_EQ(blob.rtDefect, CRect(10, 5, 20, 6));
    EXPECT_GT(blob.dMajorAxis, blob.dMinorAxis);
    EXPECT_GT(blob.dMinorAxis, 0.0);
    EXPECT_EQ(blob.dAngle, 0.0);
    EXPECT_LE(blob.dCircularity, 1.0);
}

TEST(DefectBlob, ADiagonalGoingUpHasAPositiveAngle)
{
    CDefectBlob blob;
    for (int i = 0; i < 10; ++i)
    {
        const CDefectPair pair = MakePair(10 + i, 50 - i);
        if (i == 0)
            blob.CreateBlob(&pair, 0);
        else
            blob.IncludePair(&pair);
    }
    blob.CalcExtraFeature();
    EXPECT_NEAR(blob.dAngle, 45.0, 1e-9);
}

TEST(DefectBlob, ExtremePointsAreRefinedByPixelsOnTheCurrentEdge)
{
    CDefectBlob blob;
    CDefectPair pair = MakePair(10, 10);
    blob.CreateBlob(&pair, 0);
    for (const CPoint& pt : {CPoint(12, 10), CPoint(8, 10), CPoint(8, 12), CPoint(14, 12), CPoint(14, 9)})
    {
        pair.ptDefect = pt;
        blob.IncludePair(&pair);
    }
    EXPECT_EQ(blob.rtDefect, CRect(8, 9, 15, 13));
    EXPECT_EQ(blob.ptExtreme[0], CPoint(8, 10));
    EXPECT_EQ(blob.ptExtreme[1], CPoint(8, 13));
    EXPECT_EQ(blob.ptExtreme[2], CPoint(14, 9));
    EXPECT_EQ(blob.ptExtreme[3], CPoint(15, 9));
    EXPECT_EQ(blob.ptExtreme[4], CPoint(15, 9));
    EXPECT_EQ(blob.ptExtreme[5], CPoint(15, 13));
    EXPECT_EQ(blob.ptExtreme[6], CPoint(8, 13));
    EXPECT_EQ(blob.ptExtreme[7], CPoint(15, 13));
}

TEST(DefectBlob, GreatestDifferenceGoesWithTheHighestPeak)
{
    CDefectBlob blob;
    CDefectPair pair = MakeMeasured(10, 5, 0, 0, 50, 10);
    blob.CreateBlob(&pair, 0);
    pair = MakeMeasured(11, 5, 0, 0, 40, 100);
    blob.IncludePair(&pair);
    EXPECT_EQ(blob.nMaxPeak, 50);
    EXPECT_EQ(blob.nMaxDiff, 60) << "140 belongs to a lower peak";
    EXPECT_EQ(blob.ptPeak, CPoint(10, 5));
    EXPECT_EQ(blob.nMinDiff, 140) << "40 lies below the stored 60, and 140 is what is stored";
    pair = MakeMeasured(12, 5, 0, 0, 51, 1);
    blob.IncludePair(&pair);
    EXPECT_EQ(blob.nMaxPeak, 51);
    EXPECT_EQ(blob.nMaxDiff, 52);
    EXPECT_EQ(blob.ptPeak, CPoint(12, 5));
    EXPECT_EQ(blob.nSumDiff, 60 + 140 + 52);
    EXPECT_EQ(blob.nMaxThreshold, 100);
    EXPECT_EQ(blob.nSumThreshold, 111);
}

TEST(DefectBlob, FirstPeakOfAZoneIsCutToEightBitsInMinimumAndMaximum)
{
    CDefectPair pair = MakeMeasured(1, 1, 0, 0, 300, 0);
    pair.nZoneIndex = 5;
    pair.nSubZone = 6;
    CDefectBlob blob;
    blob.CreateBlob(&pair, 0);
    EXPECT_EQ(blob.nZoneMinPeak[5], 44);
    EXPECT_EQ(blob.nZoneMaxPeak[5], 44);
    EXPECT_EQ(blob.nZoneSumPeak[5], 300);
    EXPECT_EQ(blob.nZoneCount[5], 1);
    EXPECT_EQ(blob.nSubZoneCount[6], 1);
    EXPECT_EQ(blob.nZoneMinPeak[4], 256);
    pair.nZoneIndex = 4;
    blob.IncludePair(&pair);
    EXPECT_EQ(blob.nZoneMinPeak[4], 256) << "the smaller of the empty mark and 300";
    EXPECT_EQ(blob.nZoneMaxPeak[4], 44);
}

TEST(DefectBlob, GreyExtremesFollowThePairsAndTheTypeIsThatOfTheFirst)
{
    CDefectPair pair = MakeMeasured(1, 1, 100, 60, 0, 0);
    CDefectBlob blob;
    blob.CreateBlob(&pair, 0);
    pair = MakeMeasured(2, 1, 120, 50, 0, 0);
    pair.nDefectType = DefectType_Bright;
    blob.IncludePair(&pair);
    pair = MakeMeasured(3, 1, 90, 70, 0, 0);
    blob.IncludePair(&pair);
    EXPECT_EQ(blob.nMaxSrcGray, 120);
    EXPECT_EQ(blob.nMinSrcGray, 90);
    EXPECT_EQ(blob.ptMaxGray, CPoint(2, 1));
    EXPECT_EQ(blob.nMaxCmpGray, 70);
    EXPECT_EQ(blob.nMinCmpGray, 50);
    EXPECT_EQ(blob.nSumSrcGray, 310);
    EXPECT_EQ(blob.nSumCmpGray, 180);
    EXPECT_EQ(blob.nDefectType, DefectType_Dark);
    EXPECT_EQ(blob.ptCenter, CPoint(6, 3)) << "a sum until the blob is closed";
}

TEST(DefectBlob, OneMiddlePairHoldsABlobInTheMiddle)
{
    CDefectBlob blob;
    blob.nDefectPos = DefectPos_First;
    blob.SetDefectPos(DefectPos_Last);
    EXPECT_EQ(blob.nDefectPos, DefectPos_Last);
    blob.SetDefectPos(DefectPos_Middle);
    blob.SetDefectPos(DefectPos_First);
    EXPECT_EQ(blob.nDefectPos, DefectPos_Middle);
}

TEST(DefectBlob, OneRealPairMakesABlobPairedAndAMergeTakesTheGreater)
{
    CDefectBlob blob;
    blob.nDefectPair = DefectPair_Single;
    blob.SetDefectPair(DefectPair_Paired);
    blob.SetDefectPair(DefectPair_Single);
    EXPECT_EQ(blob.nDefectPair, DefectPair_Paired);
    CDefectBlob other = narvo::test::MakeBlob(CRect(0, 0, 1, 1));
    other.nDefectPair = DefectPair_Single;
    blob.MergeBlob(other);
    EXPECT_EQ(blob.nDefectPair, DefectPair_Single);
}

TEST(DefectBlob, AssignmentKeepsTheSumOfThresholdsOfItsTarget)
{
    CDefectPair pair = MakeMeasured(1, 1, 2, 3, 4, 5);
    CDefectBlob a;
    CDefectBlob b;
    b.CreateBlob(&pair, 8);
    b.dAngle = 12.5;
    a.nSumThreshold = 77;
    a = b;
    EXPECT_EQ(a.nSumThreshold, 77);
    EXPECT_EQ(a.nBlobId, 8);
    EXPECT_EQ(a.dAngle, 12.5);
    EXPECT_EQ(a.ptExtreme[7], CPoint(2, 2));
    const CDefectBlob& self = a;
    a = self;
    EXPECT_EQ(a.nSumThreshold, 77);
    EXPECT_EQ(a.nBlobId, 8);
    const CDefectBlob copy(b);
    EXPECT_EQ(copy.nSumThreshold, 5);
}

TEST(DefectBlob, MergeWeighsTheCentresAndTakesTheOthersExtremePointsOnTies)
{
    CDefectBlob a = narvo::test::MakeBlob(CRect(10, 10, 11, 11));
    a.nPairCount = 3;
    a.ptCenter = CPoint(10, 10);
    a.nSumThreshold = a.nSumSrcGray = 30;
    a.nRScale = 4;
    CDefectBlob b = narvo::test::MakeBlob(CRect(10, 20, 11, 21), DefectType_Bright, DefectPos_First);
    b.ptCenter = CPoint(10, 21);
    b.nSumThreshold = 13;
    b.nMaxPeak = 9;
    b.nRScale = 5;
    a.MergeBlob(b);
    EXPECT_EQ(a.nPairCount, 4);
    EXPECT_EQ(a.ptCenter, CPoint(10, 12));
    EXPECT_EQ(a.rtDefect, CRect(10, 10, 11, 21));
    EXPECT_EQ(a.ptExtreme[0], CPoint(10, 20)) << "same x: the other's";
    EXPECT_EQ(a.ptExtreme[2], CPoint(10, 10));
    EXPECT_EQ(a.ptExtreme[4], CPoint(11, 20));
    EXPECT_EQ(a.ptExtreme[6], CPoint(10, 21));
    EXPECT_EQ(a.nRScale, 9);
    EXPECT_EQ(a.nSumThreshold, 43);
    EXPECT_EQ(a.nAvgThreshold, 10);
    EXPECT_EQ(a.nAvgSrcGray, 7);
    EXPECT_EQ(a.nMaxPeak, 9);
    EXPECT_EQ(a.ptPeak, b.ptPeak);
    EXPECT_EQ(a.nDefectPos, DefectPos_First);
    EXPECT_EQ(a.nDefectType, DefectType_Dark);
}

TEST(DefectBlob, ResetGivesTheSentinelsOfAnEmptyRecord)
{
    CDefectBlob blob = narvo::test::MakeBlob(CRect(10, 10, 11, 11));
    blob.bRemoved = 1;
    blob.nMultiType = 4;
    blob.Reset();
    EXPECT_EQ(blob.nDefectType, DefectType_None);
    EXPECT_EQ(blob.nClass, -1);
    EXPECT_EQ(blob.nMultiType, -1);
    EXPECT_EQ(blob.ptPeak, CPoint(-1, -1));
    EXPECT_EQ(blob.nMinSrcGray, 2048);
    EXPECT_EQ(blob.nMinCmpGray, 2048);
    EXPECT_EQ(blob.nMinDiff, 2048);
    EXPECT_EQ(blob.rtDefect, CRect(0x7fffffff, 0x7fffffff, 0, 0));
    EXPECT_EQ(blob.bRemoved, 0);
    EXPECT_EQ(blob.ptExtreme[0], CPoint(32760, 32760));
    EXPECT_EQ(blob.ptExtreme[1], CPoint(32760, 0));
    EXPECT_EQ(blob.ptExtreme[3], CPoint(0, 32760));
    EXPECT_EQ(blob.ptExtreme[7], CPoint(0, 0));
    EXPECT_EQ(blob.nZoneMinPeak[15], 256);
}

TEST(DefectBlob, ShortsTakeTheLowSixteenBitsAndComparisonsTheFullValue)
{
    CDefectPair pair = MakeMeasured(1, 1, 70000, 70000, 70000, 70000);
    CDefectBlob blob;
    blob.CreateBlob(&pair, 0);
    EXPECT_EQ(blob.nMaxSrcGray, 70000 - 65536);
    EXPECT_EQ(blob.nSumSrcGray, 70000);
    EXPECT_EQ(blob.nSumDiff, 70000 + 4464) << "the first difference is formed with the cut threshold";
    blob.IncludePair(&pair);
    EXPECT_EQ(blob.nMaxSrcGray, 4464);
    EXPECT_EQ(blob.nMinSrcGray, 4464);
    pair.nSrcGray = 2147483647;
    blob.IncludePair(&pair);
    EXPECT_EQ(blob.nMaxSrcGray, -1);
}

TEST(DefectBlob, ZonesOutsideTheTablesAreCountedNowhere)
{
    CDefectPair pair = MakePair(1, 1);
    pair.nZoneIndex = 16;
    pair.nSubZone = -1;
    CDefectBlob blob;
    blob.CreateBlob(&pair, 0);
    blob.IncludePair(&pair);
    EXPECT_EQ(blob.nPairCount, 2);
    for (int i = 0; i < 16; ++i)
    {
        EXPECT_EQ(blob.nZoneCount[i], 0);
        EXPECT_EQ(blob.nSubZoneCount[i], 0);
    }
}

} // namespace
