// SPDX-License-Identifier: MIT
// Verification at short pitches: the zone strings, both modes, the tilt, the window sums.
#include <algorithm>
#include <cmath>
#include <vector>

#include <gtest/gtest.h>

#include "storage/store_samples.h"

namespace
{

using narvo::test::CSampleStore;
using narvo::test::CTestImage;
using narvo::test::MakePair;

// Image of 128 by 128, grey 100, with one pixel of 150 at (50, 60); window of one pixel, threshold 20, multiples 2.
class PitchVerify : public testing::Test
{
protected:
    PitchVerify()
    {
        CConvParam& param = m_store.ConvParam;
        m_image.Attach(param);
        m_image.Set(50, 60, 150);
        param.nConvWidth = param.nConvHeight = 1;
        param.nConvMultiple = param.nScanMultiple = 2;
        param.dConvPitch = param.dScanPitch = 8.0;
        param.pVeriPitchString = m_strings;
        param.dVeriPitchConv[1] = 10.0; // 5 pixels
        param.dVeriPitchScan[1] = 14.0; // 7 pixels
    }

    CDefectPair Make(const char* pText, int nZone = 1)
    {
        m_strings[1] = CString(pText);
        CDefectPair pair = MakePair(50, 60, DefectType_Bright);
        pair.nZoneIndex = nZone;
        pair.nThreshold = 20;
        pair.nSrcGray = 150;
        return pair;
    }

    int Verify(const char* pText)
    {
        m_pair = Make(pText);
        const int nAnswer = m_store.VeriPitchDPCFiltering(&m_pair);
        EXPECT_EQ(m_pair.nDefectType, nAnswer != 0 ? DefectType_Removed : DefectType_Bright);
        return nAnswer;
    }

