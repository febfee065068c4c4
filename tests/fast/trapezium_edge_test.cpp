// SPDX-License-Identifier: MIT
// The rules of the trapezium kernels on hand-worked images. Each holds for every way to run a kernel: the plain
// reference and the library at each vector level.
#include <algorithm>

#include <gtest/gtest.h>

#include "fast/picture.h"
#include "fast/trapezium_scene.h"

namespace narvo::test
{
namespace
{

constexpr int nPitch = 10;

CKernelOutcome RunScene(const CTrapeziumHoriScene& scene)
{
    CKernelOutcome outcome;
    TrapeziumKernels::GetParam().fnRunHori(scene, outcome);
    return outcome;
}

CKernelOutcome RunScene(const CTrapeziumVertScene& scene)
{
    CKernelOutcome outcome;
    TrapeziumKernels::GetParam().fnRunVert(scene, outcome);
    return outcome;
}

template <typename TScene>
void SetCommon(TScene& scene, const CPicture& picture)
{
    scene.call.image = picture.View();
    scene.call.hits.nSize = 1000;
    scene.call.pairs.nSize = 100;
    scene.call.nThreshold16 = 10 * 16;
    scene.call.nGrayLimit = 255;
    scene.call.nPitch16 = nPitch * 16;
}

/// Rows 0 to 7 of columns 0 to 111: compared up to 95, first band below 10, last band from 86 on.
CTrapeziumHoriScene HoriOn(const CPicture& picture)
{
    CTrapeziumHoriScene scene;
    SetCommon(scene, picture);
    scene.call.nBottom = 8;
    scene.call.nRightTop = scene.call.nRightBottom = 112;
    return scene;
}

/// Columns 0 to 15 between rows 2 and 60: compared up to 48, first band below 12, last band from 40 on.
CTrapeziumVertScene VertOn(const CPicture& picture)
{
    CTrapeziumVertScene scene;
    SetCommon(scene, picture);
    scene.call.nRight = 16;
    scene.call.nTopLeft = scene.call.nTopRight = 2;
    scene.call.nBottomLeft = scene.call.nBottomRight = 60;
    scene.call.nConvPitch16 = nPitch * 16; // 30 rows at least
    return scene;
}

std::vector<CPoint> PointsOf(const CKernelOutcome& outcome, int nFirst = 0)
{
    std::vector<CPoint> aPoints;
    for (int i = nFirst; i < outcome.nReturned; i++)
        aPoints.push_back(outcome.aPairs[static_cast<std::size_t>(i - nFirst)].ptDefect);
    return aPoints;
}

TEST_P(TrapeziumKernels, APairCarriesPositionPolarityAndPeakOfTheSecondHitAndNothingElse)
{
    CPicture picture(128, 64, 100);
    picture.At(40, 3) = 200;
    const CKernelOutcome outcome = RunScene(HoriOn(picture));
    const std::vector<CPoint> aExpected = {{39, 2}, {40, 2}, {39, 3}, {40, 3}};
    ASSERT_EQ(PointsOf(outcome), aExpected);
    const CDefectPair& pair = outcome.aPairs[0];
    EXPECT_EQ(pair.nDefectPos, DefectPos_Middle);
    EXPECT_EQ(pair.nDefectPair, DefectPair_Paired);
    EXPECT_EQ(pair.nDefectType, 1);
    EXPECT_EQ(pair.nPeak, 25);
    for (const int nField : {pair.nSrcGray, pair.nCmpGray, pair.nZoneIndex, pair.nThreshold, pair.nSubZone})
        EXPECT_EQ(nField, nUntouched);
    EXPECT_EQ(outcome.aSrcGray[0], nUntouched);
    EXPECT_EQ(outcome.nEndLine, nUntouched);
}

TEST_P(TrapeziumKernels, VerticalRecordsStartAtTheFrontOfTheArrayForAnyCount)
{
    CPicture picture(32, 64, 100);
    picture.At(7, 40) = 200;
    CTrapeziumVertScene scene = VertOn(picture);
    scene.call.pairs.nCount = 5;
    const CKernelOutcome outcome = RunScene(scene);
    ASSERT_EQ(outcome.nReturned, 9);
    const std::vector<CPoint> aExpected = {{6, 39}, {7, 39}, {6, 40}, {7, 40}};
    EXPECT_EQ(PointsOf(outcome, 5), aExpected);
    EXPECT_EQ(outcome.aPairs[5].nDefectPos, nUntouched);

    picture.At(7, 40) = 100;
    CTrapeziumHoriScene hori = HoriOn(picture);
    hori.call.nRightTop = hori.call.nRightBottom = 16; // too short for anything
    hori.call.pairs.nCount = 5;
    EXPECT_EQ(RunScene(hori).nReturned, 5);
}

TEST_P(TrapeziumKernels, HorizontalRecordsFollowThoseHeld)
{
    CPicture picture(128, 64, 100);
    picture.At(40, 3) = 200;
    CTrapeziumHoriScene scene = HoriOn(picture);
    scene.call.pairs.nCount = 2;
    const CKernelOutcome outcome = RunScene(scene);
    EXPECT_EQ(outcome.nReturned, 6);
    EXPECT_EQ(outcome.aPairs[1].nDefectPos, nUntouched);
    EXPECT_EQ(outcome.aPairs[2].ptDefect, CPoint(39, 2));
}

TEST_P(TrapeziumKernels, RowsRunFromTheTopUpToTheBottomExclusive)
{
    CPicture picture(128, 64, 100);
    picture.Fill(40, 0, 41, 64, 200);
    CTrapeziumHoriScene scene = HoriOn(picture);
    scene.call.nTop = 5;
    const CKernelOutcome outcome = RunScene(scene);
    const std::vector<CPoint> aExpected = {{39, 5}, {40, 5}, {39, 6}, {40, 6}, {39, 7}, {40, 7}};
    EXPECT_EQ(PointsOf(outcome), aExpected);
}

TEST_P(TrapeziumKernels, AHorizontalTrapeziumWithoutHeightInspectsNothing)
{
    CPicture picture(128, 64, 100);
    picture.Fill(40, 0, 41, 64, 200);
    CTrapeziumHoriScene scene = HoriOn(picture);
    scene.call.nTop = scene.call.nBottom = 5;
    EXPECT_EQ(RunScene(scene).nReturned, 0);
}

TEST_P(TrapeziumKernels, TheTopRowOfAHorizontalTrapeziumIsInspectedWithoutATest)
{
    CPicture picture(128, 64, 100);
    picture.Fill(40, 0, 41, 64, 200);
    CTrapeziumHoriScene scene = HoriOn(picture);
    scene.call.nTop = 50;
    for (const int nBottom : {51, 49, 20})
    {
        scene.call.nBottom = nBottom;
        const CKernelOutcome outcome = RunScene(scene);
        ASSERT_EQ(outcome.nReturned, 2) << nBottom;
        EXPECT_EQ(outcome.aPairs[0].ptDefect.y, 50);
    }
}

TEST_P(TrapeziumKernels, ARowThatIsTooShortIsSkippedAndTheRowsAfterItAreTried)
{
    CPicture picture(128, 64, 100);
    picture.Fill(5, 0, 6, 64, 200); // two singles in the first band of each row
    CTrapeziumHoriScene scene = HoriOn(picture);
    scene.call.bKeepSingle = 1;
    scene.call.nRightTop = 40; // 40, 49, 58 ...: 16, 32, 32 ... columns compared, of 30 at least
    const CKernelOutcome outcome = RunScene(scene);
    ASSERT_EQ(outcome.nReturned, 14);
    EXPECT_EQ(outcome.aPairs[0].ptDefect, CPoint(4, 1));

    scene.call.nRightTop = 112; // 112, 98, 84, 70, 56, 42 ...: 96, 80, 64, 48, 32, 16 ...
    scene.call.nRightBottom = 0;
    EXPECT_EQ(RunScene(scene).nReturned, 10);
}

TEST_P(TrapeziumKernels, ARowIsCutToSixteensAndThenToEights)
{
    CPicture picture(128, 4, 100);
    CTrapeziumHoriScene scene = HoriOn(picture);
    scene.call.nBottom = 1;
    scene.call.nPitch16 = 3 * 16;
    scene.call.nRightTop = scene.call.nRightBottom = 100; // 96 formed, 88 compared
    scene.call.bKeepSingle = 1;
    picture.At(91, 0) = 200;
    scene.call.image = picture.View();
    CKernelOutcome outcome = RunScene(scene);
    // Compared columns end at 87: the bright windows at 90 and 91 are seen only from there, as singles.
    const std::vector<CPoint> aExpected = {{90, 0}};
    EXPECT_EQ(PointsOf(outcome), aExpected);
    EXPECT_EQ(outcome.aX[0], 87);
    EXPECT_EQ(outcome.aX[1], nUntouched);
}

TEST_P(TrapeziumKernels, AShortestRowBelowSixteenCountsAs48)
{
    CPicture picture(128, 4, 100);
    picture.At(20, 0) = 200;
    CTrapeziumHoriScene scene = HoriOn(picture);
    scene.call.nBottom = 1;
    scene.call.nPitch16 = 5 * 16;                        // three pitches are 15
    scene.call.nRightTop = scene.call.nRightBottom = 63; // 48 formed, 40 compared
    EXPECT_EQ(RunScene(scene).nReturned, 0);
    scene.call.nRightTop = scene.call.nRightBottom = 64; // 64 formed, 56 compared
    EXPECT_EQ(RunScene(scene).nReturned, 2);
}

TEST_P(TrapeziumKernels, AFractionRoundsThePartnersDistanceUpThroughATableAndVerticallyOnly)
{
    // A pitch of 10.6 pixels: 170 sixteenths, fraction 10.
    CPicture picture(128, 64, 100);
    const std::vector<int> aTable(8, 170);
    CTrapeziumHoriScene hori = HoriOn(picture);
    hori.call.nTop = 3;
    hori.call.nBottom = 4;
    hori.call.nPitch16 = 170;
    hori.aStartHits = {{30, 3, 0, 1, 0, 0, 0, 0}, {40, 3, 1, 2, 0, 0, 0, 0}, {41, 3, 1, 3, 0, 0, 0, 0}};
    CKernelOutcome outcome = RunScene(hori);
    ASSERT_EQ(outcome.nReturned, 1);
    EXPECT_EQ(outcome.aPairs[0].ptDefect, CPoint(40, 3));
    hori.call.pPitchTable = aTable.data();
    EXPECT_EQ(RunScene(hori).aPairs[0].ptDefect, CPoint(41, 3));
    hori.call.pPitchTable = nullptr;
    hori.call.nPitchRound = 8;
    EXPECT_EQ(RunScene(hori).aPairs[0].ptDefect, CPoint(41, 3));

    CTrapeziumVertScene vert = VertOn(picture);
    vert.call.nPitch16 = 170;
    vert.aStartHits = {{3, 20, 0, 1, 0, 0, 0, 0}, {3, 30, 1, 2, 0, 0, 0, 0}, {3, 31, 1, 3, 0, 0, 0, 0}};
    EXPECT_EQ(RunScene(vert).aPairs[0].ptDefect, CPoint(3, 31));
    vert.call.pPitchTable = aTable.data();
    EXPECT_EQ(RunScene(vert).aPairs[0].ptDefect, CPoint(3, 31));
}

TEST_P(TrapeziumKernels, AnUnpairedHitNeedsKeepSingleOfExactlyOne)
{
    CPicture wide(128, 4, 100);
    wide.At(5, 1) = 200;   // first band
    wide.At(100, 1) = 200; // seen from 89 and 90, in the last band
    CTrapeziumHoriScene hori = HoriOn(wide);
    hori.call.nTop = 1;
    hori.call.nBottom = 2;
    EXPECT_EQ(RunScene(hori).nReturned, 0);
    hori.call.bKeepSingle = 2;
    EXPECT_EQ(RunScene(hori).nReturned, 0);
    hori.call.bKeepSingle = 1;
    CKernelOutcome outcome = RunScene(hori);
    const std::vector<CPoint> aHori = {{4, 1}, {5, 1}, {99, 1}, {100, 1}};
    ASSERT_EQ(PointsOf(outcome), aHori);
    EXPECT_EQ(outcome.aPairs[0].nDefectPos, DefectPos_First);
    EXPECT_EQ(outcome.aPairs[0].nDefectPair, DefectPair_Single);
    EXPECT_EQ(outcome.aPairs[0].nDefectType, 1);
    EXPECT_EQ(outcome.aPairs[2].nDefectPos, DefectPos_Last);
    EXPECT_EQ(outcome.aPairs[2].nDefectType, 1); // the hit was of type 0

    CPicture high(32, 64, 100);
    high.At(3, 6) = 200;
    high.At(3, 56) = 200; // seen from 45 and 46
    CTrapeziumVertScene vert = VertOn(high);
    EXPECT_EQ(RunScene(vert).nReturned, 0);
    vert.call.bKeepSingle = 1;
    outcome = RunScene(vert);
    const std::vector<CPoint> aVert = {{2, 5}, {3, 5}, {2, 6}, {3, 6}, {2, 55}, {3, 55}, {2, 56}, {3, 56}};
    ASSERT_EQ(PointsOf(outcome), aVert);
    EXPECT_EQ(outcome.aPairs[4].nDefectPos, DefectPos_Last);
    EXPECT_EQ(outcome.aPairs[4].nDefectType, 1);
}

TEST_P(TrapeziumKernels, AnUnusableHitAtTheTargetIsSkippedAlongARowAndEndsTheSearchAlongAColumn)
{
    const CPicture picture(128, 64, 100);
    CTrapeziumHoriScene hori = HoriOn(picture);
    hori.call.nTop = 3;
    hori.call.nBottom = 4;
    hori.call.bKeepSingle = 1;
    hori.aStartHits = {{5, 3, 1, 1, 0, 0, 0, 0}, {15, 3, 1, 2, 0, 0, 0, 0}, {15, 3, 0, 3, 0, 0, 0, 0}};
    CKernelOutcome outcome = RunScene(hori);
    ASSERT_EQ(outcome.nReturned, 1);
    EXPECT_EQ(outcome.aPairs[0].nPeak, 3);
    hori.aStartHits.pop_back();
    EXPECT_EQ(RunScene(hori).aPairs[0].nDefectPair, DefectPair_Single);

    CTrapeziumVertScene vert = VertOn(picture);
    vert.call.bKeepSingle = 1;
    vert.aStartHits = {{3, 5, 1, 1, 0, 0, 0, 0}, {3, 15, 1, 2, 0, 0, 0, 0}, {3, 15, 0, 3, 0, 0, 0, 0}};
    EXPECT_EQ(RunScene(vert).nReturned, 0); // not even a single
}

TEST_P(TrapeziumKernels, BothDifferencesOfAColumnMustExceedTheThreshold)
{
    CPicture picture(32, 64, 100);
    picture.At(7, 40) = 200;
    CTrapeziumVertScene scene = VertOn(picture);
    scene.call.nPitch16 = 10 * 16 + 8;
    const CKernelOutcome outcome = RunScene(scene);
    // Row 28 sees half of the defect through the fraction, but not in whole pixels.
    const std::vector<int> aRows = {29, 29, 30, 30, 39, 39, 40, 40};
    EXPECT_EQ(std::vector<int>(outcome.aY.begin(), outcome.aY.begin() + 8), aRows);
    const std::vector<CPoint> aExpected = {{6, 40}, {7, 40}}; // eleven rows apart
    EXPECT_EQ(PointsOf(outcome), aExpected);
}

TEST_P(TrapeziumKernels, AVerticalTrapeziumBelowSixteenColumnsInspectsNothing)
{
    CPicture picture(32, 64, 100);
    picture.At(7, 40) = 200;
    CTrapeziumVertScene scene = VertOn(picture);
    scene.call.pairs.nCount = 3;
    for (const int nRight : {15, 0, -20})
    {
        scene.call.nRight = nRight;
        EXPECT_EQ(RunScene(scene).nReturned, 3);
    }
}

TEST_P(TrapeziumKernels, ANarrowingVerticalTrapeziumEndsAtItsFirstBlockThatIsTooShort)
{
    CPicture picture(96, 80, 100);
    picture.At(7, 40) = 200;
    picture.At(20, 48) = 200;
    CTrapeziumVertScene scene = VertOn(picture);
    scene.call.nRight = 64;
    scene.call.nTopRight = 50; // blocks start at rows 14 and 26: 35 and 23 rows
    EXPECT_EQ(RunScene(scene).nReturned, 4);
    scene.call.nConvPitch16 = 6 * 16; // 22 rows are enough for two blocks
    EXPECT_EQ(RunScene(scene).nReturned, 8);
}

TEST_P(TrapeziumKernels, AWideningVerticalTrapeziumStepsColumnByColumnToItsFirstUsefulBlock)
{
    CPicture picture(96, 80, 100);
    picture.At(41, 40) = 200; // one column left of the first block, whose windows it shares
    picture.At(50, 40) = 200;
    CTrapeziumVertScene scene = VertOn(picture);
    scene.call.nRight = 64;
    scene.call.nTopLeft = 50; // 30 rows are free from column 42 on
    const CKernelOutcome outcome = RunScene(scene);
    const std::vector<CPoint> aExpected = {{49, 39}, {50, 39}, {49, 40}, {50, 40}};
    std::vector<CPoint> aFound = PointsOf(outcome);
    std::sort(aFound.begin(), aFound.end(),
              [](const CPoint& a, const CPoint& b) { return a.y != b.y ? a.y < b.y : a.x < b.x; });
    EXPECT_EQ(aFound, aExpected);
    scene.call.nTopLeft = 70;
    scene.call.nTopRight = 40; // never long enough
    EXPECT_EQ(RunScene(scene).nReturned, 0);
}

TEST_P(TrapeziumKernels, TheThresholdIsExceededAbove160UnitsAtTenQuarters)
{
    CPicture wide(128, 4, 100);
    CPicture high(32, 64, 100);
    for (const int nSum : {10, 11}) // 160 and 176 units
    {
        wide.At(40, 1) = static_cast<std::uint8_t>(100 + nSum);
        CTrapeziumHoriScene hori = HoriOn(wide);
        hori.call.nTop = 1;
        hori.call.nBottom = 2;
        EXPECT_EQ(RunScene(hori).nReturned, nSum == 10 ? 0 : 2);
        high.At(7, 40) = static_cast<std::uint8_t>(100 + nSum);
        EXPECT_EQ(RunScene(VertOn(high)).nReturned, nSum == 10 ? 0 : 4);
    }
}

TEST_P(TrapeziumKernels, ValuesAreLimitedBeforeTheyAreCompared)
{
    CPicture wide(128, 4, 150);
    wide.At(40, 1) = 250;
    CTrapeziumHoriScene hori = HoriOn(wide);
    hori.call.nTop = 1;
    hori.call.nBottom = 2;
    EXPECT_EQ(RunScene(hori).nReturned, 2);
    hori.call.nGrayLimit = 150;
    EXPECT_EQ(RunScene(hori).nReturned, 0);

    CPicture high(32, 64, 150);
    high.At(7, 40) = 250;
    CTrapeziumVertScene vert = VertOn(high);
    EXPECT_EQ(RunScene(vert).nReturned, 4);
    vert.call.nGrayLimit = 150;
    EXPECT_EQ(RunScene(vert).nReturned, 0);
}

TEST_P(TrapeziumKernels, ARowStopsSixteenHitsBeforeTheArraysAreFull)
{
    CPicture picture(128, 4, 100);
    picture.At(14, 1) = 200; // hits at 3, 4, then 13 and 14
    CTrapeziumHoriScene scene = HoriOn(picture);
    scene.call.nTop = 1;
    scene.call.nBottom = 2;
    scene.call.hits.nSize = 18;
    EXPECT_EQ(RunScene(scene).nReturned, 0);
    scene.call.hits.nSize = 19; // two are not enough to stop, four are
    EXPECT_EQ(RunScene(scene).nReturned, 2);
}

TEST_P(TrapeziumKernels, AFullPairArrayEndsBothKernels)
{
    CPicture wide(128, 4, 100);
    wide.At(40, 1) = 200;
    CTrapeziumHoriScene hori = HoriOn(wide);
    hori.call.nBottom = 2;
    hori.call.pairs.nSize = 3;
    CKernelOutcome outcome = RunScene(hori);
    EXPECT_EQ(outcome.nReturned, 3);
    EXPECT_EQ(outcome.aPairs[3].nDefectPos, nUntouched);

    CPicture high(32, 64, 100);
    high.At(7, 40) = 200;
    CTrapeziumVertScene vert = VertOn(high);
    vert.call.pairs.nSize = 3;
    outcome = RunScene(vert);
    EXPECT_EQ(outcome.nReturned, 3);
    EXPECT_EQ(outcome.aPairs[3].nDefectPos, nUntouched);
}

TEST_P(TrapeziumKernels, ABlockWhoseHitsOverflowIsReadAgainAsLongAsItGivesRecords)
{
    CPicture picture(64, 64, 100);
    picture.At(3, 5) = 200; // two hits in row 4 fill the arrays: two singles, again and again
    CTrapeziumVertScene scene = VertOn(picture);
    scene.call.nRight = 32;
    scene.call.hits.nSize = 1;
    scene.call.pairs.nSize = 7;
    scene.call.bKeepSingle = 1;
    const CKernelOutcome outcome = RunScene(scene);
    EXPECT_EQ(outcome.nReturned, 7);
    EXPECT_EQ(outcome.aPairs[6].ptDefect, CPoint(2, 4));
}

TEST_P(TrapeziumKernels, ABlockWhoseHitsOverflowWithoutARecordIsLeftForTheNext)
{
    CPicture picture(64, 64, 100);
    picture.At(3, 40) = 200;  // fills the arrays in the first half
    picture.At(27, 40) = 200; // and in the second half of the next block
    picture.At(35, 5) = 200;  // a single of the third block's first half
    CTrapeziumVertScene scene = VertOn(picture);
    scene.call.nRight = 48;
    scene.call.hits.nSize = 1;
    scene.call.pairs.nSize = 2;
    scene.call.bKeepSingle = 1;
    const CKernelOutcome outcome = RunScene(scene);
    const std::vector<CPoint> aExpected = {{34, 4}, {35, 4}};
    EXPECT_EQ(PointsOf(outcome), aExpected);
}

TEST_P(TrapeziumKernels, ASecondHalfThatOverflowsWithoutARecordBecomesTheNextBlock)
{
    CPicture picture(64, 64, 100);
    for (const int x : {1, 4, 6, 11})
        picture.At(x, 5) = 200; // the first half's 12 hits of the first band leave room for one
    picture.At(13, 40) = 200;
    CTrapeziumVertScene scene = VertOn(picture);
    scene.call.nRight = 16;
    scene.call.nBottomLeft = scene.call.nBottomRight = 60;
    scene.call.nTopLeft = scene.call.nTopRight = 2;
    const std::vector<CPoint> aExpected = {{12, 39}, {13, 39}, {12, 40}, {13, 40}};
    for (const int nHitSize : {100, 13})
    {
        scene.call.hits.nSize = nHitSize;
        EXPECT_EQ(PointsOf(RunScene(scene)), aExpected) << nHitSize;
    }
}

TEST_P(TrapeziumKernels, AVerticalTableGivesThePitchOfItsSixteenColumns)
{
    CPicture picture(64, 64, 100);
    picture.At(7, 40) = 200;
    picture.At(23, 40) = 200;
    CTrapeziumVertScene scene = VertOn(picture);
    scene.call.nRight = 32;
    scene.call.nPitch16 = 3 * 16;
    const std::vector<int> aTable = {nPitch * 16, 35 * 16, 0, 0};
    scene.call.pPitchTable = aTable.data();
    // The second block compares nothing usable: its 35 rows leave too little of the strip.
    const std::vector<CPoint> aExpected = {{6, 39}, {7, 39}, {6, 40}, {7, 40}};
    EXPECT_EQ(PointsOf(RunScene(scene)), aExpected);
}

TEST_P(TrapeziumKernels, AHorizontalTableGivesThePitchOfSixteenRowsCountedFromTheTop)
{
    CPicture picture(128, 64, 100);
    picture.Fill(40, 0, 41, 64, 200);
    CTrapeziumHoriScene scene = HoriOn(picture);
    scene.call.nTop = 20; // rows 20 to 35 use entry 1, row 36 entry 2
    scene.call.nBottom = 38;
    const std::vector<int> aTable = {1, nPitch * 16, 50 * 16, 1};
    scene.call.pPitchTable = aTable.data();
    const CKernelOutcome outcome = RunScene(scene);
    EXPECT_EQ(outcome.nReturned, 32); // three pitches of 50 are more than a row
    EXPECT_EQ(outcome.aPairs[31].ptDefect, CPoint(40, 35));
}

} // namespace
} // namespace narvo::test
