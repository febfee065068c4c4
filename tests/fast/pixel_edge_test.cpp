// SPDX-License-Identifier: MIT
// The rules of the pixel kernels on hand-worked images. Each holds for every way to run a kernel: the plain reference
// and the library at each vector level.
#include <gtest/gtest.h>

#include "fast/picture.h"
#include "fast/pixel_scene.h"

namespace narvo::test
{
namespace
{

// Regions of the tests. Along the compare direction a pitch of 10 leaves these bands:
// horizontal, 112 wide: compared up to 95, first band below 10, last band above 86;
// vertical, 64 high:    compared up to 51 (52 in the direct kernel), first band below 10, last above 42 (43).
constexpr int nPitch = 10;
constexpr int nWide = 112;
constexpr int nHigh = 64;
constexpr int nAcross = 7; ///< the line or column that defects are painted on

CPixelScene SceneOn(const CPicture& picture, PixelKernel eKernel, const engine::CRegion& region)
{
    CPixelScene scene;
    scene.eKernel = eKernel;
    scene.call.image = picture.View();
    scene.call.region = region;
    scene.call.hits.nSize = 1000;
    scene.call.pairs.nSize = 100;
    scene.call.nPitch16 = nPitch * 16;
    scene.call.first.nBase = 10;
    scene.call.nGrayLimit = 255;
    scene.call.bKeepSingle = 1;
    return scene;
}

/// A picture with one line of pixels along the compare direction to paint on, and the region that goes with it.
class CLine
{
public:
    explicit CLine(PixelKernel eKernel, std::uint8_t nGrey = 100)
        : m_eKernel(eKernel), m_bHorizontal(IsHorizontal(eKernel)),
          m_picture(m_bHorizontal ? nWide : 48, m_bHorizontal ? 8 : nHigh, nGrey)
    {
    }

    std::uint8_t& At(int nAlong)
    {
        return m_bHorizontal ? m_picture.At(nAlong, nAcross) : m_picture.At(nAcross, nAlong);
    }

    CPixelScene Scene() const
    {
        const engine::CRegion region =
            m_bHorizontal ? engine::CRegion{0, nAcross, nWide, nAcross + 1} : engine::CRegion{0, 0, 16, nHigh};
        CPixelScene scene = SceneOn(m_picture, m_eKernel, region);
        if (m_eKernel == PixelKernel::HoriTable)
        {
            scene.call.pConvPitchTable = m_aDisplacement.data();
            scene.call.pConvWeightNear = m_aNear.data();
            scene.call.pConvWeightFar = m_aFar.data();
        }
        return scene;
    }