    CTestImage m_image{128, 128};
    CString m_strings[16];
    CSampleStore m_store;
    CDefectPair m_pair;
};

TEST_F(PitchVerify, AModeWithoutFieldsTurnsNothingOn)
{
    m_image.Set(50, 60, 100);
    EXPECT_EQ(Verify("1"), 0);
    EXPECT_EQ(Verify("2"), 0);
    EXPECT_EQ(Verify(""), 0);
    EXPECT_EQ(Verify("3;101"), 0) << "no such mode";
    EXPECT_EQ(Verify("x;101"), 0);
    EXPECT_EQ(Verify("1;101"), 1);
}

TEST_F(PitchVerify, FixedModeRemovesAPairThatMatchesOneShortPitchOn)
{
    EXPECT_EQ(Verify("1;101"), 0);
    m_image.Set(55, 60, 150);
    EXPECT_EQ(Verify("1;101"), 1);
    EXPECT_EQ(m_store.nRemovedConv, 1);
    EXPECT_EQ(Verify("1;201"), 0);
    m_image.Set(50, 67, 150);
    EXPECT_EQ(Verify("1;201"), 1);
    EXPECT_EQ(m_store.nRemovedScan, 1);
}

TEST_F(PitchVerify, FixedModeNeitherLooksBackNorTakesTheCycleAsAFactor)
{
    m_image.Set(45, 60, 150);
    m_image.Set(60, 60, 150);
    EXPECT_EQ(Verify("1;101"), 0);
    EXPECT_EQ(Verify("1;102"), 0);
}

TEST_F(PitchVerify, AFieldAboveTheMultipleIsSkippedAndTheWalkContinues)
{
    m_image.Set(55, 60, 150);
    m_image.Set(50, 67, 150);
    EXPECT_EQ(Verify("1;103"), 0);
    EXPECT_EQ(Verify("1;103;202"), 1);
    EXPECT_EQ(m_store.nRemovedScan, 1);
    EXPECT_EQ(m_store.nRemovedConv, 0);
}

TEST_F(PitchVerify, ACycleOfZeroOrAnUnknownDirectionEndsTheList)
{
    m_image.Set(50, 67, 150);
    EXPECT_EQ(Verify("1;100;201"), 0);
    EXPECT_EQ(Verify("1;1ab;201"), 0);
    EXPECT_EQ(Verify("1;401;201"), 0);
    EXPECT_EQ(Verify("1;001;201"), 0);
    EXPECT_EQ(Verify("1;101;20"), 0) << "a field too short";
    EXPECT_EQ(Verify("1;301;201"), 1) << "the tilt does nothing in this mode, and does not end it";
}

TEST_F(PitchVerify, AtMostFiveFieldsCount)
{
    m_image.Set(50, 67, 150);
    EXPECT_EQ(Verify("1;101;101;101;101;101;201"), 0);
    EXPECT_EQ(Verify("1;101;101;101;101;201"), 1);
}

TEST_F(PitchVerify, TheSearchForTheNextFieldStartsRightBehindTheLastSeparator)
{
    m_image.Set(50, 67, 150);
    EXPECT_EQ(Verify("1;2;2;201"), 0) << "the first field reads '2;2', whose cycle is 0";
    EXPECT_EQ(Verify("1;101 201"), 0);
    EXPECT_EQ(Verify("1;10199;20155"), 1) << "text behind the three characters is passed over";
}

TEST_F(PitchVerify, ADifferenceEqualToTheThresholdDoesNotRemove)
{
    m_image.Set(55, 60, 130);
    EXPECT_EQ(Verify("1;101"), 0);
    m_image.Set(55, 60, 131);
    EXPECT_EQ(Verify("1;101"), 1);
}

TEST_F(PitchVerify, APairCloseToTheImageEndIsRemovedAsPattern)
{
    m_image.Set(50, 124, 250);
    m_pair = Make("1;201");
    m_pair.ptDefect.y = 124;
    EXPECT_EQ(m_store.VeriPitchDPCFiltering(&m_pair), 1);
}

TEST_F(PitchVerify, ZoneZeroRemovedPairsAndMissingStringsAreNotVerified)
{
    m_image.Set(50, 60, 100);
    m_strings[0] = CString("1;101");
    CDefectPair pair = Make("1;101", 0);
    EXPECT_EQ(m_store.VeriPitchDPCFiltering(&pair), 0);
    pair = Make("1;101", 16);
    EXPECT_EQ(m_store.VeriPitchDPCFiltering(&pair), 0);
    pair = Make("1;101");
    pair.nDefectType = DefectType_Removed;
    EXPECT_EQ(m_store.VeriPitchDPCFiltering(&pair), 0);
    m_store.ConvParam.pVeriPitchString = nullptr;
    EXPECT_EQ(Verify("1;101"), 0);
}

TEST_F(PitchVerify, APitchThatIsNotFiniteTurnsItsCheckOff)
{
    m_image.Set(50, 60, 100);
    m_store.ConvParam.dVeriPitchConv[1] = std::nan("");
    EXPECT_EQ(Verify("1;101"), 0);
    m_store.ConvParam.nScanMultiple = 0;
    m_store.ConvParam.dVeriPitchConv[1] = 10.0;
    EXPECT_EQ(Verify("1;101"), 0);
}

TEST_F(PitchVerify, TableModeMultipliesByTheCycleAndLooksBothWays)
{
    // Entry 80 / 16 / 2: a short pitch of 2.5 pixels.
    std::vector<unsigned short> convTable(128, 80);
    m_store.ConvParam.pConvPitchTable = convTable.data();
    EXPECT_EQ(Verify("2;102"), 0);
    m_image.Set(55, 60, 150);
    EXPECT_EQ(Verify("2;102"), 1);
    m_image.Set(55, 60, 100);
    m_image.Set(45, 60, 150);
    EXPECT_EQ(Verify("2;102"), 1);
    EXPECT_EQ(m_store.nRemovedConv, 2);
    EXPECT_EQ(Verify("2;103"), 0);
    convTable[50 / 16] = 0;
    EXPECT_EQ(Verify("2;102"), 1) << "the entry of x / 16; a pitch of 0 compares the pixel with itself";
    EXPECT_EQ(m_store.nRemovedConv, 3) << "both sides match, and the pair is removed once";
}

TEST_F(PitchVerify, ACycleOfZeroEndsTheListInTableMode)
{
    std::vector<unsigned short> convTable(128, 80);
    m_store.ConvParam.pConvPitchTable = convTable.data();
    m_image.Set(55, 60, 150);
    EXPECT_EQ(Verify("2;102"), 1);
    EXPECT_EQ(Verify("2;100"), 0) << "the pixel is not compared with itself";
    EXPECT_EQ(Verify("2;100;102"), 0);
}

TEST_F(PitchVerify, TableModeAlongYSkipsADirectionWithoutTable)
{
    m_image.Set(50, 60, 100);
    EXPECT_EQ(Verify("2;101;201;301"), 0);
    m_image.Set(50, 60, 150);
    std::vector<int> scanTable(8, 7 * 16 * 2);
    m_store.ConvParam.pScanPitchTable = scanTable.data();
    EXPECT_EQ(Verify("2;201"), 0);
    m_image.Set(50, 67, 150);
    EXPECT_EQ(Verify("2;201"), 1);
    EXPECT_EQ(m_store.nRemovedScan, 1);
    m_image.Set(50, 53, 150);
    EXPECT_EQ(Verify("2;201"), 1);
    EXPECT_EQ(m_store.nRemovedScan, 2) << "both sides match, and the pair is removed once";
}

TEST_F(PitchVerify, TableModeAsksTheTiltWhereItsTableIsGiven)
{
    std::vector<int> scanTable(8, 16 * 16);
    std::vector<int> tiltTable(8, 16);
    m_store.ConvParam.pScanPitchTable = scanTable.data();
    EXPECT_EQ(Verify("2;301"), 0);
    m_store.ConvParam.pTiltScanTable = tiltTable.data();
    EXPECT_EQ(Verify("2;301"), 0);
    m_image.Set(51, 76, 150);
    EXPECT_EQ(Verify("2;301"), 1);
    EXPECT_EQ(m_store.nRemovedScan, 1);
}

class TiltVerify : public PitchVerify
{
protected:
    TiltVerify()
    {
        m_store.ConvParam.pScanPitchTable = m_scanTable.data();
        m_store.ConvParam.pTiltScanTable = m_tiltTable.data();
        m_pair = Make("");
    }

