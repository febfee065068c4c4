// SPDX-License-Identifier: MIT
// Vertical classification of singles.
#include <gtest/gtest.h>

#include "storage/store_samples.h"

namespace
{

using narvo::test::CSampleStore;
using narvo::test::CTestImage;

// Image of 64 by 200, grey 100; scan pitch 20, threshold 10.
class VerticalClass : public testing::Test
{
protected:
    VerticalClass()
    {
        CConvParam& param = m_store.ConvParam;
        m_image.Attach(param);
        param.dScanPitch = 10.0;
        param.nScanMultiple = 2;
        param.nConvWidth = 1;
        param.nConvHeight = 1;
    }

    CDefectBlob& AddSingle(const CRect& rt, int nPos, int nType = DefectType_Dark)
    {
        CDefectBlob blob = narvo::test::MakeBlob(rt, nType, nPos);
        blob.nDefectPair = DefectPair_Single;
        m_store.AddBlob(&blob);
        return m_store.pBlob[m_store.nBlobCount - 1];
    }

    CTestImage m_image{64, 200};
    CSampleStore m_store;
};

TEST_F(VerticalClass, AFirstBandSingleThatDiffersIsSettledWithAPositiveValueDark)
{
    m_image.Set(10, 15, 110);
    AddSingle(CRect(10, 15, 11, 16), DefectPos_First, DefectType_Bright);
    m_image.Set(30, 15, 90);
    AddSingle(CRect(30, 15, 31, 16), DefectPos_First, DefectType_Dark);
    EXPECT_EQ(m_store.ClassificationDefectVert(0), 1);
    ASSERT_EQ(m_store.nBlobCount, 2);
    EXPECT_EQ(m_store.pBlob[0].nDefectPair, DefectPair_FirstSettled) << "a value equal to the threshold is reached";
    EXPECT_EQ(m_store.pBlob[0].nDefectType, DefectType_Dark);
    EXPECT_EQ(m_store.pBlob[1].nDefectType, DefectType_Bright);
    EXPECT_EQ(m_store.nRemovedByClass, 2);
}

TEST_F(VerticalClass, AFirstBandSingleWithBothDifferencesKeepsItsType)
{
    m_image.Set(10, 35, 50);
    AddSingle(CRect(10, 15, 11, 16), DefectPos_First, DefectType_Bright);
    m_store.ClassificationDefectVert(0);
    ASSERT_EQ(m_store.nBlobCount, 1);
    EXPECT_EQ(m_store.pBlob[0].nDefectPair, DefectPair_FirstSettled);
    EXPECT_EQ(m_store.pBlob[0].nDefectType, DefectType_Bright) << "+50 alone would make it dark";
    EXPECT_EQ(m_store.nRemovedByClass, 0);
}

TEST_F(VerticalClass, AFirstBandSingleOnTheLastRowsIsDropped)
{
    m_image.Set(10, 190, 200);
    AddSingle(CRect(10, 190, 11, 191), DefectPos_First);
    m_store.ClassificationDefectVert(0);
    EXPECT_EQ(m_store.nBlobCount, 0);
}

TEST_F(VerticalClass, AMiddleSingleOfOneRowOrColumnIsDropped)
{
    m_image.Fill(CRect(10, 100, 20, 101), 200);
    AddSingle(CRect(10, 100, 20, 101), DefectPos_Middle);
    m_image.Fill(CRect(30, 100, 31, 110), 200);
    AddSingle(CRect(30, 100, 31, 110), DefectPos_Middle);
    m_store.ClassificationDefectVert(0);
    EXPECT_EQ(m_store.nBlobCount, 0);
}

TEST_F(VerticalClass, AMiddleSingleOfTwoRowsAndColumnsIsSettled)
{
    m_image.Fill(CRect(10, 100, 12, 102), 150);
    AddSingle(CRect(10, 100, 12, 102), DefectPos_Middle);
    m_store.ClassificationDefectVert(0);
    ASSERT_EQ(m_store.nBlobCount, 1);
    EXPECT_EQ(m_store.pBlob[0].nDefectPair, DefectPair_MiddleSettled);
}

TEST_F(VerticalClass, ADefectOnePitchUpMovesTheBlobUp)
{
    m_image.Fill(CRect(10, 80, 14, 84), 150);
    const CRect rt(10, 100, 14, 104);
    CDefectBlob& blob = AddSingle(rt, DefectPos_Middle, DefectType_Dark);
    blob.ptCenter = CPoint(12, 102);
    const CPoint ptPeak = blob.ptPeak;
    m_store.ClassificationDefectVert(0);
    ASSERT_EQ(m_store.nBlobCount, 1);
    EXPECT_EQ(blob.rtDefect, CRect(10, 80, 14, 84));
    EXPECT_EQ(blob.ptCenter, CPoint(12, 82));
    EXPECT_EQ(blob.ptPeak, ptPeak);
    EXPECT_EQ(blob.ptExtreme[0], CPoint(10, 100)) << "the outline stays";
    EXPECT_EQ(blob.nDefectType, DefectType_Bright);
    EXPECT_EQ(blob.nDefectPair, DefectPair_MiddleSettled);
    EXPECT_EQ(m_store.nRemovedByClass, 1);
}

TEST_F(VerticalClass, ADefectOnePitchDownMovesTheBlobDownAndCountsTwo)
{
    m_image.Fill(CRect(10, 120, 14, 124), 150);
    AddSingle(CRect(10, 100, 14, 104), DefectPos_Middle, DefectType_Dark);
    m_store.ClassificationDefectVert(0);
    ASSERT_EQ(m_store.nBlobCount, 1);
    EXPECT_EQ(m_store.pBlob[0].rtDefect, CRect(10, 120, 14, 124));
    EXPECT_EQ(m_store.pBlob[0].nDefectType, DefectType_Bright);
    EXPECT_EQ(m_store.nRemovedByClass, 2);
}

TEST_F(VerticalClass, ADefectInPlaceStaysWithItsType)
{
    m_image.Fill(CRect(10, 100, 14, 104), 150);
    AddSingle(CRect(10, 100, 14, 104), DefectPos_Middle, DefectType_Bright);
    m_store.ClassificationDefectVert(0);
    ASSERT_EQ(m_store.nBlobCount, 1);
    EXPECT_EQ(m_store.pBlob[0].rtDefect, CRect(10, 100, 14, 104));
    EXPECT_EQ(m_store.pBlob[0].nDefectPair, DefectPair_MiddleSettled);
    EXPECT_EQ(m_store.nRemovedByClass, 0);
}

TEST_F(VerticalClass, InTheMiddleBandAValueEqualToTheThresholdIsNotReached)
{
    m_image.Fill(CRect(10, 100, 14, 104), 110);
    AddSingle(CRect(10, 100, 14, 104), DefectPos_Middle);
    m_store.ClassificationDefectVert(0);
    EXPECT_EQ(m_store.nBlobCount, 0);
}

TEST_F(VerticalClass, ABlobWiderThanThePitchIsComparedOverThePitchOnly)
{
    // The difference lies in the columns beyond the pitch.
    m_image.Fill(CRect(30, 100, 40, 120), 250);
    AddSingle(CRect(10, 100, 40, 120), DefectPos_Middle);
    m_store.ClassificationDefectVert(0);
    EXPECT_EQ(m_store.nBlobCount, 0);
    m_image.Fill(CRect(10, 100, 30, 120), 250);
    AddSingle(CRect(10, 100, 40, 120), DefectPos_Middle);
    m_store.ClassificationDefectVert(0);
    EXPECT_EQ(m_store.nBlobCount, 1);
}

TEST_F(VerticalClass, SinglesOfTheLastBandAlwaysGoAndPairedBlobsStay)
{
    m_image.Fill(CRect(10, 100, 14, 104), 150);
    AddSingle(CRect(10, 100, 14, 104), DefectPos_Last);
    AddSingle(CRect(10, 100, 14, 104), DefectPos_Last);
    AddSingle(CRect(10, 100, 14, 104), DefectPos_Last).nDefectPair = DefectPair_Paired;
    m_store.ClassificationDefectVert(1);
    ASSERT_EQ(m_store.nBlobCount, 2) << "earlier blobs are left alone";
    EXPECT_EQ(m_store.pBlob[0].nDefectPair, DefectPair_Single);
    EXPECT_EQ(m_store.pBlob[1].nDefectPair, DefectPair_Paired);
}

TEST_F(VerticalClass, RowsCountModuloTheImageHeight)
{
    m_image.Set(10, 15, 150);
    AddSingle(CRect(10, 215, 11, 216), DefectPos_First);
    m_store.ClassificationDefectVert(0);
    EXPECT_EQ(m_store.nBlobCount, 1);
}

TEST_F(VerticalClass, ANarrowRegionFailsThePairTestWithoutMarking)
{
    m_store.pPair[0] = narvo::test::MakePair(10, 100, DefectType_Dark);
    m_store.ConvParam.rtInspect = CRect(0, 0, 64, 40);
    EXPECT_EQ(m_store.ClassifyVertical(0, 5), 0);
    EXPECT_EQ(m_store.pPair[0].nDefectType, DefectType_Dark);
    m_store.ConvParam.rtInspect = CRect(0, 0, 64, 41);
    m_store.pPair[0].ptDefect.y = 5;
    EXPECT_EQ(m_store.ClassifyVertical(0, 5), 0);
    EXPECT_EQ(m_store.pPair[0].nDefectType, DefectType_Removed);
}

TEST_F(VerticalClass, APairStandsWhenItsDifferenceReachesTheLimitWithItsPolarity)
{
    m_image.Set(10, 100, 95);
    m_store.pPair[0] = narvo::test::MakePair(10, 100, DefectType_Dark);
    EXPECT_EQ(m_store.ClassifyVertical(0, 5), 1);
    m_store.pPair[1] = narvo::test::MakePair(10, 100, DefectType_Bright);
    EXPECT_EQ(m_store.ClassifyVertical(1, 5), 0);
    EXPECT_EQ(m_store.pPair[1].nDefectType, DefectType_Removed);
    m_store.pPair[2] = narvo::test::MakePair(10, 100, DefectType_None);
    EXPECT_EQ(m_store.ClassifyVertical(2, 5), 1);
}

TEST_F(VerticalClass, UpwardBothWeightsAreTheFraction)
{
    // Pitch 20.25; at row 190 the reference lies in rows 169 and 170, each with weight 0.25.
    m_store.ConvParam.dScanPitch = 20.25;
    m_store.ConvParam.nScanMultiple = 1;
    m_image.Set(10, 169, 200);
    m_image.Set(10, 170, 120);
    m_image.Set(10, 190, 70);
    m_store.pPair[0] = narvo::test::MakePair(10, 190, DefectType_Dark);
    EXPECT_EQ(m_store.ClassifyVertical(0, 10), 1) << "320 / 4 - 70";
    EXPECT_EQ(m_store.ClassifyVertical(0, 11), 0);
}

} // namespace