    static int Along(const CDefectPair& pair, bool bHorizontal)
    {
        return bHorizontal ? pair.ptDefect.x : pair.ptDefect.y;
    }

private:
    PixelKernel m_eKernel;
    bool m_bHorizontal;
    CPicture m_picture;
    std::vector<std::uint16_t> m_aDisplacement = std::vector<std::uint16_t>(nWide + 16, nPitch);
    std::vector<std::int16_t> m_aNear = std::vector<std::int16_t>(nWide + 16, 16);
    std::vector<std::int16_t> m_aFar = std::vector<std::int16_t>(nWide + 16, 0);
};

/// Singles of these count only under exactly 1, and their records have no peak but for the mask kernel's.
bool IsExtendedVertical(PixelKernel eKernel)
{
    return eKernel == PixelKernel::VertIntrin || eKernel == PixelKernel::VtdsIntrin ||
           eKernel == PixelKernel::VertWide || eKernel == PixelKernel::VtdsWide || eKernel == PixelKernel::VertMask;
}

bool WritesPeak(PixelKernel eKernel)
{
    return (!IsExtendedVertical(eKernel) && eKernel != PixelKernel::HoriIntrin) || eKernel == PixelKernel::VertMask;
}

CKernelOutcome RunScene(const CPixelScene& scene)
{
    CKernelOutcome outcome;
    PixelKernels::GetParam().fnRun(scene, outcome);
    return outcome;
}

CStartHit StartHit(int x, int y, short nType)
{
    return {x, y, nType, 40, 150 + x % 10, 100 + y % 10, 0, 10};
}

TEST_P(PixelKernels, OppositeHitsOnePitchApartGiveOneRecordWithTheSecondHitsValues)
{
    for (const PixelKernel eKernel : AllPixelKernels())
    {
        SCOPED_TRACE(KernelName(eKernel));
        CLine line(eKernel);
        line.At(40) = 200; // darker reference at 30, brighter source at 40
        CPixelScene scene = line.Scene();
        scene.call.first.nBase = 12;
        const CKernelOutcome outcome = RunScene(scene);

        ASSERT_EQ(outcome.nReturned, 1);
        const CDefectPair& pair = outcome.aPairs[0];
        EXPECT_EQ(pair.nDefectPos, DefectPos_Middle);
        EXPECT_EQ(pair.nDefectPair, DefectPair_Paired);
        EXPECT_EQ(pair.nDefectType, 1);
        EXPECT_EQ(pair.ptDefect, IsHorizontal(eKernel) ? CPoint(40, nAcross) : CPoint(nAcross, 40));
        EXPECT_EQ(pair.nSrcGray, 200);
        EXPECT_EQ(pair.nCmpGray, 100);
        EXPECT_EQ(pair.nZoneIndex, 0);
        EXPECT_EQ(pair.nThreshold, 12);
        EXPECT_EQ(pair.nPeak, WritesPeak(eKernel) ? 88 : nUntouched);
        EXPECT_EQ(pair.nSubZone, nUntouched);
        EXPECT_EQ(outcome.aPairs[1].nDefectPos, nUntouched);
    }
}

TEST_P(PixelKernels, ADarkDefectGivesARecordOfTypeZero)
{
    for (const PixelKernel eKernel : AllPixelKernels())
    {
        SCOPED_TRACE(KernelName(eKernel));
        CLine line(eKernel);
        line.At(40) = 30;
        const CKernelOutcome outcome = RunScene(line.Scene());
        ASSERT_EQ(outcome.nReturned, 1);
        EXPECT_EQ(outcome.aPairs[0].nDefectType, 0);
        EXPECT_EQ(outcome.aPairs[0].nSrcGray, 30);
        EXPECT_EQ(outcome.aPairs[0].nCmpGray, 100);
    }
}

TEST_P(PixelKernels, EqualPolaritiesOnePitchApartInTheMiddleGiveNothing)
{
    for (const PixelKernel eKernel : AllPixelKernels())
    {
        SCOPED_TRACE(KernelName(eKernel));
        CLine line(eKernel);
        for (const int nAlong : {0, 10, 20, 30})
            line.At(nAlong) = 200;
        line.At(40) = 150; // sources brighter at 30 and at 40
        const CKernelOutcome outcome = RunScene(line.Scene());
        EXPECT_EQ(outcome.nReturned, 0);
    }
}

TEST_P(PixelKernels, ADifferenceEqualToTheThresholdIsNoHit)
{
    for (const PixelKernel eKernel : AllPixelKernels())
    {
        SCOPED_TRACE(KernelName(eKernel));
        CLine line(eKernel);
        line.At(40) = 120;
        CPixelScene scene = line.Scene();
        scene.call.first.nBase = 20;
        EXPECT_EQ(RunScene(scene).nReturned, 0);
        scene.call.first.nBase = 19;
        EXPECT_EQ(RunScene(scene).nReturned, 1);
    }
}

TEST_P(PixelKernels, WithoutAFractionTheNextPixelHasNoWeight)
{
    for (const PixelKernel eKernel : {PixelKernel::Hori, PixelKernel::HoriIntrin, PixelKernel::Vert})
    {
        SCOPED_TRACE(KernelName(eKernel));
        CLine line(eKernel);
        line.At(41) = 200; // next to the compare position of 30
        CPixelScene scene = line.Scene();
        scene.call.first.nBase = 5;
        const bool bHorizontal = IsHorizontal(eKernel);
        CKernelOutcome outcome = RunScene(scene);
        EXPECT_EQ((bHorizontal ? outcome.aX : outcome.aY)[0], 31);
        scene.call.nPitch16 = nPitch * 16 + 1; // (100 x 15 + 200) / 16 is 106
        outcome = RunScene(scene);
        EXPECT_EQ((bHorizontal ? outcome.aX : outcome.aY)[0], 30);
        EXPECT_EQ(outcome.aCmpGray[0], 106);
    }
}

TEST_P(PixelKernels, PartnersAreSearchedOnePixelFurtherFromAFractionOfEightOn)
{
    const CPicture wide(nWide, 8, 100);
    CPixelScene scene = SceneOn(wide, PixelKernel::Hori, {0, 2, nWide, 3});
    scene.aStartHits = {StartHit(30, 2, 0), StartHit(40, 2, 1), StartHit(41, 2, 1)};
    scene.call.nPitch16 = nPitch * 16 + 7;
    CKernelOutcome outcome = RunScene(scene);
    ASSERT_EQ(outcome.nReturned, 1);
    EXPECT_EQ(outcome.aPairs[0].ptDefect, CPoint(40, 2));
    scene.call.nPitch16 = nPitch * 16 + 8;
    outcome = RunScene(scene);
    ASSERT_EQ(outcome.nReturned, 1);
    EXPECT_EQ(outcome.aPairs[0].ptDefect, CPoint(41, 2));

    const CPicture high(16, nHigh, 100);
    scene = SceneOn(high, PixelKernel::Vert, {0, 0, 16, nHigh});
    scene.aStartHits = {StartHit(3, 30, 0), StartHit(3, 40, 1), StartHit(3, 41, 1)};
    scene.call.nPitch16 = nPitch * 16 + 8;
    outcome = RunScene(scene);
    ASSERT_EQ(outcome.nReturned, 1);
    EXPECT_EQ(outcome.aPairs[0].ptDefect, CPoint(3, 41));
}

TEST_P(PixelKernels, SinglesOfBothEdgesNeedKeepSingle)
{
    for (const PixelKernel eKernel : AllPixelKernels())
    {
        SCOPED_TRACE(KernelName(eKernel));
        const bool bHorizontal = IsHorizontal(eKernel);
        const int nLast = bHorizontal ? 100 : 57; // seen from 90 or 47 only
        CLine line(eKernel);
        line.At(5) = 200;
        line.At(nLast) = 200;
        CPixelScene scene = line.Scene();

        const CKernelOutcome outcome = RunScene(scene);
        ASSERT_EQ(outcome.nReturned, 2);
        EXPECT_EQ(outcome.aPairs[0].nDefectPos, DefectPos_First);
        EXPECT_EQ(outcome.aPairs[0].nDefectPair, DefectPair_Single);
        EXPECT_EQ(outcome.aPairs[0].nDefectType, 1);
        EXPECT_EQ(CLine::Along(outcome.aPairs[0], bHorizontal), 5);
        EXPECT_EQ(outcome.aPairs[1].nDefectPos, DefectPos_Last);
        EXPECT_EQ(outcome.aPairs[1].nDefectPair, DefectPair_Single);
        EXPECT_EQ(outcome.aPairs[1].nDefectType, 1); // the hit was of type 0
        EXPECT_EQ(CLine::Along(outcome.aPairs[1], bHorizontal), nLast);
        EXPECT_EQ(outcome.aPairs[1].nSrcGray, 200);
        EXPECT_EQ(outcome.aPairs[1].nCmpGray, 100);

        scene.call.bKeepSingle = 0;
        EXPECT_EQ(RunScene(scene).nReturned, 0);
        scene.call.bKeepSingle = 2;
        EXPECT_EQ(RunScene(scene).nReturned, IsExtendedVertical(eKernel) ? 0 : 2);
    }
}

TEST_P(PixelKernels, AlongARowAHitOfTheSamePolarityAtTheTargetIsSkipped)
{
    const CPicture picture(nWide, 4, 100);
    CPixelScene scene = SceneOn(picture, PixelKernel::Hori, {0, 1, nWide, 2});
    scene.aStartHits = {StartHit(30, 1, 1), StartHit(40, 1, 1), StartHit(40, 1, 0)};
    const CKernelOutcome outcome = RunScene(scene);
    ASSERT_EQ(outcome.nReturned, 1);
    EXPECT_EQ(outcome.aPairs[0].nDefectType, 0);
    EXPECT_EQ(outcome.aType[1], 1);
    EXPECT_EQ(outcome.aType[2], 4);
}

TEST_P(PixelKernels, AlongAColumnAHitOfTheSamePolarityAtTheTargetEndsTheSearch)
{
    const CPicture picture(16, nHigh, 100);
    CPixelScene scene = SceneOn(picture, PixelKernel::Vert, {0, 0, 16, nHigh});
    scene.aStartHits = {StartHit(3, 5, 1), StartHit(3, 15, 1), StartHit(3, 15, 0)};
    // Not even a single, although the first hit lies in the first band.
    EXPECT_EQ(RunScene(scene).nReturned, 0);
    scene.aStartHits[1].x = 4;
    EXPECT_EQ(RunScene(scene).nReturned, 1);
}

TEST_P(PixelKernels, TenFullDeadZonesExcludeNothingAndNineAllApply)
{
    for (const PixelKernel eKernel : {PixelKernel::VertIntrin, PixelKernel::VtdsIntrin})
    {
        SCOPED_TRACE(KernelName(eKernel));
        CLine line(eKernel);
        line.At(40) = 200;
        CPixelScene scene = line.Scene();
        for (CRect& rt : scene.param.rtDeadZone)
            rt = CRect(200, 200, 201, 201);
        scene.param.rtDeadZone[8] = CRect(nAcross, 40, nAcross + 1, 41);
        EXPECT_EQ(RunScene(scene).nReturned, 1);
        scene.param.rtDeadZone[9] = CRect();
        EXPECT_EQ(RunScene(scene).nReturned, 0);
        scene.param.rtDeadZone[8] = CRect(nAcross, 39, nAcross + 1, 40); // bottom is exclusive
        EXPECT_EQ(RunScene(scene).nReturned, 1);
        scene.param.rtDeadZone[8] = CRect(nAcross, 40, nAcross + 1, 41);
        scene.param.rtDeadZone[3] = CRect();
        EXPECT_EQ(RunScene(scene).nReturned, 1);
    }
}

TEST_P(PixelKernels, ADeadZoneLeavesThePartnerFree)
{
    CLine line(PixelKernel::VertIntrin);
    line.At(40) = 200; // hits at 30 and 40
    line.At(50) = 100;
    CPixelScene scene = line.Scene();
    scene.param.rtDeadZone[0] = CRect(0, 40, 16, 41);
    const CKernelOutcome outcome = RunScene(scene);
    EXPECT_EQ(outcome.nReturned, 0);
    EXPECT_EQ(outcome.aY[1], 40);
    EXPECT_EQ(outcome.aType[1], 1);
}

TEST_P(PixelKernels, ValuesAboveTheGreyLimitCompareAsEqual)
{
    for (const PixelKernel eKernel : AllPixelKernels())
    {
        SCOPED_TRACE(KernelName(eKernel));
        CLine line(eKernel, 150);
        line.At(40) = 200;
        CPixelScene scene = line.Scene();
        EXPECT_EQ(RunScene(scene).nReturned, 1);
        scene.call.nGrayLimit = 100;
        EXPECT_EQ(RunScene(scene).nReturned, 0);
    }
}

TEST_P(PixelKernels, AGainAbove257WrapsForBrightValues)
{
    for (const PixelKernel eKernel : {PixelKernel::Hori, PixelKernel::Vert, PixelKernel::VertDirect})
    {
        SCOPED_TRACE(KernelName(eKernel));
        CLine line(eKernel, 200);
        line.At(40) = 255;
        CPixelScene scene = line.Scene();
        scene.call.first.nGain = 257; // 255 x 257 is 65535: threshold 255 + 10
        EXPECT_EQ(RunScene(scene).nReturned, 0);
        scene.call.first.nGain = 258; // 65790 keeps 254 of itself: threshold 0 + 10
        const CKernelOutcome outcome = RunScene(scene);
        ASSERT_EQ(outcome.nReturned, 1);
        EXPECT_EQ(outcome.aPairs[0].nThreshold, 10);
    }
}

TEST_P(PixelKernels, ARowNarrowerThanAPitchAndSixteenComparesNothing)
{
    CPicture picture(64, 2, 100);
    picture.At(3, 0) = 200;
    CPixelScene scene = SceneOn(picture, PixelKernel::Hori, {0, 0, 25, 1});
    CKernelOutcome outcome = RunScene(scene);
    EXPECT_EQ(outcome.nReturned, 0);
    EXPECT_EQ(outcome.nEndLine, 2);
    scene.call.region.nRight = 26;
    EXPECT_EQ(RunScene(scene).nReturned, 1);
}

TEST_P(PixelKernels, AFullPairArrayStopsARowScanAtTheNextRow)
{
    CPicture picture(nWide, 8, 100);
    for (int y = 0; y < 8; y++)
        picture.At(40, y) = 200;
    CPixelScene scene = SceneOn(picture, PixelKernel::Hori, {0, 0, nWide, 8});
    scene.call.pairs.nCount = 1;
    scene.call.pairs.nSize = 4; // filled by rows 0, 1 and 2; the consumed hit of row 2 finds it full
    const CKernelOutcome outcome = RunScene(scene);
    EXPECT_EQ(outcome.nReturned, 4);
    EXPECT_EQ(outcome.nEndLine, 3);
    EXPECT_EQ(outcome.aPairs[0].nDefectPos, nUntouched);
    EXPECT_EQ(outcome.aPairs[3].ptDefect, CPoint(40, 2));
    EXPECT_EQ(outcome.aPairs[4].nDefectPos, nUntouched);
}

TEST_P(PixelKernels, AFullPairArrayStopsAColumnScanAfterTheStrip)
{
    CPicture picture(80, nHigh, 100);
    picture.Fill(18, 40, 22, 41, 200); // four pairs in the second strip
    CPixelScene scene = SceneOn(picture, PixelKernel::Vert, {0, 0, 64, nHigh});
    scene.call.pairs.nSize = 2;
    CKernelOutcome outcome = RunScene(scene);
    EXPECT_EQ(outcome.nReturned, 2);
    EXPECT_EQ(outcome.nEndLine, 32);
    scene.eKernel = PixelKernel::VertDirect;
    outcome = RunScene(scene);
    EXPECT_EQ(outcome.nReturned, 2);
    EXPECT_EQ(outcome.nEndLine, nUntouched);
}

TEST_P(PixelKernels, ANormalEndLeavesTheEndLineBeyondTheRegion)
{
    const CPicture picture(80, nHigh, 100);
    for (const PixelKernel eKernel : AllPixelKernels())
    {
        SCOPED_TRACE(KernelName(eKernel));
        CLine line(eKernel);
        CPixelScene scene = line.Scene();
        scene.call.image = picture.View();
        scene.call.region = {0, 0, 40, 20};
        const int nEndLine = RunScene(scene).nEndLine;
        if (eKernel == PixelKernel::VertDirect)
            EXPECT_EQ(nEndLine, nUntouched);
        else
            EXPECT_EQ(nEndLine, IsHorizontal(eKernel) ? 21 : 48);
    }
}

TEST_P(PixelKernels, TheDirectColumnKernelComparesOneRowMore)
{
    for (const PixelKernel eKernel : {PixelKernel::Vert, PixelKernel::VertDirect})
    {
        CLine line(eKernel);
        line.At(62) = 200; // the last row compared by the direct kernel is 52
        EXPECT_EQ(RunScene(line.Scene()).nReturned, eKernel == PixelKernel::VertDirect ? 1 : 0);
    }
}

TEST_P(PixelKernels, AfterACutInTheLeftHalfTheNextStripStarts24ColumnsFurther)
{
    CPicture picture(96, nHigh, 100);
    picture.At(2, 5) = 200;  // fills the arrays
    picture.At(2, 25) = 200; // dropped with the strip
    picture.At(20, 5) = 200; // skipped: the next strip starts at 24
    picture.At(26, 5) = 200; // fills the arrays again: the next strip starts at 48
    CPixelScene scene = SceneOn(picture, PixelKernel::Vert, {0, 0, 64, nHigh});
    scene.call.hits.nSize = 1;
    const CKernelOutcome outcome = RunScene(scene);
    ASSERT_EQ(outcome.nReturned, 2);
    EXPECT_EQ(outcome.aPairs[0].ptDefect, CPoint(2, 5));
    EXPECT_EQ(outcome.aPairs[1].ptDefect, CPoint(26, 5));
    EXPECT_EQ(outcome.nEndLine, 80);
}

TEST_P(PixelKernels, AStripWhoseLastRowFillsTheArraysExactlyCountsAsCut)
{
    CPicture picture(96, nHigh, 100);
    picture.At(2, nHigh - 13) = 200; // a hit one pitch above, and one in the last row compared
    picture.At(20, 5) = 200;         // skipped: the next strip starts at 24
    CPixelScene scene = SceneOn(picture, PixelKernel::Vert, {0, 0, 64, nHigh});
    for (const int nHitSize : {2, 3})
    {
        scene.call.hits.nSize = nHitSize;
        const CKernelOutcome outcome = RunScene(scene);
        ASSERT_EQ(outcome.nReturned, nHitSize == 2 ? 1 : 2);
        EXPECT_EQ(outcome.aPairs[0].ptDefect, CPoint(2, nHigh - 13));
        EXPECT_EQ(outcome.nEndLine, nHitSize == 2 ? 88 : 80);
    }
}

TEST_P(PixelKernels, AfterACutInTheRightHalfTheNextStripStarts32ColumnsFurther)
{
    CPicture picture(96, nHigh, 100);
    picture.At(10, 5) = 200;
    picture.At(20, 5) = 200;
    picture.At(34, 5) = 200;
    picture.At(66, 5) = 200; // beyond 64, but a strip that begins left of it is compared in full
    CPixelScene scene = SceneOn(picture, PixelKernel::Vert, {0, 0, 64, nHigh});
    scene.call.hits.nSize = 1;
    const CKernelOutcome outcome = RunScene(scene);
    ASSERT_EQ(outcome.nReturned, 3);
    EXPECT_EQ(outcome.aPairs[0].ptDefect, CPoint(10, 5));
    EXPECT_EQ(outcome.aPairs[1].ptDefect, CPoint(34, 5));
    EXPECT_EQ(outcome.aPairs[2].ptDefect, CPoint(66, 5));
    EXPECT_EQ(outcome.nEndLine, 104); // strips at 0, 32 (cut in its left half) and 56 (in its right one)
}

TEST_P(PixelKernels, ARowStopsAfterTheGroupThatFillsTheHits)
{
    CPicture picture(nWide, 2, 100);
    picture.At(1, 0) = 200;
    picture.At(3, 0) = 200;
    picture.At(9, 0) = 200;
    picture.At(9, 1) = 200;
    CPixelScene scene = SceneOn(picture, PixelKernel::Hori, {0, 0, nWide, 2});
    scene.call.hits.nSize = 2;
    const CKernelOutcome outcome = RunScene(scene);
    ASSERT_EQ(outcome.nReturned, 3);
    EXPECT_EQ(outcome.aPairs[1].ptDefect, CPoint(3, 0));
    EXPECT_EQ(outcome.aPairs[2].ptDefect, CPoint(9, 1));
}

TEST_P(PixelKernels, TheFastFamilyStartsAfterHitsPassedInAndTheMembersDoNot)
{
    const CPicture picture(nWide, nHigh, 100);
    for (const PixelKernel eKernel : {PixelKernel::Hori, PixelKernel::HoriIntrin, PixelKernel::Vert,
                                      PixelKernel::VertDirect, PixelKernel::VertIntrin, PixelKernel::VtdsWide})
    {
        SCOPED_TRACE(KernelName(eKernel));
        CPixelScene scene = SceneOn(picture, eKernel, {0, 0, 32, nHigh});
        scene.aStartHits = {StartHit(3, 3, 1)};
        const bool bFast =
            eKernel == PixelKernel::Hori || eKernel == PixelKernel::Vert || eKernel == PixelKernel::VertDirect;
        EXPECT_EQ(RunScene(scene).nReturned, bFast ? 1 : 0);
    }
}

TEST_P(PixelKernels, TheSecondSetNarrowsOnlyTheDarkSideOfTheFastKernels)
{
    for (const PixelKernel eKernel : {PixelKernel::Vert2, PixelKernel::Vtds2})
    {
        SCOPED_TRACE(KernelName(eKernel));
        CLine dark(eKernel);
        dark.At(40) = 60; // hits of 40 at 30 (type 1) and 40 (type 0)
        CPixelScene scene = dark.Scene();
        scene.call.second.nBase = 20;
        scene.call.second.nGain = 26; // 100 x 26 / 256 is 10
        CKernelOutcome outcome = RunScene(scene);
        ASSERT_EQ(outcome.nReturned, 1);
        EXPECT_EQ(outcome.aPairs[0].nThreshold, 30);
        EXPECT_EQ(outcome.aPairs[0].nPeak, 10);
        EXPECT_EQ(outcome.aThreshold[1], 30);
        EXPECT_EQ(outcome.aPeak[1], 10);

        scene.call.second.nBase = 30; // 40 is not above 30 + 10
        outcome = RunScene(scene);
        EXPECT_EQ(outcome.nReturned, 0);
        EXPECT_EQ(outcome.aType[1], 4); // still consumed

        scene.call.second.nBase = 0; // not in force
        EXPECT_EQ(RunScene(scene).nReturned, 1);

        CLine bright(eKernel);
        bright.At(40) = 140;
        scene = bright.Scene();
        scene.call.second.nBase = 200;
        EXPECT_EQ(RunScene(scene).nReturned, 1);
    }
}

TEST_P(PixelKernels, ARefusedDarkPairOfTheFirstBandLeavesNoSingle)
{
    CLine line(PixelKernel::Vert2);
    line.At(15) = 60; // hits at 5 (type 1) and 15 (type 0)
    CPixelScene scene = line.Scene();
    scene.call.second.nBase = 50;
    EXPECT_EQ(RunScene(scene).nReturned, 0);
    scene.call.second.nBase = 39;
    EXPECT_EQ(RunScene(scene).nReturned, 1);
}

TEST_P(PixelKernels, TheMembersJudgeBrightRecordsByTheFirstSetAndDarkOnesByTheSecond)
{
    for (const PixelKernel eKernel : {PixelKernel::VertIntrin, PixelKernel::VtdsIntrin, PixelKernel::VertWide,
                                      PixelKernel::VtdsWide, PixelKernel::VertMask})
    {
        SCOPED_TRACE(KernelName(eKernel));
        CLine line(eKernel);
        line.At(25) = 130; // bright by 30
        line.At(41) = 70;  // dark by 30
        CPixelScene scene = line.Scene();
        scene.call.first.nBase = 50;
        scene.call.second.nBase = 20; // the smaller finds both, each set keeps its own
        CKernelOutcome outcome = RunScene(scene);
        ASSERT_EQ(outcome.nReturned, 1);
        EXPECT_EQ(outcome.aPairs[0].nDefectType, 0);
        EXPECT_EQ(outcome.aPairs[0].nThreshold, 20);

        scene.call.first.nBase = 20;
        scene.call.second.nBase = 50;
        outcome = RunScene(scene);
        ASSERT_EQ(outcome.nReturned, 1);
        EXPECT_EQ(outcome.aPairs[0].nDefectType, 1);
        EXPECT_EQ(outcome.aPairs[0].nThreshold, 20);

        scene.call.second.nBase = 0; // the first set is used instead
        EXPECT_EQ(RunScene(scene).nReturned, 2);
    }
}

TEST_P(PixelKernels, ARefusedPartnerOfTheMembersStaysFreeAndLeavesNoSingle)
{
    CLine line(PixelKernel::VertIntrin);
    line.At(15) = 130; // hits at 5 (type 0) and 15 (type 1)
    CPixelScene scene = line.Scene();
    scene.call.first.nBase = 50;
    scene.call.second.nBase = 20;
    const CKernelOutcome outcome = RunScene(scene);
    EXPECT_EQ(outcome.nReturned, 0);
    EXPECT_EQ(outcome.aType[1], 1);
    EXPECT_EQ(outcome.aThreshold[1], 50); // the threshold that refused it; the hit stage had written 20
}

TEST_P(PixelKernels, ARowTableSetsThePitchOfItsSixteenRowsAndNotThatOfThePairing)
{
    for (const PixelKernel eKernel :
         {PixelKernel::Vtds, PixelKernel::Vtds2, PixelKernel::VtdsIntrin, PixelKernel::VtdsWide})
    {
        SCOPED_TRACE(KernelName(eKernel));
        CPicture picture(16, 96, 100);
        picture.At(5, 50) = 200;
        CPixelScene scene = SceneOn(picture, eKernel, {0, 20, 16, 90});
        // Rows 20 to 35 use entry 1, rows 36 to 51 entry 2.
        std::vector<int> aTable = {1, 12 * 16, nPitch * 16, 11 * 16, 11 * 16, 11 * 16};
        scene.call.pScanPitchTable = aTable.data();
        EXPECT_EQ(RunScene(scene).nReturned, 1); // seen at 40 and at 50
        aTable[2] = 12 * 16;                     // seen at 38 and at 50: not ten apart
        EXPECT_EQ(RunScene(scene).nReturned, 0);
        scene.call.pScanPitchTable = nullptr;
        EXPECT_EQ(RunScene(scene).nReturned, 1);
    }
}

TEST_P(PixelKernels, RowsOutsideAStripCompareAsZero)
{
    CPicture picture(16, 200, 100);
    CPixelScene scene = SceneOn(picture, PixelKernel::Vtds, {0, 0, 16, 64});
    const std::vector<int> aTable = {nPitch * 16, nPitch * 16, nPitch * 16, 40 * 16};
    scene.call.pScanPitchTable = aTable.data();
    // Rows 48 to 51 look at rows 88 to 91, below the strip: each pixel a bright hit of the last band.
    const CKernelOutcome outcome = RunScene(scene);
    ASSERT_EQ(outcome.nReturned, 64);
    EXPECT_EQ(outcome.aPairs[0].nDefectPos, DefectPos_Last);
    EXPECT_EQ(outcome.aPairs[0].nSrcGray, 0);
    EXPECT_EQ(outcome.aPairs[0].nCmpGray, 100);
}

TEST_P(PixelKernels, AColumnTableGivesASignedDisplacementAndEightWeightsForBothHalves)
{
    CPicture picture(64, 1, 100);
    picture.At(20, 0) = 200;
    CPixelScene scene = SceneOn(picture, PixelKernel::HoriTable, {16, 0, 52, 1});
    scene.call.nPitch16 = 2 * 16;
    std::vector<std::uint16_t> aDisplacement(64, 0);
    aDisplacement[16] = static_cast<std::uint16_t>(-12); // the block at 16 looks back
    aDisplacement[32] = static_cast<std::uint16_t>(-12);
    std::vector<std::int16_t> aNear(64, 0);
    std::vector<std::int16_t> aFar(64, 0);
    for (int k = 0; k < 8; k++)
        aNear[16 + k] = aNear[32 + k] = 16;
    aNear[16] = 12; // lane 0 of both halves
    aFar[16] = 4;
    scene.call.pConvPitchTable = aDisplacement.data();
    scene.call.pConvWeightNear = aNear.data();
    scene.call.pConvWeightFar = aFar.data();
    picture.At(5, 0) = 180;  // weight 4 at x 16: (100 x 12 + 180 x 4) / 16 is 120
    picture.At(13, 0) = 180; // the same at x 24
    scene.call.image = picture.View();
    const CKernelOutcome outcome = RunScene(scene);
    // 16 and 17 see the bright pixel at 5, 20 is bright itself, 24 and 25 see 13, 32 sees 20.
    const std::vector<int> aExpected = {16, 17, 20, 24, 25, 32};
    EXPECT_EQ(std::vector<int>(outcome.aX.begin(), outcome.aX.begin() + 6), aExpected);
    EXPECT_EQ(outcome.aCmpGray[0], 120);
    EXPECT_EQ(outcome.aCmpGray[3], 120);
    EXPECT_EQ(outcome.aX[6], nUntouched);
}

TEST_P(PixelKernels, TheMaskRestrictsOnlySourcePixels)
{
    CLine line(PixelKernel::VertMask);
    line.At(40) = 200;
    CPixelScene scene = line.Scene();
    CPicture mask(static_cast<int>(scene.call.image.nStride), nHigh, 0);
    scene.call.pMask = mask.aPixels.data();
    EXPECT_EQ(RunScene(scene).nReturned, 0);
    mask.At(nAcross, 30) = 1;
    EXPECT_EQ(RunScene(scene).nReturned, 0); // the second hit is masked
    mask.At(nAcross, 40) = 255;
    const CKernelOutcome outcome = RunScene(scene);
    ASSERT_EQ(outcome.nReturned, 1);
    EXPECT_EQ(outcome.aPairs[0].nPeak, 90);
    scene.call.pMask = nullptr;
    EXPECT_EQ(RunScene(scene).nReturned, 1);
}

TEST_P(PixelKernels, AShiftMovesTheComparePositionAlongTheRow)
{
    for (const PixelKernel eKernel : {PixelKernel::VertWide, PixelKernel::VertMask})
    {
        SCOPED_TRACE(KernelName(eKernel));
        CPicture picture(48, nHigh, 100);
        picture.At(15, 57) = 200; // seen from row 47, in the last band
        CPixelScene scene = SceneOn(picture, eKernel, {0, 0, 16, nHigh});
        scene.call.nVtdPitch16 = 3 * 16 + 4; // three pixels and a quarter to the right
        CKernelOutcome outcome = RunScene(scene);
        // (100 x 12 + 200 x 4) / 16 is 125 at x 11, (200 x 12 + 100 x 4) / 16 is 175 at x 12.
        ASSERT_EQ(outcome.nReturned, 2);
        EXPECT_EQ(outcome.aPairs[0].ptDefect, CPoint(11, 57));
        EXPECT_EQ(outcome.aPairs[0].nSrcGray, 125);
        EXPECT_EQ(outcome.aPairs[1].ptDefect, CPoint(12, 57));
        EXPECT_EQ(outcome.aPairs[1].nSrcGray, 175);
    }
}

TEST_P(PixelKernels, ThePitchInPixelsIsTruncatedToSixteenths)
{
    CLine line(PixelKernel::VertWide);
    line.At(40) = 200;
    CPixelScene scene = line.Scene();
    scene.bDoublePitch = true;
    scene.dPitchRemainder = 0.99;
    EXPECT_EQ(RunScene(scene).nReturned, 1);
}

} // namespace
} // namespace narvo::test
