// SPDX-License-Identifier: MIT
// Hand-worked cases of the zone kernels. Every expected value is calculated by hand; the scene's Run also compares the
// library with the reference at every vector level.
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

#include "fast/zone_plain_scene.h"
#include "narvoassem/fast/find/find_row.h"
#include "support/vector_levels.h"

namespace narvo::test
{
namespace
{

void ExpectRecord(const CDefectPair& pair, int nPos, int nKind, int x, int y, int nType, int nPeak, int nSrc, int nCmp,
                  int nZone, int nThreshold)
{
    EXPECT_EQ(pair.nDefectPos, nPos);
    EXPECT_EQ(pair.nDefectPair, nKind);
    EXPECT_EQ(pair.ptDefect.x, x);
    EXPECT_EQ(pair.ptDefect.y, y);
    EXPECT_EQ(pair.nDefectType, nType);
    EXPECT_EQ(pair.nPeak, nPeak);
    EXPECT_EQ(pair.nSrcGray, nSrc);
    EXPECT_EQ(pair.nCmpGray, nCmp);
    EXPECT_EQ(pair.nZoneIndex, nZone);
    EXPECT_EQ(pair.nThreshold, nThreshold);
}

std::ptrdiff_t CountHits(const CKernelOutcome& outcome)
{
    return std::find(outcome.aX.begin(), outcome.aX.end(), nUntouched) - outcome.aX.begin();
}

int CountSingles(const CKernelOutcome& outcome)
{
    int nSingles = 0;
    for (int i = 0; i < outcome.nReturned; i++)
        nSingles += outcome.aPairs[static_cast<std::size_t>(i)].nDefectPair == DefectPair_Single;
    return nSingles;
}

TEST(VectorLevels, ForcedLevelIsTheOneThatRuns)
{
    const std::vector<std::int64_t> aLevels = VectorLevels();
    ASSERT_FALSE(aLevels.empty());
    for (const std::int64_t nLevel : aLevels)
    {
        const CForcedLevel forced(nLevel);
        EXPECT_EQ(engine::GetVectorTargetName(), LevelName(nLevel));
    }
    EXPECT_EQ(engine::GetVectorTargetName(), LevelName(aLevels.front()));
}

// --- the plain vertical kernel ---

TEST(ZoneKernels, RegionOf24ColumnsHasOneStripAndEndsAtLeftPlus32)
{
    CPlainScene plain(ZoneKernel::Vert, 40, 40, 5 * 16);
    plain.Call().region = {4, 0, 28, 40};
    plain.At(7, 20) = 200;
    plain.At(24, 20) = 200; // in the 8 columns after the strip
    const CKernelOutcome outcome = plain.Run();
    EXPECT_EQ(outcome.nEndLine, 4 + 32);
    ASSERT_EQ(outcome.nReturned, 1);
    ExpectRecord(outcome.aPairs[0], 2, 1, 7, 20, 1, 90, 200, 100, 0, 10);
}

TEST(ZoneKernels, PitchOf40SixteenthsComparesRows2And3ButSearchesTheSecondHit3RowsFurther)
{
    CPlainScene plain(ZoneKernel::Vert, 16, 40, 40);
    plain.At(7, 20) = 200;
    const CKernelOutcome outcome = plain.Run();
    ASSERT_EQ(CountHits(outcome), 3);
    EXPECT_EQ(outcome.aY[0], 17); // row 20 is the far neighbour
    EXPECT_EQ(outcome.aCmpGray[0], 150);
    EXPECT_EQ(outcome.aY[1], 18); // row 20 is the near neighbour
    EXPECT_EQ(outcome.aCmpGray[1], 150);
    EXPECT_EQ(outcome.aY[2], 20);
    EXPECT_EQ(outcome.aType[2], 4); // taken by row 17, three rows before
    EXPECT_EQ(outcome.aType[1], 0);
    ASSERT_EQ(outcome.nReturned, 1);
    ExpectRecord(outcome.aPairs[0], 2, 1, 7, 20, 1, 90, 200, 100, 0, 10);
}

TEST(ZoneKernels, WithoutFractionTheReferenceIsThePixelOnePitchAway)
{
    CPlainScene plain(ZoneKernel::Vert, 16, 40, 2 * 16);
    plain.At(7, 20) = 173;
    const CKernelOutcome outcome = plain.Run();
    ASSERT_EQ(CountHits(outcome), 2);
    EXPECT_EQ(outcome.aY[0], 18);
    EXPECT_EQ(outcome.aCmpGray[0], 173);
    EXPECT_EQ(outcome.aY[1], 20);
    EXPECT_EQ(outcome.aCmpGray[1], 100);
}

TEST(ZoneKernels, EqualGreysAreTypeZeroAndHitOnlyBelowANegativeThreshold)
{
    CPlainScene plain(ZoneKernel::Vert, 16, 8, 16);
    plain.SetThreshold(0);
    EXPECT_EQ(CountHits(plain.Run()), 0);

    plain.SetThreshold(-1);
    const CKernelOutcome outcome = plain.Run();
    ASSERT_EQ(CountHits(outcome), 5 * 16); // rows 0 to 8 - 2 - 1 - 1
    for (std::size_t i = 0; i < 80; i++)
    {
        EXPECT_EQ(outcome.aX[i], static_cast<int>(i % 16));
        EXPECT_EQ(outcome.aY[i], static_cast<int>(i / 16));
        EXPECT_EQ(outcome.aType[i], 0);
        EXPECT_EQ(outcome.aPeak[i], 1);
        EXPECT_EQ(outcome.aThreshold[i], -1);
    }
}

TEST(ZoneKernels, MiddleBandHitWithoutPartnerGivesNoRecordForAnyKeepSingle)
{
    for (const int bKeepSingle : {0, 1, 2})
    {
        CPlainScene plain(ZoneKernel::Vert, 16, 40, 5 * 16);
        plain.FillRows(20, 40, 200); // a step: rows 15 to 19 differ from the rows one pitch away, without partners
        plain.Call().bKeepSingle = bKeepSingle;
        const CKernelOutcome outcome = plain.Run();
        EXPECT_EQ(CountHits(outcome), 5 * 16);
        EXPECT_EQ(outcome.nReturned, 0);
    }
}

TEST(ZoneKernels, KeepSingleZeroRemovesEverySingle)
{
    CPlainScene plain(ZoneKernel::Vert, 16, 40, 5 * 16);
    plain.At(3, 2) = 200;  // first band: seen once
    plain.At(7, 20) = 30;  // middle: seen twice
    plain.At(9, 37) = 200; // beyond the last row compared: seen from row 32 alone
    const CKernelOutcome kept = plain.Run();
    ASSERT_EQ(kept.nReturned, 3);
    ExpectRecord(kept.aPairs[0], 1, 5, 3, 2, 1, 90, 200, 100, 0, 10);
    ExpectRecord(kept.aPairs[1], 2, 1, 7, 20, 0, 60, 30, 100, 0, 10);
    ExpectRecord(kept.aPairs[2], 3, 5, 9, 37, 1, 90, 200, 100, 0, 10);
    EXPECT_EQ(CountSingles(kept), 2);

    for (const int bKeepSingle : {0, 2, -1}) // exactly 1 keeps
    {
        plain.Call().bKeepSingle = bKeepSingle;
        const CKernelOutcome dropped = plain.Run();
        ASSERT_EQ(dropped.nReturned, 1);
        EXPECT_EQ(CountSingles(dropped), 0);
        ExpectRecord(dropped.aPairs[0], 2, 1, 7, 20, 0, 60, 30, 100, 0, 10);
    }
}

TEST(ZoneKernels, GreysBeyondTheLimitCountAsTheLimit)
{
    CPlainScene plain(ZoneKernel::Vert, 16, 8, 16);
    plain.FillRows(0, 8, 150);
    plain.FillRows(3, 4, 200);
    plain.SetThreshold(0);
    EXPECT_EQ(CountHits(plain.Run()), 2 * 16);

    plain.Call().nGrayLimit = 100;
    EXPECT_EQ(CountHits(plain.Run()), 0); // 200 against 150 is 100 against 100

    plain.SetThreshold(-1);
    const CKernelOutcome outcome = plain.Run();
    ASSERT_EQ(CountHits(outcome), 5 * 16);
    EXPECT_EQ(outcome.aSrcGray[3 * 16], 100);
    EXPECT_EQ(outcome.aCmpGray[3 * 16], 100);
    EXPECT_EQ(outcome.aType[3 * 16], 0);
}

TEST(ZoneKernels, OffsetOf32767PassesNoPixel)
{
    CPlainScene plain(ZoneKernel::Vert, 64, 40, 3 * 16 + 5);
    for (std::size_t i = 0; i < plain.aImage.size(); i++)
        plain.aImage[i] = i * 7 % 3 == 0 ? 255 : 0;
    plain.SetThreshold(32767);
    const CKernelOutcome outcome = plain.Run();
    EXPECT_EQ(CountHits(outcome), 0);
    EXPECT_EQ(outcome.nReturned, 0);
    EXPECT_EQ(outcome.nEndLine, 80);
}

TEST(ZoneKernels, SingleWithPeakOfTheExtraThresholdIsDroppedAndOneAboveIsKept)
{
    CPlainScene plain(ZoneKernel::Vert, 16, 40, 5 * 16);
    plain.Call().nThresholdExtra = 10;
    plain.At(3, 2) = 120; // first band, peak 20 - 10
    plain.At(5, 2) = 121;
    plain.At(7, 37) = 120; // last band
    plain.At(9, 37) = 121;
    plain.At(11, 20) = 111; // a pair needs no more than its threshold
    const CKernelOutcome outcome = plain.Run();
    ASSERT_EQ(outcome.nReturned, 3);
    ExpectRecord(outcome.aPairs[0], 1, 5, 5, 2, 1, 11, 121, 100, 0, 10);
    ExpectRecord(outcome.aPairs[1], 2, 1, 11, 20, 1, 1, 111, 100, 0, 10);
    ExpectRecord(outcome.aPairs[2], 3, 5, 9, 37, 1, 11, 121, 100, 0, 10);
}

TEST(ZoneKernels, GainProductKeepsItsLow16BitsBeforeTheShift)
{
    CPlainScene plain(ZoneKernel::Vert, 16, 40, 5 * 16);
    std::vector<std::int16_t> aGain(plain.aImage.size(), 400);
    plain.Call().pGainMap = aGain.data();
    plain.At(7, 20) = 200;
    const CKernelOutcome outcome = plain.Run();
    ASSERT_EQ(outcome.nReturned, 1);
    // 200 x 400 = 80000, low 16 bits 14464, high byte 56; plus offset 10
    ExpectRecord(outcome.aPairs[0], 2, 1, 7, 20, 1, 34, 200, 100, 0, 66);
}

TEST(ZoneKernels, PartnerOfTheSameTypeIsNeitherPairNorSingleInAVerticalKernel)
{
    CPlainScene plain(ZoneKernel::Vert, 16, 40, 5 * 16);
    plain.At(7, 2) = 200; // row 2 against row 7: brighter
    plain.At(7, 7) = 150; // row 7 against row 12: brighter as well
    const CKernelOutcome outcome = plain.Run();
    EXPECT_EQ(CountHits(outcome), 2);
    EXPECT_EQ(outcome.aType[1], 1);
    EXPECT_EQ(outcome.nReturned, 0);
}

TEST(ZoneKernels, FullPairArrayStopsAfterItsStripBeforeTheTypeIsTested)
{
    CPlainScene plain(ZoneKernel::Vert, 48, 40, 5 * 16);
    plain.At(3, 20) = 200;
    plain.At(20, 20) = 200;
    plain.At(40, 20) = 200;
    plain.Call().pairs.nSize = 1;
    // The first strip's second hit is consumed, yet it meets the full array.
    const CKernelOutcome outcome = plain.Run();
    EXPECT_EQ(outcome.nReturned, 1);
    EXPECT_EQ(outcome.nEndLine, 16);

    plain.Call().pairs.nSize = 2;
    EXPECT_EQ(plain.Run().nEndLine, 32);
}

TEST(ZoneKernels, FullHitArrayDropsOnlyTheStripAndIsNotReported)
{
    CPlainScene plain(ZoneKernel::Vert, 32, 40, 5 * 16);
    plain.At(1, 10) = 200; // rows 5 and 10 of the first strip
    plain.At(2, 20) = 200; // never reached
    plain.At(18, 20) = 200;
    plain.Call().hits.nSize = 2;
    const CKernelOutcome outcome = plain.Run();
    ASSERT_EQ(outcome.nReturned, 2);
    EXPECT_EQ(outcome.aPairs[0].ptDefect.x, 1);
    EXPECT_EQ(outcome.aPairs[1].ptDefect.x, 18);
    EXPECT_EQ(outcome.nEndLine, 48);
}

TEST(ZoneKernels, HitsAtTheStartTakePartInTheFirstStripOnly)
{
    CPlainScene plain(ZoneKernel::Vert, 32, 40, 5 * 16);
    plain.At(7, 20) = 200; // hits in rows 15 and 20
    CStartHit hit;
    hit.x = 7;
    hit.y = 10; // its partner is the hit in row 15, of the other type
    hit.nType = 1;
    plain.scene.aStartHits = {hit};
    const CKernelOutcome outcome = plain.Run();
    ASSERT_EQ(outcome.nReturned, 1);
    ExpectRecord(outcome.aPairs[0], 2, 1, 7, 15, 0, 90, 100, 200, 0, 10);
}

// --- the walk over the zone cells ---

/// The zone of every hit in the last strip, column 0 of it, when each map line has its number as zone.
std::vector<int> MapLinesOfLastStrip(CPlainScene& plain)
{
    plain.SetThreshold(-1);
    const std::int64_t nStride = plain.Call().nMapStride;
    for (std::size_t i = 0; i < plain.aZoneIndex.size(); i++)
        plain.aZoneIndex[i] = static_cast<std::int16_t>(static_cast<std::int64_t>(i) / nStride);
    const CKernelOutcome outcome = plain.Run();
    std::vector<int> aLines;
    for (std::size_t i = 0; i < static_cast<std::size_t>(CountHits(outcome)); i += 16)
        aLines.push_back(outcome.aZoneIndex[i]);
    return aLines;
}

TEST(ZoneCellWalk, FirstCellRowLiesOneGridRowBelowTheTableAndTheLastOneStretches)
{
    CPlainScene plain(ZoneKernel::Vert, 16, 40, 16);
    plain.Call().nCellHeight = 8;
    plain.SetOrigins(1, {0, -8, 0, 0, 0, 8, 0, 16, 0, 24, 0, 32});
    const std::vector<int> aLines = MapLinesOfLastStrip(plain);
    ASSERT_EQ(aLines.size(), 37U); // rows 0 to 40 - 2 - 1 - 1
    for (int y = 0; y < 37; y++)
        // The cell at 24 reaches to 40, since 24 + 16 is at or above 39.
        EXPECT_EQ(aLines[static_cast<std::size_t>(y)], y < 24 ? y % 8 : y - 24) << "row " << y;
}

TEST(ZoneCellWalk, RowStepsOfALaterStripLagByOneLine)
{
    CPlainScene plain(ZoneKernel::Vert, 32, 40, 16);
    plain.Call().nCellHeight = 8;
    plain.SetOrigins(1, {0, -8, 0, 0, 0, 8, 0, 16, 0, 24, 0, 32});
    const std::vector<int> aLines = MapLinesOfLastStrip(plain);
    ASSERT_EQ(aLines.size(), 37U);
    EXPECT_EQ(aLines[7], 7);
    EXPECT_EQ(aLines[8], 8); // the first step lands on the cell at 0 again
    EXPECT_EQ(aLines[9], 1); // and the next line steps on
    EXPECT_EQ(aLines[15], 7);
    EXPECT_EQ(aLines[16], 0);
}

TEST(ZoneCellWalk, LaggingLineContinuesWhenTheFirstUsedCellStretches)
{
    CPlainScene plain(ZoneKernel::Vert, 32, 20, 16);
    plain.Call().nCellHeight = 10;
    plain.SetOrigins(1, {0, -10, 0, 0, 0, 10, 0, 20});
    const std::vector<int> aLines = MapLinesOfLastStrip(plain);
    ASSERT_EQ(aLines.size(), 17U);
    EXPECT_EQ(aLines[9], 9);
    for (int y = 10; y < 17; y++)
        EXPECT_EQ(aLines[static_cast<std::size_t>(y)], y); // back on the cell at 0, which now reaches to 20
}

TEST(ZoneCellWalk, ColumnStepTakesTheFirstUsedRowWithoutLag)
{
    CPlainScene plain(ZoneKernel::Vert, 32, 40, 16);
    plain.Call().nCellHeight = 8;
    plain.Call().nCellWidth = 16;
    plain.SetOrigins(2, {0, -8, 16, -8, 0, 0, 16, 0, 0, 8, 16, 8, 0, 16, 16, 16, 0, 24, 16, 24, 0, 32, 16, 32});
    const std::vector<int> aLines = MapLinesOfLastStrip(plain);
    EXPECT_EQ(aLines[8], 0);
    EXPECT_EQ(aLines[9], 1);
}

TEST(ZoneCellWalk, CellsOfTheLargestSizeWork)
{
    for (const ZoneKernel eKernel : {ZoneKernel::Vert, ZoneKernel::Hori, ZoneKernel::VertFlag})
    {
        CPlainScene plain(eKernel, 64, 40, 5 * 16);
        plain.Call().nCellWidth = plain.Call().nCellHeight = std::numeric_limits<int>::max();
        plain.At(20, 20) = 200;
        EXPECT_EQ(plain.Run().nReturned, 1) << KernelName(eKernel);
    }
}

// --- flags ---

TEST(ZoneFlags, SkippedCellIsNotCompared)
{
    CPlainScene plain(ZoneKernel::VertFlag, 64, 40, 5 * 16);
    plain.Call().nCellWidth = 32;
    plain.SetOrigins(4, {0, 0, 0, 32, 0, 0, 64, 0, 0, 96, 0, 0, //
                         0, 0, 0, 32, 0, 7, 64, 0, 0, 96, 0, 0});
    plain.At(20, 20) = 200;
    plain.At(50, 20) = 200;
    const CKernelOutcome outcome = plain.Run();
    ASSERT_EQ(outcome.nReturned, 1);
    EXPECT_EQ(outcome.aPairs[0].ptDefect.x, 20);
}

TEST(ZoneFlags, ChangeToASkippedCellComesOneStripEarlyIfItsFlagIsExactlyOne)
{
    for (const int nSkip : {1, 2})
    {
        CPlainScene plain(ZoneKernel::VertFlag, 144, 40, 5 * 16);
        plain.Call().nCellWidth = 48;
        // The entry cell is never shortened; the second one is, before the third.
        plain.SetOrigins(4, {0, 0, 0, 48, 0, 0, 96, 0, 0,     144, 0, 0, //
                             0, 0, 0, 48, 0, 0, 96, 0, nSkip, 144, 0, 0});
        plain.At(40, 20) = 200; // entry cell, last strip
        plain.At(70, 20) = 200; // second cell, strip 64 to 79
        plain.At(85, 20) = 200; // second cell, last strip: 80 to 95
        plain.At(100, 20) = 200;
        const CKernelOutcome outcome = plain.Run();
        // Without the pull-in the second cell stretches: 48 + 96 reaches the end.
        EXPECT_EQ(outcome.nReturned, nSkip == 1 ? 2 : 4);
    }
}

TEST(ZoneFlags, FlaggedKernelComparesOneRowMoreThanThePlainOne)
{
    CPlainScene plain(ZoneKernel::Vert, 16, 40, 5 * 16);
    plain.SetThreshold(-1);
    EXPECT_EQ(CountHits(plain.Run()), 33 * 16);
    for (const ZoneKernel eKernel : {ZoneKernel::VertFlag, ZoneKernel::VertDirect, ZoneKernel::Vert2by2})
    {
        CPlainScene more(eKernel, 20, 40, 5 * 16);
        more.Call().region = {0, 0, 16, 39}; // leaves the means their extra row and column
        more.SetThreshold(-1);
        EXPECT_EQ(CountHits(more.Run()), 33 * 16) << KernelName(eKernel);
    }
}

// --- other sources, references and thresholds ---

TEST(ZoneMeans, SampleIsTheMeanOfTwoByTwoPixelsRoundedDown)
{
    CPlainScene plain(ZoneKernel::Vert2by2, 40, 40, 5 * 16);
    plain.Call().region = {0, 0, 32, 38};
    plain.At(8, 20) = 203; // (203 + 3 x 100) >> 2 = 125
    const CKernelOutcome outcome = plain.Run();
    ASSERT_EQ(outcome.nReturned, 4); // at (7, 19), (8, 19), (7, 20), (8, 20)
    ExpectRecord(outcome.aPairs[0], 2, 1, 7, 19, 1, 15, 125, 100, 0, 10);
    ExpectRecord(outcome.aPairs[3], 2, 1, 8, 20, 1, 15, 125, 100, 0, 10);
}

TEST(ZoneKnee, UpperSegmentAppliesAboveTheKneeAndGreysAreNotLimited)
{
    CPlainScene plain(ZoneKernel::VertKnee, 16, 40, 5 * 16);
    const std::vector<std::int16_t> aKnee(plain.aImage.size(), 150);
    const std::vector<std::int16_t> aOffset2(plain.aImage.size(), 45);
    plain.Call().pKneeMap = aKnee.data();
    plain.Call().pOffsetMap2 = aOffset2.data();
    plain.Call().nGrayLimit = 50;
    plain.At(3, 20) = 150; // at the knee: first segment
    plain.At(5, 20) = 151; // above: second
    const CKernelOutcome outcome = plain.Run();
    ASSERT_EQ(outcome.nReturned, 2);
    ExpectRecord(outcome.aPairs[0], 2, 1, 3, 20, 1, 40, 150, 100, 0, 10);
    ExpectRecord(outcome.aPairs[1], 2, 1, 5, 20, 1, 6, 151, 100, 0, 45);
}

TEST(ZoneDirect, SingleOfAnyPeakIsKept)
{
    for (const ZoneKernel eKernel : {ZoneKernel::VertDirect, ZoneKernel::VertKnee, ZoneKernel::Hori})
    {
        CPlainScene plain(eKernel, 64, 64, 5 * 16);
        plain.Call().nThresholdExtra = 1000;
        plain.At(2, 2) = 111;
        EXPECT_EQ(plain.Run().nReturned, 1) << KernelName(eKernel);
    }
}

TEST(ZoneVtd, OnlyTheFractionOfTheShiftTakesEffect)
{
    CPlainScene plain(ZoneKernel::Vtd, 40, 40, 5 * 16);
    plain.Call().region = {0, 0, 32, 40};
    plain.Call().nVtdPitch16 = 3 * 16 + 4;
    plain.At(8, 20) = 200;
    const CKernelOutcome outcome = plain.Run();
    // Row 15: column 8 sees 12/16 of it, column 7 sees 4/16: both darker. Row 20: column 8 alone.
    ASSERT_EQ(outcome.nReturned, 1);
    ExpectRecord(outcome.aPairs[0], 2, 1, 8, 20, 1, 90, 200, 100, 0, 10);
}

TEST(ZoneVtd, RowTableMovesTheComparisonButNotTheSearchForThePartner)
{
    CPlainScene plain(ZoneKernel::Vtd, 16, 64, 5 * 16);
    const std::vector<int> aTable = {5 * 16, 7 * 16, 5 * 16, 5 * 16};
    plain.Call().pScanPitchTable = aTable.data();
    plain.At(4, 28) = 200; // row 21 compares 7 rows on; row 28 is 7 rows on, the search goes 5
    plain.At(9, 10) = 200;
    const CKernelOutcome outcome = plain.Run();
    ASSERT_EQ(outcome.nReturned, 1);
    EXPECT_EQ(outcome.aPairs[0].ptDefect.y, 10);
}

TEST(ZoneVtd, TableEntriesCountFromTheRegionsTop)
{
    CPlainScene plain(ZoneKernel::Vtd, 16, 64, 5 * 16);
    const std::vector<int> aTable = {0, 5 * 16, 6 * 16, 5 * 16};
    plain.Call().pScanPitchTable = aTable.data();
    plain.Call().region = {0, 24, 16, 64};
    plain.At(4, 45) = 200; // row 39 is the last of the 16 rows of entry 1; row 40 takes entry 2
    plain.At(9, 46) = 200;
    const CKernelOutcome outcome = plain.Run();
    // (4, 45): row 40 looks 5 rows on to it only under entry 1, which ended; row 39 takes 5 and sees row 44.
    // (9, 46): row 40 sees it under entry 2; the search from 40 goes to 45.
    ASSERT_EQ(CountHits(outcome), 3);
    EXPECT_EQ(outcome.aY[0], 40);
    EXPECT_EQ(outcome.aX[0], 9);
    EXPECT_EQ(outcome.nReturned, 0);
}

TEST(ZoneHorizontal, PairLiesInOneRowAndTheEndLineIsBottomPlusOne)
{
    CPlainScene plain(ZoneKernel::Hori, 64, 20, 5 * 16);
    plain.At(20, 11) = 30;
    const CKernelOutcome outcome = plain.Run();
    ASSERT_EQ(outcome.nReturned, 1);
    ExpectRecord(outcome.aPairs[0], 2, 1, 20, 11, 0, 60, 30, 100, 0, 10);
    EXPECT_EQ(outcome.nEndLine, 21);
}

TEST(ZoneHorizontal, FullPairArrayStopsAfterItsRow)
{
    CPlainScene plain(ZoneKernel::Hori, 64, 20, 5 * 16);
    plain.At(20, 11) = 30;
    plain.At(20, 14) = 30;
    plain.Call().pairs.nSize = 1;
    const CKernelOutcome outcome = plain.Run();
    EXPECT_EQ(outcome.nReturned, 1);
    EXPECT_EQ(outcome.nEndLine, 12); // the consumed hit of row 11 meets the full array
}

TEST(ZoneHorizontal, UnusablePartnerDoesNotPreventASingleInTheFirstBand)
{
    CPlainScene plain(ZoneKernel::Hori, 64, 20, 5 * 16);
    plain.At(2, 11) = 200;
    plain.At(7, 11) = 150; // one pitch on and of the same type
    const CKernelOutcome outcome = plain.Run();
    ASSERT_EQ(outcome.nReturned, 1);
    ExpectRecord(outcome.aPairs[0], 1, 5, 2, 11, 1, 40, 200, 150, 0, 10);
}

TEST(ZoneHorizontal, FirstCellIsTheTablesOwnFirstRecordAndNothingLags)
{
    CPlainScene plain(ZoneKernel::Hori, 64, 40, 5 * 16);
    plain.SetThreshold(-1);
    plain.Call().nCellHeight = 10;
    plain.Call().region.nRight = 32; // one group: (32 - 5) with the low bits cleared
    plain.SetOrigins(1, {0, 0, 0, 10, 0, 20, 0, 30, 0, 40});
    for (std::size_t i = 0; i < plain.aZoneIndex.size(); i++)
        plain.aZoneIndex[i] = static_cast<std::int16_t>(i / 64);
    plain.Call().pairs.nSize = 1000;
    const CKernelOutcome outcome = plain.Run();
    ASSERT_EQ(CountHits(outcome), 16);
    EXPECT_EQ(outcome.aY[0], 39);
    EXPECT_EQ(outcome.aZoneIndex[0], 9); // 20 + 20 is not above 40, so the cell at 30 has its turn
}

TEST(ZoneHorizontalTable, EightWeightsServeBothHalvesOfSixteenColumns)
{
    CPlainScene plain(ZoneKernel::HoriTable, 64, 4, 5 * 16);
    std::vector<std::uint16_t> aPitch(64, 5);
    std::vector<std::int16_t> aNear(64, 16);
    std::vector<std::int16_t> aFar(64, 0);
    aNear[2] = 8; // lane 2 of the first group: columns 2 and 10
    for (std::size_t i = 8; i < 16; i++)
        aNear[i] = -1; // never read
    plain.Call().pConvPitchTable = aPitch.data();
    plain.Call().pConvWeightNear = aNear.data();
    plain.Call().pConvWeightFar = aFar.data();
    plain.Call().region.nBottom = 1;
    const CKernelOutcome outcome = plain.Run();
    ASSERT_EQ(CountHits(outcome), 2);
    EXPECT_EQ(outcome.aX[0], 2);
    EXPECT_EQ(outcome.aCmpGray[0], 50);
    EXPECT_EQ(outcome.aX[1], 10);
}

// --- the engine's own kernels ---

TEST(ZoneMembers, DeadZoneAfterAnEmptyOneIsIgnored)
{
    CPlainScene plain(ZoneKernel::Vert2S, 16, 40, 5 * 16);
    plain.At(7, 20) = 200;
    plain.scene.param.rtDeadZone[1].SetRect(0, 0, 16, 40);
    EXPECT_EQ(plain.Run().nReturned, 1);
    plain.scene.param.rtDeadZone[0].SetRect(0, 0, 1, 1);
    EXPECT_EQ(plain.Run().nReturned, 0);
}

TEST(ZoneMembers, DeadZoneLeavesThePartnerFreeAndItsFarSidesAreOutside)
{
    CPlainScene plain(ZoneKernel::Vert2S, 16, 40, 5 * 16);
    plain.At(7, 20) = 200;
    plain.scene.param.rtDeadZone[0].SetRect(7, 20, 8, 21);
    const CKernelOutcome inside = plain.Run();
    EXPECT_EQ(inside.nReturned, 0);
    EXPECT_EQ(inside.aType[1], 1);
    plain.scene.param.rtDeadZone[0].SetRect(0, 0, 7, 40);
    EXPECT_EQ(plain.Run().nReturned, 1);
    plain.scene.param.rtDeadZone[0].SetRect(0, 0, 16, 20);
    EXPECT_EQ(plain.Run().nReturned, 1);
}

TEST(ZoneMembers, TenDeadZonesWithNoneEmptyCountAsNone)
{
    CPlainScene plain(ZoneKernel::Vert2S, 16, 40, 5 * 16);
    plain.At(7, 20) = 200;
    for (CRect& rt : plain.scene.param.rtDeadZone)
        rt.SetRect(0, 0, 16, 40);
    EXPECT_EQ(plain.Run().nReturned, 1);
    plain.scene.param.rtDeadZone[9].SetRectEmpty();
    EXPECT_EQ(plain.Run().nReturned, 0);
}

TEST(ZoneMembers, PeaksAreNotWrittenAndSinglesNeedNone)
{
    CPlainScene plain(ZoneKernel::Vert2S, 16, 40, 5 * 16);
    plain.Call().nThresholdExtra = 1000;
    plain.At(3, 2) = 111;
    const CKernelOutcome outcome = plain.Run();
    ASSERT_EQ(outcome.nReturned, 1);
    ExpectRecord(outcome.aPairs[0], 1, 5, 3, 2, 1, nUntouched, 111, 100, 0, 10);
    EXPECT_EQ(outcome.aPeak[0], nShortUntouched);
}

TEST(ZoneTsp, ZoneTablesReplaceTheMaps)
{
    int aTsp[CConvParam::nZoneLimit] = {0, 30, 50, 300};
    int aTsp2[CConvParam::nZoneLimit] = {0, 0, 128, 0};
    CPlainScene plain(ZoneKernel::Vert2STsp, 16, 40, 5 * 16);
    plain.scene.param.pTspTable = aTsp;
    plain.scene.param.pTspTable2 = aTsp2;
    plain.SetThreshold(32767); // not read
    for (std::size_t y = 0; y < 40; y++)
    {
        plain.aZoneIndex[y * 16 + 4] = 1;
        plain.aZoneIndex[y * 16 + 5] = 1;
        plain.aZoneIndex[y * 16 + 8] = 2;
    }
    plain.At(2, 20) = 130; // m 30 is not above the smallest entry, 30
    plain.At(3, 20) = 131; // zone 0: entry 0 and gain 0, a hit of 31 stands
    plain.At(4, 20) = 131; // zone 1: 31 > 30
    plain.At(8, 20) = 200; // zone 2: 200 x 128 / 256 + 50 = 150, refused
    const CKernelOutcome outcome = plain.Run();
    ASSERT_EQ(outcome.nReturned, 2);
    ExpectRecord(outcome.aPairs[0], 2, 1, 3, 20, 1, nUntouched, 131, 100, 0, 0);
    ExpectRecord(outcome.aPairs[1], 2, 1, 4, 20, 1, nUntouched, 131, 100, 1, 30);
    ASSERT_EQ(CountHits(outcome), 6);
    EXPECT_EQ(outcome.aX[5], 8);
    EXPECT_EQ(outcome.aType[5], 1); // the refused record leaves its partner free
}

TEST(ZoneTsp, WithoutAnEntryBelow256NothingHits)
{
    int aTsp[CConvParam::nZoneLimit] = {256, 300, 0, 0};
    CPlainScene plain(ZoneKernel::Vert2STsp, 16, 40, 5 * 16);
    plain.scene.param.pTspTable = aTsp;
    plain.FillRows(20, 21, 0);
    plain.FillRows(25, 26, 255);
    EXPECT_EQ(CountHits(plain.Run()), 0);
}

TEST(ZoneBlackFilter, DarkRecordMustExceedTheSecondThresholdAndBrightOnesPass)
{
    CPlainScene plain(ZoneKernel::Vert2SBlack, 16, 40, 5 * 16);
    plain.scene.param.nBlackFilterGray = 20;
    plain.scene.param.nBlackFilterGain = 26; // 100 x 26 / 256 = 10
    plain.At(2, 20) = 70;                    // 30 is not above 30
    plain.At(4, 20) = 69;
    plain.At(6, 20) = 115; // bright: 15 above 10
    const CKernelOutcome outcome = plain.Run();
    ASSERT_EQ(outcome.nReturned, 2);
    ExpectRecord(outcome.aPairs[0], 2, 1, 4, 20, 0, nUntouched, 69, 100, 0, 30);
    ExpectRecord(outcome.aPairs[1], 2, 1, 6, 20, 1, nUntouched, 115, 100, 0, 10);
    ASSERT_EQ(CountHits(outcome), 6);
    EXPECT_EQ(outcome.aThreshold[4], 30); // the hit of the record
    EXPECT_EQ(outcome.aThreshold[3], 10); // the refused one
    EXPECT_EQ(outcome.aType[3], 0);
}

TEST(ZoneVertical, EndLineOfARegionWithoutStripsLiesWhereItsStripsWouldEnd)
{
    for (const auto& [nLeft, nRight, nEndLine] :
         {std::tuple{32, 40, 48}, std::tuple{32, 32, 48}, std::tuple{32, 22, 32}, std::tuple{40, 7, 8}})
    {
        CPlainScene plain(ZoneKernel::Vert, 64, 40, 5 * 16);
        plain.Call().region.nLeft = nLeft;
        plain.Call().region.nRight = nRight;
        EXPECT_EQ(plain.Run().nEndLine, nEndLine) << nLeft << " to " << nRight;
    }
}

// --- the wide library's names ---

TEST(ZoneClassId, SubZoneIsTheLowFourBitsAtThePlaceOfTheRecordsHit)
{
    for (const ZoneKernel eKernel : {ZoneKernel::ClassId, ZoneKernel::ClassIdTable})
    {
        CPlainScene plain(eKernel, 16, 40, 5 * 16);
        std::vector<std::int16_t> aClass(plain.aImage.size());
        for (std::size_t i = 0; i < aClass.size(); i++)
            aClass[i] = static_cast<std::int16_t>(i / 16 + 32);
        plain.At(3, 2) = 200;
        plain.At(7, 20) = 200;
        plain.At(9, 37) = 200;
        plain.Call().pClassIdMap = aClass.data();
        const CKernelOutcome outcome = plain.Run();
        ASSERT_EQ(outcome.nReturned, 3);
        EXPECT_EQ(outcome.aPairs[0].nSubZone, 2);
        EXPECT_EQ(outcome.aPairs[1].nSubZone, 20 & 15);
        EXPECT_EQ(outcome.aPairs[2].nSubZone, 32 & 15); // the hit lies in row 32

        plain.Call().pClassIdMap = nullptr;
        EXPECT_EQ(plain.Run().aPairs[1].nSubZone, nUntouched);
    }
}

TEST(ZoneClassId, PitchInPixelsIsTruncatedToSixteenths)
{
    CPlainScene plain(ZoneKernel::ClassId, 16, 40, 5 * 16 + 3);
    plain.At(7, 20) = 200;
    plain.scene.bDoublePitch = true;
    plain.scene.dPitchRemainder = 0.9;
    EXPECT_EQ(plain.Run().nReturned, 1);
}

TEST(ZoneKernels, SubZoneIsNotWrittenByOtherKernels)
{
    CPlainScene plain(ZoneKernel::Vert, 16, 40, 5 * 16);
    plain.At(7, 20) = 200;
    EXPECT_EQ(plain.Run().aPairs[0].nSubZone, nUntouched);
}

} // namespace
} // namespace narvo::test
