// SPDX-License-Identifier: MIT
// The rules of the float kernels on hand-worked images. Each holds for every way to run a kernel: the plain reference
// and the library at each vector level.
#include <algorithm>

#include <gtest/gtest.h>

#include "fast/float_scene.h"
#include "fast/picture.h"

namespace narvo::test
{
namespace
{

// Along the compare direction a pitch of 10 leaves these bands:
// horizontal, 112 wide: compared up to 95, first band below 10, last band above 86;
// vertical, 64 high:    compared up to 51, first band below 10, last band above 42.
constexpr int nPitch = 10;
constexpr int nWide = 112;
constexpr int nHigh = 64;

CKernelOutcome RunScene(const CFloatScene& scene)
{
    CKernelOutcome outcome;
    FloatKernels::GetParam().fnRun(scene, outcome);
    return outcome;
}

CKernelOutcome RunRegion(const CFloatRegionScene& scene)
{
    CKernelOutcome outcome;
    FloatKernels::GetParam().fnRunRegion(scene, outcome);
    return outcome;
}

/// Tables that are equivalent to a fixed pitch.
struct CPlainTables
{
    std::vector<std::uint16_t> aDisplacement = std::vector<std::uint16_t>(nWide + 16, nPitch);
    std::vector<std::int16_t> aNear = std::vector<std::int16_t>(nWide + 16, 16);
    std::vector<std::int16_t> aFar = std::vector<std::int16_t>(nWide + 16, 0);
};

const CPlainTables& PlainTables()
{
    static const CPlainTables tables;
    return tables;
}

CFloatScene SceneOn(const CPicture& picture, FloatKernel eKernel, const engine::CRegion& region)
{
    CFloatScene scene;
    scene.eKernel = eKernel;
    scene.call.image = picture.View();
    scene.call.region = region;
    scene.call.hits.nSize = 4000;
    scene.call.pairs.nSize = 400;
    scene.call.nPitch16 = nPitch * 16;
    scene.call.first.nBase = 10;
    scene.call.nGrayLimit = 255;
    scene.call.pConvPitchTable = PlainTables().aDisplacement.data();
    scene.call.pConvWeightNear = PlainTables().aNear.data();
    scene.call.pConvWeightFar = PlainTables().aFar.data();
    scene.param.nThreshold = 10;
    scene.param.bKeepSingle = 1;
    return scene;
}

/// The picture and region of most tests: one row, or one strip.
CPicture PictureFor(FloatKernel eKernel, std::uint8_t nGrey = 100)
{
    return IsHorizontal(eKernel) ? CPicture(nWide + 16, 8, nGrey) : CPicture(32, nHigh, nGrey);
}

engine::CRegion RegionFor(FloatKernel eKernel)
{
    return IsHorizontal(eKernel) ? engine::CRegion{0, 3, nWide, 4} : engine::CRegion{0, 0, 16, nHigh};
}

/// Areas 6 and 9 of a column scan see an empty row above the first: a hit in each column, and a single.
int SinglesOfTheFirstRow(FloatKernel eKernel)
{
    return !IsHorizontal(eKernel) && WindowArea(eKernel) != 4 ? 16 : 0;
}

std::vector<CPoint> PointsOf(const CKernelOutcome& outcome)
{
    std::vector<CPoint> aPoints;
    for (int i = 0; i < outcome.nReturned; i++)
        aPoints.push_back(outcome.aPairs[static_cast<std::size_t>(i)].ptDefect);
    return aPoints;
}

TEST_P(FloatKernels, OneBrightPixelGivesAPairForEachWindowThatHoldsIt)
{
    for (const FloatKernel eKernel : AllFloatKernels())
    {
        SCOPED_TRACE(KernelName(eKernel));
        const bool bHorizontal = IsHorizontal(eKernel);
        const int nArea = WindowArea(eKernel);
        CPicture picture = PictureFor(eKernel);
        picture.At(bHorizontal ? 40 : 7, bHorizontal ? 3 : 40) = 200;
        const CKernelOutcome outcome = RunScene(SceneOn(picture, eKernel, RegionFor(eKernel)));

        // Along a row the region's single line has two or three columns of windows; a strip holds all windows.
        const int nWindows = bHorizontal ? (nArea == 4 ? 2 : 3) : nArea;
        const int nFirst = SinglesOfTheFirstRow(eKernel);
        ASSERT_EQ(outcome.nReturned, nFirst + nWindows);
        const CDefectPair& pair = outcome.aPairs[static_cast<std::size_t>(nFirst / 2)]; // after the left half's singles
        EXPECT_EQ(pair.nDefectPos, DefectPos_Middle);
        EXPECT_EQ(pair.nDefectPair, DefectPair_Paired);
        EXPECT_EQ(pair.nDefectType, 1);
        EXPECT_EQ(pair.nSrcGray, 100 + 100 / nArea);
        EXPECT_EQ(pair.nCmpGray, 100);
        EXPECT_EQ(pair.nPeak, 100 / nArea);
        EXPECT_EQ(pair.nThreshold, nArea == 4 ? 2 : 1);
        EXPECT_EQ(pair.nZoneIndex, nUntouched);
        EXPECT_EQ(pair.nSubZone, nUntouched);
        EXPECT_EQ(outcome.aZoneIndex[0], nUntouched);
        EXPECT_EQ(outcome.nEndLine, bHorizontal ? 5 : 32);
    }
}

TEST_P(FloatKernels, WindowsExtendDownAndRightOfTheirPixelAndAroundItInTheLargeColumnScans)
{
    CPicture picture = PictureFor(FloatKernel::Vert4);
    picture.At(7, 40) = 200;
    const std::vector<CPoint> a4 = {{6, 39}, {7, 39}, {6, 40}, {7, 40}};
    EXPECT_EQ(PointsOf(RunScene(SceneOn(picture, FloatKernel::Vert4, RegionFor(FloatKernel::Vert4)))), a4);

    std::vector<CPoint> aFound =
        PointsOf(RunScene(SceneOn(picture, FloatKernel::Vert6, RegionFor(FloatKernel::Vert6))));
    aFound.erase(aFound.begin(), aFound.begin() + 8); // singles of the left half; the right half's come last
    const std::vector<CPoint> a6 = {{6, 39}, {7, 39}, {6, 40}, {7, 40}, {6, 41}, {7, 41}};
    EXPECT_EQ(std::vector<CPoint>(aFound.begin(), aFound.begin() + 6), a6);

    picture.At(7, 40) = 100;
    picture.At(4, 40) = 200;
    aFound = PointsOf(RunScene(SceneOn(picture, FloatKernel::Vert9, RegionFor(FloatKernel::Vert9))));
    const std::vector<CPoint> a9 = {{2, 39}, {3, 39}, {4, 39}, {2, 40}, {3, 40}, {4, 40}, {2, 41}, {3, 41}, {4, 41}};
    EXPECT_EQ(std::vector<CPoint>(aFound.begin() + 8, aFound.begin() + 17), a9);
}

TEST_P(FloatKernels, WithoutAFractionTheFourthLineOfTheLargeWindowsHasNoWeight)
{
    for (const FloatKernel eKernel : {FloatKernel::Vert6, FloatKernel::Hori6})
    {
        SCOPED_TRACE(KernelName(eKernel));
        const bool bHorizontal = IsHorizontal(eKernel);
        CPicture picture = PictureFor(eKernel);
        // One line brighter than all others: the window one line before it must not see it.
        picture.Fill(bHorizontal ? 40 : 0, bHorizontal ? 0 : 40, bHorizontal ? 41 : 32, bHorizontal ? 8 : 41, 200);
        CFloatScene scene = SceneOn(picture, eKernel, RegionFor(eKernel));
        // Windows of three lines: in the compare position, 29 .. 31 along a column and 28 .. 30 along a row.
        const int nBefore = bHorizontal ? 27 : 28;
        const auto sees = [&](const CKernelOutcome& outcome)
        {
            const std::vector<int>& a = bHorizontal ? outcome.aX : outcome.aY;
            return std::count(a.begin(), a.end(), nBefore) > 0;
        };
        EXPECT_FALSE(sees(RunScene(scene)));
        scene.call.nPitch16++; // a sixteenth of a line of 3 x 33 grey levels
        EXPECT_TRUE(sees(RunScene(scene)));
    }
}

TEST_P(FloatKernels, ADifferenceThatNoLongerFitsASignedLaneIsNoHit)
{
    CPicture picture(32, nHigh, 0);
    picture.Fill(0, 40, 32, nHigh, 255);
    CFloatScene scene = SceneOn(picture, FloatKernel::Vert9, RegionFor(FloatKernel::Vert9));
    scene.call.nGrayLimit = 255;
    CKernelOutcome outcome = RunScene(scene);
    // Rows 31 to 38 hold dark sources and bright compare windows: 36720 units apart.
    EXPECT_EQ(std::count(outcome.aY.begin(), outcome.aY.end(), 35), 0);
    EXPECT_EQ(std::count(outcome.aY.begin(), outcome.aY.end(), 30), 16); // two thirds of it are one
    scene.call.nGrayLimit = 227;
    outcome = RunScene(scene);
    EXPECT_EQ(std::count(outcome.aY.begin(), outcome.aY.end(), 35), 16);
    EXPECT_EQ(outcome.aCmpGray[static_cast<std::size_t>(std::find(outcome.aY.begin(), outcome.aY.end(), 35) -
                                                        outcome.aY.begin())],
              227 * 144);
}

TEST_P(FloatKernels, TheHitStageTakesTheBaseInWholeGreyLevels)
{
    // A window sum that differs by nSum counts as nSum x 16 units.
    const auto found = [](FloatKernel eKernel, int nSum)
    {
        CPicture picture = PictureFor(eKernel);
        picture.At(7, 40) = static_cast<std::uint8_t>(100 + nSum);
        CFloatScene scene = SceneOn(picture, eKernel, RegionFor(eKernel));
        return RunScene(scene).nReturned - SinglesOfTheFirstRow(eKernel);
    };
    EXPECT_EQ(found(FloatKernel::Vert4, 8), 0); // base of 2 levels, 128 units
    EXPECT_EQ(found(FloatKernel::Vert4, 9), 4);
    EXPECT_EQ(found(FloatKernel::Vert6, 6), 0); // 1 level, 96 units
    EXPECT_EQ(found(FloatKernel::Vert6, 7), 6);
    EXPECT_EQ(found(FloatKernel::Vert9, 9), 0); // 1 level, 144 units
    EXPECT_EQ(found(FloatKernel::Vert9, 10), 9);
    // The members judge a record with the fraction: 160 units.
    EXPECT_EQ(found(FloatKernel::VertIntrin, 10), 0);
    EXPECT_EQ(found(FloatKernel::VertIntrin, 11), 4);
    EXPECT_EQ(found(FloatKernel::VtdIntrin, 10), 0);
    EXPECT_EQ(found(FloatKernel::VtdIntrin, 11), 4);
}

TEST_P(FloatKernels, TheGainOfTheLargeWindowsWorksOnThreeQuartersOfTheSource)
{
    CPicture picture = PictureFor(FloatKernel::Vert6);
    picture.At(7, 40) = 220; // hits of 1920 units
    CFloatScene scene = SceneOn(picture, FloatKernel::Vert6, RegionFor(FloatKernel::Vert6));
    scene.call.first.nBase = 6;
    scene.call.first.nGain = 64;
    const CKernelOutcome outcome = RunScene(scene);
    const auto itHit = std::find(outcome.aY.begin(), outcome.aY.end(), 29);
    ASSERT_NE(itHit, outcome.aY.end());
    // The source there is 9600: (75 x 64) / 256 + 1 is 19 levels; the brighter compare window has no effect.
    EXPECT_EQ(outcome.aThreshold[static_cast<std::size_t>(itHit - outcome.aY.begin())], 19 * 96);
}

TEST_P(FloatKernels, TheMembersTakeTheDarkBaseInGreyLevelsAndTheBrightOneInQuarters)
{
    for (const FloatKernel eKernel : {FloatKernel::VertIntrin, FloatKernel::VtdIntrin})
    {
        SCOPED_TRACE(KernelName(eKernel));
        const auto found = [eKernel](int nSum)
        {
            CPicture picture = PictureFor(eKernel);
            picture.At(7, 40) = static_cast<std::uint8_t>(100 + nSum);
            CFloatScene scene = SceneOn(picture, eKernel, RegionFor(eKernel));
            scene.call.first.nBase = 5;
            scene.param.nBlackFilterGray = 5;
            return RunScene(scene).nReturned;
        };
        EXPECT_EQ(found(-20), 0); // five levels
        EXPECT_EQ(found(-21), 4);
        EXPECT_EQ(found(5), 0); // a level and a quarter
        EXPECT_EQ(found(6), 4);
    }
}

TEST_P(FloatKernels, ADeadZoneGivesNoRecordAndLeavesThePartnerFree)
{
    CPicture picture = PictureFor(FloatKernel::VertIntrin);
    picture.At(7, 40) = 200;
    CFloatScene scene = SceneOn(picture, FloatKernel::VertIntrin, RegionFor(FloatKernel::VertIntrin));
    scene.param.rtDeadZone[0] = CRect(0, 39, 16, 41);
    CKernelOutcome outcome = RunScene(scene);
    EXPECT_EQ(outcome.nReturned, 0);
    EXPECT_EQ(std::count(outcome.aType.begin(), outcome.aType.end(), 4), 0);
    EXPECT_EQ(outcome.aThreshold[4], 128); // the record's threshold was not computed
    scene.param.rtDeadZone[0] = CRect(0, 39, 7, 41);
    outcome = RunScene(scene);
    EXPECT_EQ(outcome.nReturned, 2);
    EXPECT_EQ(std::count(outcome.aType.begin(), outcome.aType.end(), 4), 2);
}

TEST_P(FloatKernels, AHitOfTheLastBandGivesAMirroredSingleOnePitchOn)
{
    for (const FloatKernel eKernel : AllFloatKernels())
    {
        SCOPED_TRACE(KernelName(eKernel));
        const bool bHorizontal = IsHorizontal(eKernel);
        CPicture picture = PictureFor(eKernel);
        const int nFirstSingles = SinglesOfTheFirstRow(eKernel);
        picture.At(bHorizontal ? 100 : 7, bHorizontal ? 3 : 58) = 200;
        const CKernelOutcome outcome = RunScene(SceneOn(picture, eKernel, RegionFor(eKernel)));
        ASSERT_GT(outcome.nReturned, nFirstSingles);
        const CDefectPair& pair = outcome.aPairs[static_cast<std::size_t>(nFirstSingles / 2)];
        EXPECT_EQ(pair.nDefectPos, DefectPos_Last);
        EXPECT_EQ(pair.nDefectPair, DefectPair_Single);
        EXPECT_EQ(pair.nDefectType, 1);
        EXPECT_EQ(pair.nCmpGray, 100);
        EXPECT_GT(pair.nSrcGray, 100);
        EXPECT_EQ(bHorizontal ? outcome.aX[0] + nPitch
                              : outcome.aY[static_cast<std::size_t>(nFirstSingles / 2)] + nPitch,
                  bHorizontal ? pair.ptDefect.x : pair.ptDefect.y);
    }
}

TEST_P(FloatKernels, SinglesAreKeptByTheFastKernelsAndByTheMembersOnRequest)
{
    for (const FloatKernel eKernel : AllFloatKernels())
    {
        SCOPED_TRACE(KernelName(eKernel));
        const bool bHorizontal = IsHorizontal(eKernel);
        CPicture picture = PictureFor(eKernel);
        picture.At(bHorizontal ? 5 : 7, bHorizontal ? 3 : 5) = 200;
        CFloatScene scene = SceneOn(picture, eKernel, RegionFor(eKernel));
        scene.param.bKeepSingle = 0;
        const int nKept = RunScene(scene).nReturned;
        scene.param.bKeepSingle = 2;
        const int nAll = RunScene(scene).nReturned;
        EXPECT_GT(nAll, 0);
        EXPECT_EQ(nKept, IsMember(eKernel) ? 0 : nAll);
    }
}

TEST_P(FloatKernels, AGroupListsBrighterCompareWindowsBeforeBrighterSources)
{
    CPicture picture = PictureFor(FloatKernel::Hori4);
    picture.At(42, 3) = 200; // sources brighter at 41 and 42
    picture.At(54, 3) = 200; // compare windows brighter at 43 and 44
    const CKernelOutcome outcome = RunScene(SceneOn(picture, FloatKernel::Hori4, RegionFor(FloatKernel::Hori4)));
    const std::vector<int> aExpected = {31, 32, 43, 44, 41, 42, 53, 54};
    EXPECT_EQ(std::vector<int>(outcome.aX.begin(), outcome.aX.begin() + 8), aExpected);
}

TEST_P(FloatKernels, ALaterPolarityOfTheGroupIsNotReachedPastAHitBeyondTheTarget)
{
    // Target of 31 and 32 are the bright sources at 41 and 42, which follow the dark ones at 43 and 44 in their group.
    CPicture picture = PictureFor(FloatKernel::Hori4);
    picture.At(42, 3) = 200;
    picture.At(54, 3) = 200;
    const CKernelOutcome outcome = RunScene(SceneOn(picture, FloatKernel::Hori4, RegionFor(FloatKernel::Hori4)));
    const std::vector<CPoint> aExpected = {{53, 3}, {54, 3}};
    EXPECT_EQ(PointsOf(outcome), aExpected);
}

TEST_P(FloatKernels, AColumnScanRunsTheLeftHalfOfAStripBeforeTheRightOne)
{
    CPicture picture = PictureFor(FloatKernel::Vert4);
    picture.At(7, 20) = 200;
    picture.At(13, 10) = 200;
    const CKernelOutcome outcome = RunScene(SceneOn(picture, FloatKernel::Vert4, RegionFor(FloatKernel::Vert4)));
    EXPECT_EQ(outcome.aX[0], 6);
    EXPECT_EQ(outcome.aY[0], 9);
    EXPECT_EQ(outcome.aX[8], 12);
    EXPECT_EQ(outcome.aY[8], 0);
}

TEST_P(FloatKernels, AStripCutInItsLeftHalfLetsPositionsLagSixteenColumns)
{
    CPicture picture(160, nHigh, 100);
    picture.At(3, 5) = 200;   // fills the arrays in the left half of the first strip
    picture.At(12, 5) = 200;  // dropped with the strip
    picture.At(20, 55) = 200; // reported at 4, where x stayed
    CFloatScene scene = SceneOn(picture, FloatKernel::Vert4, {0, 0, 32, nHigh});
    scene.call.hits.nSize = 2;
    const CKernelOutcome outcome = RunScene(scene);
    // Three strips of the image for two of x, the third one past the region's right side.
    const std::vector<CPoint> aPoints = PointsOf(outcome);
    ASSERT_EQ(aPoints.size(), 4U);
    EXPECT_EQ(aPoints[0], CPoint(2, 4));
    EXPECT_EQ(aPoints[1], CPoint(3, 4));
    EXPECT_EQ(aPoints[2], CPoint(3, 54));
    EXPECT_EQ(aPoints[3], CPoint(4, 54));
}

TEST_P(FloatKernels, AStripCutInItsRightHalfLetsPositionsLagEightColumns)
{
    CPicture picture(160, nHigh, 100);
    picture.At(12, 5) = 200;  // fills the arrays in the right half
    picture.At(20, 55) = 200; // column 16 of the image is reported at 8
    CFloatScene scene = SceneOn(picture, FloatKernel::Vert4, {0, 0, 32, nHigh});
    scene.call.hits.nSize = 2;
    CKernelOutcome outcome = RunScene(scene);
    std::vector<CPoint> aPoints = PointsOf(outcome);
    ASSERT_EQ(aPoints.size(), 4U);
    EXPECT_EQ(aPoints[2], CPoint(11, 54));
    scene.call.hits.nSize = 5; // enough for all hits
    outcome = RunScene(scene);
    aPoints = PointsOf(outcome);
    EXPECT_EQ(aPoints[aPoints.size() - 1], CPoint(20, 55));
    EXPECT_EQ(outcome.nEndLine, 48);
}

TEST_P(FloatKernels, ARunOfCutStripsEnds)
{
    CPicture picture(64, 3000, 0);
    for (int y = 0; y < nHigh; y++)
        for (int x = 0; x < 64; x++)
            picture.At(x, y) = static_cast<std::uint8_t>((y % 7) * 30);
    CFloatScene scene = SceneOn(picture, FloatKernel::Vert4, {0, 0, 48, nHigh});
    scene.call.hits.nSize = 0;
    scene.call.pairs.nSize = 400;
    const CKernelOutcome outcome = RunScene(scene);
    EXPECT_EQ(outcome.nEndLine, 16); // no column was gained
}

TEST_P(FloatKernels, AFullPairArrayStopsAfterTheRowOrTheStrip)
{
    CPicture picture(160, nHigh, 100);
    picture.At(40, 4) = 200;
    CFloatScene scene = SceneOn(picture, FloatKernel::Hori4, {0, 0, nWide, 8});
    scene.call.pairs.nSize = 3; // two pairs in row 3, one in row 4
    CKernelOutcome outcome = RunScene(scene);
    EXPECT_EQ(outcome.nReturned, 3);
    EXPECT_EQ(outcome.nEndLine, 5);
    EXPECT_EQ(outcome.aPairs[3].nDefectPos, nUntouched);

    picture.At(40, 4) = 100;
    picture.At(40, 40) = 200;
    scene = SceneOn(picture, FloatKernel::Vert4, {0, 0, 112, nHigh});
    scene.call.pairs.nSize = 1;
    outcome = RunScene(scene);
    EXPECT_EQ(outcome.nReturned, 1);
    EXPECT_EQ(outcome.nEndLine, 48);
}

TEST_P(FloatKernels, ColumnTablesServeBothHalvesOfABlockCountedFromLeft)
{
    CPicture picture(160, 4, 100);
    picture.Fill(62, 0, 63, 4, 180);
    picture.Fill(70, 0, 71, 4, 180);
    CFloatScene scene = SceneOn(picture, FloatKernel::HoriTable4, {8, 0, 8 + nWide, 1});
    std::vector<std::uint16_t> aDisplacement(160, 40);
    std::vector<std::int16_t> aNear(160, 16);
    std::vector<std::int16_t> aFar(160, 0);
    aDisplacement[32] = 20; // serves the block from 40 to 55
    scene.call.pConvPitchTable = aDisplacement.data();
    scene.call.pConvWeightNear = aNear.data();
    scene.call.pConvWeightFar = aFar.data();
    const auto found = [&scene]
    {
        const CKernelOutcome outcome = RunScene(scene);
        std::vector<int> aX = outcome.aX;
        aX.erase(std::find(aX.begin(), aX.end(), nUntouched), aX.end());
        aX.erase(std::remove_if(aX.begin(), aX.end(), [](int x) { return x < 40 || x > 55; }), aX.end());
        return aX;
    };
    EXPECT_EQ(found(), (std::vector<int>{41, 42, 49, 50}));
    aNear[32] = 0; // lane 0 of both halves reads one column further
    aFar[32] = 16;
    EXPECT_EQ(found(), (std::vector<int>{40, 41, 42, 48, 49, 50}));
}

TEST_P(FloatKernels, ADisplacementAboveTheRowsSumsComparesWithZero)
{
    const CPicture picture(200, 4, 100);
    CFloatScene scene = SceneOn(picture, FloatKernel::HoriTable4, {0, 0, 32, 1});
    std::vector<std::uint16_t> aDisplacement(64, 60000);
    scene.call.pConvPitchTable = aDisplacement.data();
    scene.call.nPitch16 = 16;
    const CKernelOutcome outcome = RunScene(scene);
    EXPECT_EQ(outcome.aX[0], 0);
    EXPECT_EQ(outcome.aSrcGray[0], 6400);
    EXPECT_EQ(outcome.aCmpGray[0], 0);
}

TEST_P(FloatKernels, ASecondPitchDisplacesTheCompareWindowAlongTheRow)
{
    for (const FloatKernel eKernel : {FloatKernel::Vtd, FloatKernel::VtdIntrin})
    {
        SCOPED_TRACE(KernelName(eKernel));
        CPicture picture(48, nHigh, 100);
        picture.At(15, 57) = 200; // seen from rows 46 and 47, in the last band
        CFloatScene scene = SceneOn(picture, eKernel, {0, 0, 16, nHigh});
        scene.call.nVtdPitch16 = 3 * 16 + 4;
        const CKernelOutcome outcome = RunScene(scene);
        const std::vector<CPoint> aExpected = {{10, 56}, {11, 56}, {12, 56}, {10, 57}, {11, 57}, {12, 57}};
        ASSERT_EQ(PointsOf(outcome), aExpected);
        EXPECT_EQ(outcome.aPairs[0].nSrcGray, 106); // a quarter of the bright pixel
        EXPECT_EQ(outcome.aPairs[1].nSrcGray, 125); // all of it
        EXPECT_EQ(outcome.aPairs[2].nSrcGray, 118); // three quarters
    }
}

TEST_P(FloatKernels, TheFirstEntryOfARowTableIsComparedWithZero)
{
    for (const FloatKernel eKernel : {FloatKernel::Vtd, FloatKernel::VtdIntrin})
    {
        SCOPED_TRACE(KernelName(eKernel));
        CPicture picture = PictureFor(eKernel);
        picture.At(3, 40) = 200;
        CFloatScene scene = SceneOn(picture, eKernel, RegionFor(eKernel));
        std::vector<int> aTable(4, 0);
        scene.call.pScanPitchTable = aTable.data();
        EXPECT_EQ(RunScene(scene).nReturned, 4); // the argument pitch stays in force
        aTable[0] = nPitch * 16;
        EXPECT_EQ(RunScene(scene).nReturned, 0); // from row 16 on the pitch is 0: nothing differs from itself
    }
}

TEST_P(FloatKernels, TheLastEntryOfARowTableIsKeptFromHalfToHalf)
{
    CPicture picture = PictureFor(FloatKernel::Vtd);
    picture.At(3, 12) = 200;
    picture.At(12, 12) = 200;
    CFloatScene scene = SceneOn(picture, FloatKernel::Vtd, RegionFor(FloatKernel::Vtd));
    const std::vector<int> aTable = {0, nPitch * 16, 0, 0};
    scene.call.pScanPitchTable = aTable.data();
    const CKernelOutcome outcome = RunScene(scene);
    // The right half finds the 0 of its first rows unchanged from the end of the left half.
    const std::vector<CPoint> aExpected = {{2, 11}, {3, 11}, {2, 12}, {3, 12}};
    EXPECT_EQ(PointsOf(outcome), aExpected);
}

TEST_P(FloatKernels, HitsInTheArraysBeforeTheCallArePairedWithTheFirstStripOrRow)
{
    for (const FloatKernel eKernel : AllFloatKernels())
    {
        SCOPED_TRACE(KernelName(eKernel));
        const CPicture picture = PictureFor(eKernel);
        CFloatScene scene = SceneOn(picture, eKernel, RegionFor(eKernel));
        const bool bHorizontal = IsHorizontal(eKernel);
        scene.aStartHits = {{bHorizontal ? 5 : 3, bHorizontal ? 3 : 5, 1, 9, 8000, 6400, 7, 128}};
        const CKernelOutcome outcome = RunScene(scene);
        ASSERT_EQ(outcome.nReturned, 1 + SinglesOfTheFirstRow(eKernel));
        EXPECT_EQ(outcome.aPairs[0].nDefectPair, DefectPair_Single);
        EXPECT_EQ(outcome.aPairs[0].nSrcGray, 8000 / (16 * WindowArea(eKernel)));
        EXPECT_EQ(outcome.aPairs[0].nPeak, 9);
        EXPECT_EQ(outcome.aPairs[0].nZoneIndex, nUntouched);
    }
}

// ---- the two region kernels ----

CFloatRegionScene RegionOn(CPicture& picture, bool bPlain)
{
    CFloatRegionScene scene;
    scene.bPlain = bPlain;
    scene.param.pImage = picture.aPixels.data();
    scene.param.nImageWidth = picture.nWidth;
    scene.param.nImageHeight = picture.nHeight;
    scene.param.nConvWidth = 2;
    scene.param.nConvHeight = 2;
    scene.param.dScanPitch = nPitch;
    scene.param.nScanMultiple = 1;
    scene.param.nThreshold = 10;
    scene.param.nThresholdGain = 0;
    scene.rtRegion = CRect(0, 0, 16, nHigh);
    return scene;
}

TEST_P(FloatKernels, BothRegionKernelsFindADefectInEachWindowThatHoldsIt)
{
    for (const bool bPlain : {false, true})
    {
        SCOPED_TRACE(bPlain);
        CPicture picture(32, nHigh, 100);
        picture.At(7, 40) = 200;
        const CKernelOutcome outcome = RunRegion(RegionOn(picture, bPlain));
        const std::vector<CPoint> aByRow = {{6, 39}, {7, 39}, {6, 40}, {7, 40}};
        const std::vector<CPoint> aByColumn = {{6, 39}, {6, 40}, {7, 39}, {7, 40}};
        EXPECT_EQ(PointsOf(outcome), bPlain ? aByColumn : aByRow);
        EXPECT_EQ(outcome.aPairs[0].nSrcGray, 125);
        EXPECT_EQ(outcome.aPairs[0].nCmpGray, 100);
        EXPECT_EQ(outcome.aPairs[0].nThreshold, 2);
        EXPECT_EQ(outcome.aPairs[0].nPeak, bPlain ? 22 : 25); // above the threshold, or the whole difference
        EXPECT_EQ(outcome.nEndLine, bPlain ? 17 : 32);
    }
}

TEST_P(FloatKernels, ASingleOfARegionThatRepeatsTwoPitchesAwayIsMarkedAsRemovedAndCounted)
{
    for (const bool bPlain : {false, true})
    {
        SCOPED_TRACE(bPlain);
        CPicture picture(32, nHigh, 100);
        picture.At(7, 37) = 200;
        picture.At(7, 57) = 200;
        CFloatRegionScene scene = RegionOn(picture, bPlain);
        scene.param.bKeepSingle = 0; // singles are still kept
        const CKernelOutcome outcome = RunRegion(scene);
        ASSERT_EQ(outcome.nReturned, 8);
        int nRemoved = 0;
        for (int i = 0; i < outcome.nReturned; i++)
        {
            const CDefectPair& pair = outcome.aPairs[static_cast<std::size_t>(i)];
            EXPECT_EQ(pair.nDefectType, pair.nDefectPair == DefectPair_Single ? DefectType_Removed : DefectType_Bright);
            nRemoved += pair.nDefectType == DefectType_Removed;
        }
        EXPECT_EQ(nRemoved, 4);
        picture.At(7, 37) = 100;
        EXPECT_EQ(RunRegion(scene).aPairs[0].nDefectType, DefectType_Bright);
    }
}

TEST_P(FloatKernels, InThePlainFormALaterHitGivesAPairedHitOfTheFirstBandASingleToo)
{
    CPicture picture(32, nHigh, 100);
    picture.At(7, 15) = 200; // hits at 4 and 5, partners at 14 and 15
    const CKernelOutcome outcome = RunRegion(RegionOn(picture, true));
    const std::vector<CPoint> aExpected = {{6, 14}, {6, 4}, {6, 15}, {7, 14}, {7, 4}, {7, 15}};
    EXPECT_EQ(PointsOf(outcome), aExpected);
    EXPECT_EQ(outcome.aPairs[0].nDefectPair, DefectPair_Paired);
    EXPECT_EQ(outcome.aPairs[1].nDefectPair, DefectPair_Single);
    EXPECT_EQ(RunRegion(RegionOn(picture, false)).nReturned, 4);
}

TEST_P(FloatKernels, InThePlainFormARefusedPartnerOfTheFirstBandLeadsToASingle)
{
    CPicture picture(32, nHigh, 100);
    picture.At(7, 15) = 70; // bright sources at 4 and 5, dark ones at 14 and 15
    for (const bool bPlain : {false, true})
    {
        SCOPED_TRACE(bPlain);
        CFloatRegionScene scene = RegionOn(picture, bPlain);
        scene.param.nBlackFilterGray = 20;
        const CKernelOutcome outcome = RunRegion(scene);
        const std::vector<CPoint> aExpected = {{6, 4}, {6, 5}, {7, 4}, {7, 5}};
        EXPECT_EQ(PointsOf(outcome), bPlain ? aExpected : std::vector<CPoint>{});
    }
}

TEST_P(FloatKernels, DeadZonesCountInTheRegionKernelAndNotInItsPlainForm)
{
    CPicture picture(32, nHigh, 100);
    picture.At(7, 40) = 200;
    for (const bool bPlain : {false, true})
    {
        CFloatRegionScene scene = RegionOn(picture, bPlain);
        scene.param.rtDeadZone[0] = CRect(0, 0, 32, nHigh);
        EXPECT_EQ(RunRegion(scene).nReturned, bPlain ? 4 : 0);
    }
}

TEST_P(FloatKernels, ThePlainFormLeavesOneRecordOfThePairArrayFree)
{
    CPicture picture(32, nHigh, 100);
    picture.At(7, 40) = 200;
    CFloatRegionScene scene = RegionOn(picture, true);
    scene.nPairSize = 3;
    CKernelOutcome outcome = RunRegion(scene);
    EXPECT_EQ(outcome.nReturned, 2);
    EXPECT_EQ(outcome.nEndLine, 7); // column 6 filled it
    scene.nPairCount = 2;
    outcome = RunRegion(scene);
    EXPECT_EQ(outcome.nReturned, 2);
    EXPECT_EQ(outcome.nEndLine, nUntouched);

    scene.bPlain = false;
    scene.nPairCount = 0;
    outcome = RunRegion(scene);
    EXPECT_EQ(outcome.nReturned, 3);
    EXPECT_EQ(outcome.nEndLine, 16);
}

TEST_P(FloatKernels, ThePlainFormStopsAColumnOneHitBeforeTheArraysAreFull)
{
    CPicture picture(32, nHigh, 100);
    picture.At(7, 40) = 200; // four hits in each of two columns
    CFloatRegionScene scene = RegionOn(picture, true);
    scene.nHitSize = 5;
    EXPECT_EQ(RunRegion(scene).nReturned, 4);
    scene.nHitSize = 4; // the hit at 40 is lost
    EXPECT_EQ(RunRegion(scene).nReturned, 2);
}

TEST_P(FloatKernels, ThePlainFormRoundsTheRealPitchToItsHop)
{
    CPicture picture(32, nHigh, 100);
    picture.At(7, 57) = 200; // seen from rows 45, 46 and 47
    CFloatRegionScene scene = RegionOn(picture, true);
    scene.param.dScanPitch = 10.4;
    EXPECT_EQ(RunRegion(scene).aPairs[0].ptDefect, CPoint(6, 55));
    scene.param.dScanPitch = 10.5;
    EXPECT_EQ(RunRegion(scene).aPairs[0].ptDefect, CPoint(6, 56));
}

} // namespace
} // namespace narvo::test
