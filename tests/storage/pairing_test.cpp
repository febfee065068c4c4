// SPDX-License-Identifier: MIT
// The plain pairing walks.
#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "storage/store_samples.h"

namespace
{

using narvo::test::AddHit;

class Pairing : public testing::Test
{
protected:
    Pairing()
    {
        m_store.InitPixelStorage(64);
        m_store.InitPairStorage(64);
        m_store.ConvParam.rtInspect = CRect(0, 0, 100, 100);
    }

    CPairStorage m_store;
};

TEST_F(Pairing, PitchIsRoundedAndThePartnerSoughtExactly)
{
    AddHit(m_store, 20, 5, 1);
    AddHit(m_store, 28, 5, 0);
    AddHit(m_store, 40, 5, 1);
    AddHit(m_store, 47, 5, 0);
    EXPECT_EQ(m_store.PairingPlus_Pixel(7.6), 1);
    ASSERT_EQ(m_store.nPairCount, 1);
    const CDefectPair& pair = m_store.pPair[0];
    EXPECT_EQ(pair.ptDefect, CPoint(28, 5));
    EXPECT_EQ(pair.nDefectPos, DefectPos_Middle);
    EXPECT_EQ(pair.nDefectPair, DefectPair_Paired);
    EXPECT_EQ(pair.nDefectType, 0);
    EXPECT_EQ(pair.nPeak, 101);
    EXPECT_EQ(pair.nSrcGray, 201);
    EXPECT_EQ(pair.nCmpGray, 301);
    EXPECT_EQ(pair.nZoneIndex, 1);
    EXPECT_EQ(pair.nThreshold, 401);
}

TEST_F(Pairing, HitsOfTheSameTypeNeverPairAndTheSecondHasItsOwnTurn)
{
    AddHit(m_store, 20, 5, 1);
    AddHit(m_store, 28, 5, 1);
    AddHit(m_store, 36, 5, 0);
    m_store.PairingPlus_Pixel(8.0);
    ASSERT_EQ(m_store.nPairCount, 1);
    EXPECT_EQ(m_store.pPair[0].ptDefect.x, 36);
}

TEST_F(Pairing, AMiddleHitWhosePartnerLiesInTheNextRowIsDropped)
{
    AddHit(m_store, 20, 5, 1);
    AddHit(m_store, 28, 6, 0);
    m_store.PairingPlus_Pixel(8.0);
    EXPECT_EQ(m_store.nPairCount, 0);
}

TEST_F(Pairing, AConsumedHitIsSkippedOnItsOwnTurn)
{
    AddHit(m_store, 2, 5, 1);
    AddHit(m_store, 10, 5, 0);
    AddHit(m_store, 18, 5, 1);
    m_store.PairingPlus_Pixel(8.0);
    ASSERT_EQ(m_store.nPairCount, 1);
    EXPECT_EQ(m_store.pPixelType[1], 4);
    EXPECT_EQ(m_store.pPair[0].nDefectPos, DefectPos_First);
    EXPECT_EQ(m_store.pPair[0].nDefectType, 0);
}

TEST_F(Pairing, HitsOfTypeThreeAndFourTakeNoPart)
{
    AddHit(m_store, 2, 5, 3);
    AddHit(m_store, 3, 5, 4);
    AddHit(m_store, 4, 5, 5);
    m_store.PairingPlus_Pixel(8.0);
    ASSERT_EQ(m_store.nPairCount, 1);
    EXPECT_EQ(m_store.pPair[0].nDefectType, 5);
}

TEST_F(Pairing, TheSearchStepsOverHitsThatTakeNoPart)
{
    for (const bool bVertical : {false, true})
    {
        m_store.ResetPixelStorage();
        m_store.ResetPairStorage();
        const CPoint ptTarget = bVertical ? CPoint(20, 13) : CPoint(28, 5);
        AddHit(m_store, 20, 5, 1);
        for (const int nType : {4, 3, 1, 0})
            AddHit(m_store, ptTarget.x, ptTarget.y, nType);
        bVertical ? m_store.PairingPlus_Vert(8.0) : m_store.PairingPlus_Pixel(8.0);
        ASSERT_GE(m_store.nPairCount, 1);
        EXPECT_EQ(m_store.pPair[0].ptDefect, ptTarget);
        EXPECT_EQ(m_store.pPair[0].nDefectPair, DefectPair_Paired);
        EXPECT_EQ(m_store.pPixelType[1], 4);
        EXPECT_EQ(m_store.pPixelType[2], 3);
        EXPECT_EQ(m_store.pPixelType[3], 1) << "of the same type: stepped over, not consumed";
        EXPECT_EQ(m_store.pPixelType[4], 4) << "consumed";
    }
}

TEST_F(Pairing, AFirstBandHitWithoutPartnerIsASingleAtItsOwnPlace)
{
    AddHit(m_store, 7, 5, 1);
    m_store.PairingPlus_Pixel(8.0);
    ASSERT_EQ(m_store.nPairCount, 1);
    EXPECT_EQ(m_store.pPair[0].nDefectPos, DefectPos_First);
    EXPECT_EQ(m_store.pPair[0].nDefectPair, DefectPair_Single);
    EXPECT_EQ(m_store.pPair[0].ptDefect, CPoint(7, 5));
    EXPECT_EQ(m_store.pPair[0].nDefectType, 1);
}

TEST_F(Pairing, ALastBandRecordLiesOnePitchOnWithTheStoredTypeFlipped)
{
    // right - (int)(2 * 8.5) = 83: the band begins behind it.
    AddHit(m_store, 83, 5, 1);
    AddHit(m_store, 84, 5, 1);
    AddHit(m_store, 97, 5, 0);
    m_store.PairingPlus_Pixel(8.0);
    ASSERT_EQ(m_store.nPairCount, 2);
    EXPECT_EQ(m_store.pPair[0].ptDefect, CPoint(92, 5));
    EXPECT_EQ(m_store.pPair[0].nDefectPos, DefectPos_Last);
    EXPECT_EQ(m_store.pPair[0].nDefectPair, DefectPair_Single);
    EXPECT_EQ(m_store.pPair[0].nDefectType, 0);
    EXPECT_EQ(m_store.pPair[0].nSrcGray, 201) << "the values are not exchanged";
    EXPECT_EQ(m_store.pPixelType[1], 0);
    EXPECT_EQ(m_store.pPair[1].ptDefect, CPoint(105, 5)) << "the record may lie beyond the region";
    EXPECT_EQ(m_store.pPixelType[2], 1);
}

TEST_F(Pairing, FloatRecordsTakePositionTypeAndPeakOnly)
{
    m_store.pPair[0].nSrcGray = 12345;
    AddHit(m_store, 7, 5, 1);
    m_store.PairingPlus_Float(8.0);
    ASSERT_EQ(m_store.nPairCount, 1);
    EXPECT_EQ(m_store.pPair[0].nPeak, 100);
    EXPECT_EQ(m_store.pPair[0].nSrcGray, 12345);
    EXPECT_EQ(m_store.pPair[0].nThreshold, 0);
}

TEST_F(Pairing, VerticalWalkPairsDownTheColumnAndKeepsMiddleSingles)
{
    AddHit(m_store, 50, 3, 1);
    AddHit(m_store, 51, 3, 0);
    AddHit(m_store, 50, 11, 0);
    AddHit(m_store, 50, 60, 1);
    AddHit(m_store, 50, 99, 1);
    m_store.PairingPlus_Vert(8.0);
    ASSERT_EQ(m_store.nPairCount, 4);
    EXPECT_EQ(m_store.pPair[0].ptDefect, CPoint(50, 11));
    EXPECT_EQ(m_store.pPair[0].nDefectPair, DefectPair_Paired);
    EXPECT_EQ(m_store.pPair[0].nDefectPos, DefectPos_First);
    EXPECT_EQ(m_store.pPair[0].nPeak, 0) << "position and type only";
    EXPECT_EQ(m_store.pPair[1].nDefectPair, DefectPair_Single);
    EXPECT_EQ(m_store.pPair[2].nDefectPos, DefectPos_Middle);
    EXPECT_EQ(m_store.pPair[2].nDefectPair, DefectPair_Single);
    EXPECT_EQ(m_store.pPair[3].nDefectPos, DefectPos_Middle) << "there is no last band along y";
    EXPECT_EQ(m_store.pPair[3].ptDefect, CPoint(50, 99));
}

TEST_F(Pairing, MinusWalksLeaveTheCountUntouched)
{
    AddHit(m_store, 7, 5, 1);
    EXPECT_EQ(m_store.PairingMinus_Pixel(8.0), 1);
    EXPECT_EQ(m_store.PairingMinus_Float(8.0), 1);
    EXPECT_EQ(m_store.PairingMinus_Vert(8.0), 1);
    EXPECT_EQ(m_store.nPairCount, 0);
}

TEST_F(Pairing, NoRecordIsWrittenBeyondTheSpareOnes)
{
    m_store.InitPairStorage(4);
    for (int i = 0; i < 40; ++i)
        AddHit(m_store, 1, i, 1);
    m_store.PairingPlus_Pixel(8.0);
    EXPECT_EQ(m_store.nPairCount, 20);
    EXPECT_EQ(m_store.pPair[20].nDefectType, DefectType_None);
}

TEST_F(Pairing, AStoreWithoutRecordsTakesNone)
{
    CPairStorage store;
    store.InitPixelStorage(4);
    AddHit(store, 1, 1, 1);
    EXPECT_EQ(store.PairingPlus_Pixel(8.0), 1);
    EXPECT_EQ(store.PairingPlus_Vert(8.0), 1);
    EXPECT_EQ(store.nPairCount, -1);
}

TEST_F(Pairing, PitchesThatNoIntHoldsAreHarmless)
{
    for (const double dPitch : {1e300, -1e300, std::numeric_limits<double>::infinity(), std::nan("")})
    {
        m_store.nPixelCount = 0;
        AddHit(m_store, 7, 5, 1);
        AddHit(m_store, 90, 5, 0);
        EXPECT_EQ(m_store.PairingPlus_Pixel(dPitch), 1);
        EXPECT_EQ(m_store.PairingPlus_Float(dPitch), 1);
        EXPECT_EQ(m_store.PairingPlus_Vert(dPitch), 1);
    }
}

} // namespace
