// SPDX-License-Identifier: MIT
// The inspection calls of the engine: set-up, checks, choice of the comparison, re-runs and result codes.
#include <algorithm>
#include <limits>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "engine/inspection_scene.h"
#include "narvoassem/narvoassem.h"

namespace
{

using narvo::test::CZoneScene;

using ClassedBox = std::tuple<int, int, int, int, int>;

/// Rectangle and type of the engine's blobs, sorted.
std::vector<ClassedBox> GetClassedBoxes(CNarvoAssem& engine)
{
    std::vector<ClassedBox> boxes;
    for (int i = 0; i < engine.GetBlobCount(); ++i)
    {
        const CDefectBlob& blob = *engine.GetBlobDefect(i);
        boxes.emplace_back(blob.rtDefect.left, blob.rtDefect.top, blob.rtDefect.right, blob.rtDefect.bottom,
                           blob.nDefectType);
    }
    std::sort(boxes.begin(), boxes.end());
    return boxes;
}

class InspectRect : public testing::Test
{
protected:
    InspectRect() { m_engine.InitAssem(3, 1000); }

    int Inspect(CConvParam& param)
    {
        m_engine.ResetNarvoAssem();
        return m_engine.Inspect_Rect(&param);
    }

    CNarvoAssem m_engine;
};

TEST(Engine, StoresHaveAMinimumOfHitsAndPairsButNotOfBlobs)
{
    CNarvoAssem engine;
    EXPECT_EQ(engine.pThreadControl, nullptr);
    EXPECT_EQ(engine.nReinspectCount, 0);
    EXPECT_EQ(engine.InitAssem(5, 100), 1);
    EXPECT_EQ(engine.nAssemIndex, 5);
    EXPECT_EQ(engine.nPixelSize, 160000);
    EXPECT_EQ(engine.nPairSize, 160000);
    EXPECT_EQ(engine.nBlobSize, 100);
    EXPECT_EQ(engine.InitAssem(6, 80001), 1);
    EXPECT_EQ(engine.nPixelSize, 160002);
    EXPECT_EQ(engine.nPairSize, 160002);
    EXPECT_EQ(engine.nBlobSize, 80001);
}

TEST(Engine, SizesBeyondMemoryFailCleanly)
{
    CNarvoAssem engine;
    EXPECT_EQ(engine.InitAssem(0, std::numeric_limits<int>::max()), 0);
    CZoneScene scene(256, 256, 40, 1);
    EXPECT_EQ(engine.Inspect_Rect(&scene.param), 8);
    EXPECT_EQ(engine.GetBlobCount(), 0);
}

TEST(Engine, EmptyBlobStoreInspectsWithoutBlobs)
{
    CNarvoAssem engine;
    EXPECT_EQ(engine.InitAssem(0, 0), 0);
    CZoneScene scene(256, 256, 40, 1);
    scene.AddDefect(100, 120, 3, 80);
    EXPECT_EQ(engine.Inspect_Rect(&scene.param), 1);
    EXPECT_EQ(engine.GetBlobCount(), 0);
    EXPECT_EQ(engine.GetPairCount(), 9);
}

TEST(Engine, ReinspectionsAreCountedUntilReset)
{
    CNarvoAssem engine;
    engine.CountReinspect();
    engine.CountReinspect();
    EXPECT_EQ(engine.nReinspectCount, 2);
    engine.ResetReinspectCount();
    EXPECT_EQ(engine.nReinspectCount, 0);
    engine.nReinspectCount = std::numeric_limits<int>::max();
    engine.CountReinspect();
    EXPECT_EQ(engine.nReinspectCount, std::numeric_limits<int>::max());
}

TEST_F(InspectRect, FindsDefectsInBothDirections)
{
    for (int nDirection : {0, 1})
    {
        CZoneScene scene(512, 480, 40, nDirection);
        EXPECT_EQ(Inspect(scene.param), 1);
        EXPECT_EQ(m_engine.GetBlobCount(), 0);
        scene.AddDefect(203, 187, 3, 80);
        scene.AddDefect(303, 287, 4, -50);
        EXPECT_EQ(Inspect(scene.param), 1);
        EXPECT_EQ(GetClassedBoxes(m_engine),
                  (std::vector<ClassedBox>{{203, 187, 206, 190, 1}, {303, 287, 307, 291, 0}}));
        EXPECT_EQ(m_engine.GetPairCount(), 9 + 16);
        EXPECT_EQ(m_engine.GetPixelCount(), 0);
        EXPECT_GT(m_engine.dInspectTime, 0.0);
    }
}

TEST_F(InspectRect, DoesNotChangeTheHostsBlock)
{
    CZoneScene scene(256, 256, 40, 1);
    scene.AddStripes(0, 40);
    scene.param.nGrayLimit = 300;
    m_engine.InitPairStorage(50);
    const CConvParam before(scene.param);
    EXPECT_EQ(Inspect(scene.param), 16);
    EXPECT_EQ(scene.param.rtInspect, before.rtInspect);
    EXPECT_EQ(scene.param.pZoneOriginTable, before.pZoneOriginTable);
    EXPECT_EQ(scene.param.nGrayLimit, 300);
    EXPECT_EQ(m_engine.ConvParam.nGrayLimit, 255);
}

TEST_F(InspectRect, BlobsJoinThoseHeldUnlessTheHostResets)
{
    CZoneScene scene(256, 256, 40, 0);
    scene.AddDefect(100, 120, 3, 80);
    Inspect(scene.param);
    EXPECT_EQ(m_engine.Inspect_Rect(&scene.param), 1);
    EXPECT_EQ(m_engine.GetBlobCount(), 2);
    EXPECT_EQ(m_engine.GetPairCount(), 9);
    m_engine.InspectPAD_Clear();
    EXPECT_EQ(m_engine.GetBlobCount(), 2);
    EXPECT_EQ(m_engine.GetPairCount(), 0);
    m_engine.ResetNarvoAssem();
    EXPECT_EQ(m_engine.GetBlobCount(), 0);
    EXPECT_EQ(m_engine.dInspectTime, 0.0);
    EXPECT_EQ(m_engine.dBlobTime, 0.0);
}

TEST_F(InspectRect, ParameterFaultGivesEightWithClearedPairsAndNoTime)
{
    CZoneScene scene(256, 256, 40, 0);
    scene.AddDefect(100, 120, 3, 80);
    Inspect(scene.param);
    m_engine.dInspectTime = -1.0;
    scene.param.nThreshold = 0;
    EXPECT_EQ(m_engine.Inspect_Rect(&scene.param), 8);
    EXPECT_EQ(m_engine.GetPairCount(), 0);
    EXPECT_EQ(m_engine.GetBlobCount(), 1);
    EXPECT_EQ(m_engine.dInspectTime, -1.0);
    EXPECT_EQ(m_engine.Inspect_Rect(nullptr), 8);
}

TEST_F(InspectRect, BinariseAndAverageModesPassWithInvalidPitches)
{
    CZoneScene scene(64, 64, 8, 0);
    scene.param.pThresholdOffsetMap = nullptr;
    scene.param.dConvPitch = 1e9;
    scene.param.dScanPitch = std::numeric_limits<double>::quiet_NaN();
    scene.param.nConvWidth = 0;
    for (int nMode : {2, 3})
    {
        scene.param.nInspectMode = nMode;
        EXPECT_EQ(Inspect(scene.param), 1) << nMode;
    }
    for (int nMode : {0, 1, 4})
    {
        scene.param.nInspectMode = nMode;
        EXPECT_EQ(Inspect(scene.param), 8) << nMode;
    }
}

TEST_F(InspectRect, DefaultBlockInBinariseModeIsDoneAtOnce)
{
    CConvParam param;
    param.nInspectMode = 2;
    EXPECT_EQ(Inspect(param), 1);
    param.nInspectMode = 0;
    EXPECT_EQ(Inspect(param), 8);
}

TEST_F(InspectRect, BinariseModeWithZoneMapsRunsTheZoneComparisonUnchecked)
{
    CZoneScene scene(256, 256, 40, 0);
    scene.AddDefect(100, 120, 3, 80);
    scene.param.nConvWidth = 0;
    scene.param.nThreshold = 0;
    scene.param.nInspectMode = 2;
    EXPECT_EQ(Inspect(scene.param), 1);
    EXPECT_EQ(GetClassedBoxes(m_engine), (std::vector<ClassedBox>{{100, 120, 103, 123, 1}}));
    for (int nMode : {0, 1, 4, -1})
    {
        scene.param.nInspectMode = nMode;
        EXPECT_EQ(Inspect(scene.param), 8) << nMode;
    }
}

TEST_F(InspectRect, ZoneMapsTakePrecedenceOverEveryModeExceptAverage)
{
    CZoneScene scene(256, 256, 40, 0);
    scene.AddDefect(100, 120, 3, 80);
    for (int nMode : {0, 1, 2, 4, -1})
    {
        scene.param.nInspectMode = nMode;
        EXPECT_EQ(Inspect(scene.param), 1) << nMode;
        EXPECT_EQ(GetClassedBoxes(m_engine), (std::vector<ClassedBox>{{100, 120, 103, 123, 1}})) << nMode;
    }
}

TEST_F(InspectRect, UnknownModeChecksAndComparesNothing)
{
    CZoneScene scene(256, 256, 40, 0);
    scene.AddDefect(100, 120, 3, 80);
    scene.param.pThresholdOffsetMap = nullptr;
    scene.param.nInspectMode = 4;
    EXPECT_EQ(Inspect(scene.param), 1);
    EXPECT_EQ(m_engine.GetPairCount(), 0);
    EXPECT_EQ(m_engine.GetBlobCount(), 0);
    EXPECT_GT(m_engine.dInspectTime, 0.0);
}

TEST_F(InspectRect, DirectionTwoIsCheckedAsHorizontalAndComparedAsVertical)
{
    CZoneScene scene(512, 256, 40, 1);
    scene.AddDefect(203, 120, 3, 80);
    scene.param.nDirection = 2;
    EXPECT_EQ(Inspect(scene.param), 1);
    EXPECT_EQ(GetClassedBoxes(m_engine), (std::vector<ClassedBox>{{203, 120, 206, 123, 1}}));

    // Three scan pitches do not fit the region's height: only the vertical check would refuse that.
    scene.param.rtInspect.SetRect(0, 0, 512, 119);
    EXPECT_EQ(Inspect(scene.param), 1);
    scene.param.nDirection = 1;
    EXPECT_EQ(Inspect(scene.param), 8);

    // Three conv pitches do not fit the region's width: only the horizontal check refuses that.
    scene.param.rtInspect.SetRect(0, 0, 119, 256);
    EXPECT_EQ(Inspect(scene.param), 1);
    scene.param.nDirection = 2;
    EXPECT_EQ(Inspect(scene.param), 8);
}

TEST_F(InspectRect, DirectionTwoReRunsFromTheLeftSide)
{
    CZoneScene scene(256, 256, 40, 1);
    scene.AddStripes(0, 16);
    scene.param.nDirection = 2;
    m_engine.InitPairStorage(20);
    EXPECT_EQ(Inspect(scene.param), 16);
    EXPECT_EQ(m_engine.ConvParam.rtInspect, CRect(16, 0, 256, 256));
}

// --- re-runs: the pair store is made so small that one strip overflows it ---

TEST_F(InspectRect, OverflowReRunsFromTheStopAndTheBlobsAddUp)
{
    CZoneScene scene(512, 256, 40, 1);
    scene.AddDefect(4, 100, 5, 80);
    scene.AddDefect(204, 100, 3, 80);
    m_engine.InitPairStorage(20);
    EXPECT_EQ(Inspect(scene.param), 16);
    EXPECT_EQ(m_engine.nReinspectCount, 1);
    EXPECT_EQ(m_engine.ConvParam.rtInspect, CRect(16, 0, 512, 256));
    // The second pass has the whole of its defect, the first the part that fitted; pairs are those of the last pass.
    EXPECT_EQ(m_engine.GetPairCount(), 9);
    ASSERT_EQ(m_engine.GetBlobCount(), 2);
    EXPECT_EQ(GetClassedBoxes(m_engine)[1], (ClassedBox{204, 100, 207, 103, 1}));
}

TEST_F(InspectRect, HorizontalOverflowContinuesBelowTheRow)
{
    CZoneScene scene(512, 256, 40, 0);
    scene.AddDefect(100, 40, 6, 80);
    scene.AddDefect(204, 150, 3, 80);
    m_engine.InitPairStorage(9);
    EXPECT_EQ(Inspect(scene.param), 16);
    EXPECT_GE(m_engine.nReinspectCount, 1);
    EXPECT_GT(m_engine.ConvParam.rtInspect.top, 40);
    EXPECT_EQ(GetClassedBoxes(m_engine).back(), (ClassedBox{204, 150, 207, 153, 1}));
}

TEST_F(InspectRect, ReRunOverACleanRestStillGivesSixteen)
{
    CZoneScene scene(512, 256, 40, 1);
    scene.AddDefect(4, 100, 5, 80);
    m_engine.InitPairStorage(20);
    EXPECT_EQ(Inspect(scene.param), 16);
    EXPECT_EQ(m_engine.GetPairCount(), 0);
    EXPECT_EQ(m_engine.GetBlobCount(), 1);
}

TEST_F(InspectRect, ReRunOverARestThatFailsTheChecksStillGivesSixteen)
{
    CZoneScene scene(512, 256, 40, 1);
    scene.param.rtInspect.SetRect(0, 0, 35, 256);
    scene.param.nConvWidth = 11; // 33 columns at least: 35 pass, the 19 that are left do not
    scene.AddDefect(4, 100, 5, 80);
    m_engine.InitPairStorage(20);
    m_engine.dInspectTime = -1.0;
    EXPECT_EQ(m_engine.Inspect_Rect(&scene.param), 16);
    EXPECT_EQ(m_engine.nReinspectCount, 1);
    EXPECT_GE(m_engine.dInspectTime, 0.0);
}

TEST_F(InspectRect, WithoutReRunsAllowedAnOverflowGivesOne)
{
    CZoneScene scene(512, 256, 40, 1);
    scene.AddDefect(4, 100, 5, 80);
    scene.AddDefect(204, 100, 3, 80);
    scene.param.nMaxReinspect = 0;
    m_engine.InitPairStorage(20);
    EXPECT_EQ(Inspect(scene.param), 1);
    EXPECT_EQ(m_engine.nReinspectCount, 0);
    EXPECT_EQ(m_engine.GetPairCount(), 20);
    EXPECT_EQ(m_engine.GetBlobCount(), 1);
}

TEST_F(InspectRect, StopShortOfTheEndByLessThanAStripCountsAsComplete)
{
    CZoneScene scene(512, 256, 40, 1);
    scene.AddDefect(4, 100, 5, 80);
    m_engine.InitPairStorage(20);
    scene.param.rtInspect.SetRect(0, 0, 31, 256);
    EXPECT_EQ(Inspect(scene.param), 1);
    EXPECT_EQ(m_engine.nReinspectCount, 0);
    scene.param.rtInspect.SetRect(0, 0, 32, 256);
    EXPECT_EQ(Inspect(scene.param), 16);
    EXPECT_EQ(m_engine.nReinspectCount, 1);
}

TEST_F(InspectRect, ReRunsAreUsedUpAcrossCallsUntilTheCountIsReset)
{
    CZoneScene scene(512, 256, 40, 1);
    scene.AddDefect(4, 100, 5, 80);
    scene.param.nMaxReinspect = 1;
    m_engine.InitPairStorage(20);
    EXPECT_EQ(Inspect(scene.param), 16);
    EXPECT_EQ(Inspect(scene.param), 1);
    m_engine.ResetReinspectCount();
    EXPECT_EQ(Inspect(scene.param), 16);
}

TEST_F(InspectRect, ManyReRunsEndWithTheRegion)
{
    CZoneScene scene(512, 256, 40, 1);
    scene.AddStripes(0, 512);
    scene.param.nMaxReinspect = std::numeric_limits<int>::max();
    m_engine.InitPairStorage(20);
    EXPECT_EQ(Inspect(scene.param), 16);
    // 31 of 32 strips are followed by a re-run, while the grid row is long enough for the search of its entry.
    EXPECT_GT(m_engine.nReinspectCount, 0);
    EXPECT_LE(m_engine.nReinspectCount, 31);
}

TEST_F(InspectRect, EndLineThatDoesNotMoveEndsTheReRunsOnceNothingIsNew)
{
    // Binarise mode ends at the region's bottom; with direction 1 that counts as a column, short of the right side.
    CZoneScene scene(256, 100, 20, 1);
    scene.param.pThresholdOffsetMap = nullptr;
    scene.param.nInspectMode = 2;
    scene.param.nThreshold = 20;
    scene.param.nMaxReinspect = std::numeric_limits<int>::max();
    scene.AddDefect(150, 50, 3, -200); // grey 0 lies outside the band
    for (int y = 50; y < 53; ++y)
        scene.Pixel(150, y) = 10;
    EXPECT_EQ(Inspect(scene.param), 16);
    // The same blob in every pass until the store is full; then the re-runs count as used up.
    EXPECT_EQ(m_engine.ConvParam.rtInspect, CRect(100, 0, 256, 100));
    EXPECT_EQ(m_engine.GetBlobCount(), m_engine.nBlobSize);
    EXPECT_EQ(m_engine.nReinspectCount, std::numeric_limits<int>::max());

    scene.param.nMaxReinspect = 3;
    m_engine.ResetReinspectCount();
    EXPECT_EQ(Inspect(scene.param), 16);
    EXPECT_EQ(m_engine.GetBlobCount(), 4);
    EXPECT_EQ(m_engine.nReinspectCount, 3);
}

TEST_F(InspectRect, BinariseModeReRunsFromTheRowThatFilledTheStore)
{
    CZoneScene scene(256, 100, 20, 0);
    scene.param.pThresholdOffsetMap = nullptr;
    scene.param.nInspectMode = 2;
    scene.param.nThreshold = 20;
    for (int y : {10, 50})
        for (int x = 100; x < 106; ++x)
            scene.Pixel(x, y) = 10;
    m_engine.InitPairStorage(4);
    EXPECT_EQ(Inspect(scene.param), 16);
    // Row 10 fills the store and is inspected again: a row with more hits than the store holds is never passed.
    EXPECT_EQ(m_engine.ConvParam.rtInspect.top, 10);
    EXPECT_EQ(m_engine.nReinspectCount, 3);
    EXPECT_EQ(m_engine.GetBlobCount(), 4);
}

TEST_F(InspectRect, ReRunWithoutAnOriginRecordGivesSixteenAtOnce)
{
    // Four columns: the search for the entry starts counting at four and makes no step.
    CZoneScene scene(96, 256, 40, 1);
    ASSERT_EQ(scene.param.nZoneColumns, 4);
    scene.param.nConvMultiple = 0;
    scene.AddDefect(4, 100, 5, 80);
    scene.AddDefect(64, 100, 5, 80);
    m_engine.InitPairStorage(20);
    m_engine.ResetNarvoAssem();
    m_engine.dInspectTime = -1.0;
    EXPECT_EQ(m_engine.Inspect_Rect(&scene.param), 16);
    EXPECT_EQ(m_engine.nReinspectCount, 1);
    EXPECT_EQ(m_engine.dInspectTime, -1.0);
    EXPECT_EQ(m_engine.GetBlobCount(), 1);
    EXPECT_EQ(m_engine.GetPairCount(), 20);
}

TEST_F(InspectRect, OwnBlockMayBeTheArgument)
{
    CZoneScene scene(256, 256, 40, 0);
    scene.AddDefect(100, 120, 3, 80);
    Inspect(scene.param);
    m_engine.ResetNarvoAssem();
    EXPECT_EQ(m_engine.Inspect_Rect(&m_engine.ConvParam), 1);
    EXPECT_EQ(GetClassedBoxes(m_engine), (std::vector<ClassedBox>{{100, 120, 103, 123, 1}}));
}

TEST_F(InspectRect, MorePairsThanTheStoreGiveSixteen)
{
    CZoneScene scene(256, 256, 40, 0);
    scene.param.pThresholdOffsetMap = nullptr;
    scene.param.nInspectMode = 4;
    m_engine.InitPairStorage(0);
    m_engine.nPairSize = -1;
    EXPECT_EQ(m_engine.Inspect_Rect(&scene.param), 16);
}

TEST_F(InspectRect, RegionsOutsideTheImageAreRefused)
{
    CZoneScene scene(256, 256, 40, 1);
    for (const CRect& rtInspect : {CRect(-16, 0, 240, 256), CRect(0, -1, 256, 250), CRect(16, 0, 257, 256),
                                   CRect(0, 0, 256, 257), CRect(0, 0, 2000000000, 256)})
    {
        scene.param.rtInspect = rtInspect;
        for (int nMode : {0, 2})
        {
            scene.param.nInspectMode = nMode;
            EXPECT_EQ(Inspect(scene.param), 8);
        }
    }
}

TEST_F(InspectRect, ZeroDistanceComparesPixelsWithThemselves)
{
    for (int nDirection : {0, 1})
    {
        CZoneScene scene(256, 256, 40, nDirection);
        scene.AddDefect(100, 120, 3, 80);
        scene.param.nConvMultiple = scene.param.nScanMultiple = 0;
        EXPECT_EQ(Inspect(scene.param), 1);
        EXPECT_EQ(m_engine.GetPairCount(), 0);
    }
}

// --- ASG ---

TEST(InspectAsg, KeepsNoSinglesAndUsesTheJumpFilter)
{
    CNarvoAssem engine;
    engine.InitAssem(0, 100);
    CZoneScene scene(512, 480, 40, 1);
    scene.AddDefect(203, 200, 3, 80);
    scene.AddDefect(303, 10, 3, 80); // in the first band, with a partner as well
    EXPECT_EQ(engine.Inspect_ASG(&scene.param), 1);
    EXPECT_EQ(engine.ConvParam.bKeepSingle, 0);
    EXPECT_EQ(engine.ConvParam.nFilterMode, 1);
    EXPECT_EQ(scene.param.bKeepSingle, 1);
    EXPECT_EQ(engine.dInspectTime, 0.0);
    for (int i = 0; i < engine.GetPairCount(); ++i)
        EXPECT_EQ(engine.GetPairDefect(i)->nDefectPair, DefectPair_Paired);
    EXPECT_EQ(GetClassedBoxes(engine), (std::vector<ClassedBox>{{203, 200, 206, 203, 1}}));
}

TEST(InspectAsg, ClearsEarlierBlobsAndChecksInEveryMode)
{
    CNarvoAssem engine;
    engine.InitAssem(0, 100);
    CZoneScene scene(512, 480, 40, 1);
    scene.AddDefect(203, 200, 3, 80);
    engine.Inspect_ASG(&scene.param);
    engine.Inspect_ASG(&scene.param);
    EXPECT_EQ(engine.GetBlobCount(), 1);
    scene.param.nThreshold = 0;
    scene.param.nInspectMode = 2;
    EXPECT_EQ(engine.Inspect_ASG(&scene.param), 8);
    EXPECT_EQ(engine.GetBlobCount(), 0);
}

} // namespace