    std::vector<int> m_scanTable = std::vector<int>(8, 16 * 16);
    std::vector<int> m_tiltTable = std::vector<int>(8, 0);
};

TEST_F(TiltVerify, OppositeSignsOnTheTwoSidesKeepThePairAndASlopeDoesNot)
{
    EXPECT_EQ(m_store.DPCTiltFiltering(&m_pair), 0) << "a spike";
    m_image.Set(50, 76, 250);
    EXPECT_EQ(m_store.DPCTiltFiltering(&m_pair), 1) << "100, 150, 250: a slope";
    m_image.Set(50, 44, 250);
    EXPECT_EQ(m_store.DPCTiltFiltering(&m_pair), 0) << "a dark spike";
}

TEST_F(TiltVerify, EitherSideThatMatchesRemovesThePair)
{
    m_image.Set(50, 76, 131);
    EXPECT_EQ(m_store.DPCTiltFiltering(&m_pair), 1);
    m_image.Set(50, 76, 130);
    EXPECT_EQ(m_store.DPCTiltFiltering(&m_pair), 0) << "20 is not below 20";
    m_image.Set(50, 44, 130);
    EXPECT_EQ(m_store.DPCTiltFiltering(&m_pair), 0) << "nor on the other side";
    m_image.Set(50, 44, 140);
    EXPECT_EQ(m_store.DPCTiltFiltering(&m_pair), 1);
}

TEST_F(TiltVerify, ASideThatIsEqualIsNoSlope)
{
    m_pair.nThreshold = 0;
    m_image.Set(50, 44, 150);
    m_image.Set(50, 76, 250);
    EXPECT_EQ(m_store.DPCTiltFiltering(&m_pair), 0) << "150, 150, 250";
    m_image.Set(50, 76, 100);
    EXPECT_EQ(m_store.DPCTiltFiltering(&m_pair), 0) << "150, 150, 100";
    m_image.Set(50, 44, 100);
    m_image.Set(50, 76, 150);
    EXPECT_EQ(m_store.DPCTiltFiltering(&m_pair), 0) << "100, 150, 150";
    m_image.Set(50, 76, 250);
    EXPECT_EQ(m_store.DPCTiltFiltering(&m_pair), 1);
}

TEST_F(TiltVerify, OneSideInTheRegionAloneKeepsAPairThatDiffersThere)
{
    m_image.Set(50, 76, 150);
    m_store.ConvParam.rtInspect.bottom = 76;
    EXPECT_EQ(m_store.DPCTiltFiltering(&m_pair), 0);
    m_store.ConvParam.rtInspect.bottom = 77;
    EXPECT_EQ(m_store.DPCTiltFiltering(&m_pair), 1);
    m_image.Set(50, 76, 100);
    m_image.Set(50, 44, 150);
    m_store.ConvParam.rtInspect.top = 45;
    EXPECT_EQ(m_store.DPCTiltFiltering(&m_pair), 0);
    m_store.ConvParam.rtInspect.top = 44;
    EXPECT_EQ(m_store.DPCTiltFiltering(&m_pair), 1);
}

TEST_F(TiltVerify, MissingTablesKeepThePair)
{
    m_store.ConvParam.pTiltScanTable = nullptr;
    EXPECT_EQ(m_store.DPCTiltFiltering(&m_pair), 0);
}

TEST_F(TiltVerify, BackwardTheTablesAreReadOnePitchUpAndTheTiltReverses)
{
    m_tiltTable[44 / 16] = 16;
    m_tiltTable[60 / 16] = -16;
    m_image.Set(49, 44, 150);
    EXPECT_EQ(m_store.DPCTiltFiltering(&m_pair), 1);
    m_tiltTable[44 / 16] = -16;
    EXPECT_EQ(m_store.DPCTiltFiltering(&m_pair), 0);
}

TEST_F(TiltVerify, TheReferenceIsABilinearRead)
{
    m_image.Set(50, 70, 10);
    m_image.Set(50, 71, 50);
    m_image.Set(51, 70, 90);
    m_image.Set(51, 71, 130);
    EXPECT_EQ(m_store.GetReferenceValTilt(60, 50, 10.25, 0.5),
              (10 * 0.75 + 50 * 0.25) * 0.5 + (90 * 0.75 + 130 * 0.25) * 0.5);
    EXPECT_EQ(m_store.GetReferenceValTilt(60, 51, 10.25, -0.5),
              (90 * 0.75 + 130 * 0.25) * 0.5 + (10 * 0.75 + 50 * 0.25) * 0.5);
    EXPECT_EQ(m_store.GetReferenceValTilt(81, 51, -10.25, 0.5),
              (130 * 0.75 + 90 * 0.25) * 0.5 + (50 * 0.75 + 10 * 0.25) * 0.5);
}

TEST_F(PitchVerify, WindowSumsAreClippedAndTruncatedSampleBySample)
{
    m_store.ConvParam.nConvWidth = 2;
    m_store.ConvParam.nConvHeight = 3;
    for (int y = 60; y < 63; ++y)
    {
        for (int x = 50; x < 70; ++x)
            m_image.Set(x, y, (x * 31 + y * 17) % 250);
    }
    int nSum = 0;
    int nRef = 0;
    for (int x = 50; x < 52; ++x)
    {
        for (int y = 60; y < 63; ++y)
        {
            nSum += std::min(m_image.Get(x, y), 180);
            nRef += std::min(static_cast<int>(m_image.Get(x + 8, y) * 0.625 + m_image.Get(x + 9, y) * 0.375), 180);
        }
    }
    EXPECT_EQ(m_store.GetConvolutionValue(50, 60, 8.375, 180), nSum - nRef);
}

TEST_F(PitchVerify, ANegativePitchIsSplitDownward)
{
    m_image.Set(41, 60, 40);
    m_image.Set(42, 60, 80);
    EXPECT_EQ(m_store.GetConvolutionValue(50, 60, -8.25, 255), 150 - (40 / 4 + 80 * 3 / 4));
    EXPECT_EQ(m_store.GetConvolutionValue(50, 60, -8.0, 255), 150 - 80);
    m_image.Set(50, 51, 40);
    m_image.Set(50, 52, 80);
    EXPECT_EQ(m_store.GetConvolutionValueVert(50, 60, -8.25, 255), 150 - (40 / 4 + 80 * 3 / 4));
}

TEST_F(PitchVerify, TheVerticalWindowGivesZeroWhereItsRowLeavesTheImage)
{
    m_image.Set(50, 5, 250);
    EXPECT_EQ(m_store.GetConvolutionValueVert(50, 5, -5.0, 255), 0) << "5 + 1 - 6 is row 0";
    EXPECT_EQ(m_store.GetConvolutionValueVert(50, 5, -4.0, 255), 150);
    m_image.Set(50, 120, 250);
    EXPECT_EQ(m_store.GetConvolutionValueVert(50, 120, 6.0, 255), 150);
    EXPECT_EQ(m_store.GetConvolutionValueVert(50, 120, 7.0, 255), 0);
}

} // namespace
