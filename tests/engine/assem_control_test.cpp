// SPDX-License-Identifier: MIT
// The pool of engines: lanes, checks before the engine, and the call of the engine.
#include <limits>
#include <memory>
#include <thread>

#include <gtest/gtest.h>

#include "engine/inspection_scene.h"
#include "narvoassem/narvoassem.h"

namespace
{

using narvo::test::CZoneScene;

TEST(Pool, BeginsEmptyAndCopiesShareTheArray)
{
    CAssemControl control;
    EXPECT_EQ(control.nAssemCount, 0);
    EXPECT_EQ(control.nAssemCapacity, 0);
    EXPECT_EQ(control.pAssem, nullptr);
    EXPECT_EQ(control.InitAssemControl(1, 10), 1);
    CAssemControl copy(control);
    EXPECT_EQ(copy.pAssem, control.pAssem);
    EXPECT_EQ(copy.nAssemCapacity, 1);
    copy.pAssem = nullptr; // the array has one owner again
}

TEST(Pool, FewerLanesKeepTheEnginesAllocated)
{
    CAssemControl control;
    ASSERT_EQ(control.InitAssemControl(4, 10), 4);
    CNarvoAssem* const pEngines = control.pAssem;
    EXPECT_EQ(control.InitAssemControl(2, 10), 2);
    EXPECT_EQ(control.pAssem, pEngines);
    EXPECT_EQ(control.nAssemCount, 2);
    EXPECT_EQ(control.nAssemCapacity, 4);

    for (int i = 0; i < 4; ++i)
        pEngines[i].nReinspectCount = 7;
    control.ResetReinspectCount();
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(pEngines[i].nReinspectCount, 0) << i;
}

TEST(Pool, LanesAreNumberedAndHaveFourSubEngines)
{
    CAssemControl control;
    ASSERT_EQ(control.InitAssemControl(2, 10), 2);
    for (int i = 0; i < 2; ++i)
    {
        EXPECT_EQ(control.GetNarvoAssem(i)->nAssemIndex, i);
        ASSERT_NE(control.GetNarvoAssem(i)->pThreadControl, nullptr);
        EXPECT_EQ(control.GetNarvoAssem(i)->pThreadControl->GetCount(), 4);
        EXPECT_EQ(control.GetNarvoAssem(i)->pThreadControl->GetAssem(3)->nPairSize, 160000);
        EXPECT_EQ(control.GetNarvoAssem(i)->pThreadControl->GetAssem(3)->pThreadControl, nullptr);
    }
}

TEST(Pool, NewSizeReachesTheLanesButNotTheirSubEngines)
{
    CAssemControl control;
    ASSERT_EQ(control.InitAssemControl(1, 100), 1);
    CNarvoAssem& lane = *control.GetNarvoAssem(0);
    EXPECT_EQ(control.InitAssemControl(1, 30), 1);
    EXPECT_EQ(lane.nBlobSize, 30);
    EXPECT_EQ(lane.pThreadControl->GetAssem(0)->nBlobSize, 100);
}

TEST(Pool, ReturnsEnginesUpToOnePastTheLanesInUse)
{
    CAssemControl control;
    EXPECT_EQ(control.GetNarvoAssem(0), nullptr);
    ASSERT_EQ(control.InitAssemControl(2, 10), 2);
    EXPECT_EQ(control.GetNarvoAssem(-1), nullptr);
    EXPECT_EQ(control.GetNarvoAssem(0), control.pAssem);
    EXPECT_EQ(control.GetNarvoAssem(2), control.pAssem + 2);
    EXPECT_EQ(control.GetNarvoAssem(3), nullptr);
}

TEST(Pool, CountsBelowOneMakeNoEngines)
{
    CAssemControl control;
    CConvParam param;
    EXPECT_EQ(control.InitAssemControl(0, 10), 0);
    EXPECT_EQ(control.Inspect_Rect(0, &param, 0), 8);
    EXPECT_EQ(control.InitAssemControl(-3, 10), -3);
    EXPECT_EQ(control.GetNarvoAssem(0), nullptr);
    EXPECT_EQ(control.Inspect_Rect(0, &param, 0), 8);
    EXPECT_EQ(control.Inspect_Rect(-3, &param, 0), 8);
    control.ResetReinspectCount();
}

class PoolInspect : public testing::Test
{
protected:
    PoolInspect() { m_control.InitAssemControl(2, 200); }

    CNarvoAssem& Lane() { return *m_control.GetNarvoAssem(1); }
    int Inspect(CConvParam& param, int bASG = 0) { return m_control.Inspect_Rect(1, &param, bASG); }

    CAssemControl m_control;
};

TEST_F(PoolInspect, IndexOutsideTheLanesHasNoSideEffects)
{
    CZoneScene scene(256, 256, 40, 0);
    scene.param.nInspectMode = 3;
    scene.param.nThreshold = -5;
    Lane().nPairCount = 3;
    Lane().nBlobCount = 2;
    for (int nIndex : {-1, 2, 3, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()})
    {
        EXPECT_EQ(m_control.Inspect_Rect(nIndex, &scene.param, 0), 8);
        EXPECT_EQ(m_control.Inspect_Rect(nIndex, &scene.param, 1), 8);
        EXPECT_EQ(m_control.Inspect_Trapezium(nIndex, &scene.param), 8);
        EXPECT_EQ(m_control.Inspect_ASG(nIndex, &scene.param), 8);
    }
    EXPECT_EQ(scene.param.nThreshold, -5);
    EXPECT_EQ(Lane().nPairCount, 3);
    EXPECT_EQ(Lane().nBlobCount, 2);
    Lane().nPairCount = 0;
    Lane().nBlobCount = 0;
}

TEST_F(PoolInspect, ClearsTheEngineBeforeItsChecks)
{
    CZoneScene scene(256, 256, 40, 0);
    scene.AddDefect(100, 120, 3, 80);
    EXPECT_EQ(Inspect(scene.param), 1);
    EXPECT_EQ(Inspect(scene.param), 1);
    EXPECT_EQ(Lane().GetBlobCount(), 1);
    scene.param.nConvMultiple = 3;
    EXPECT_EQ(Inspect(scene.param), 8);
    EXPECT_EQ(Lane().GetBlobCount(), 0);
    EXPECT_EQ(Lane().GetPairCount(), 0);
}

TEST_F(PoolInspect, RegionNarrowerThanThreePitchesIsRefusedWithoutAutoDirection)
{
    CZoneScene scene(256, 256, 40, 0);
    scene.param.rtInspect.SetRect(0, 0, 119, 256);
    EXPECT_EQ(Inspect(scene.param), 8);
    EXPECT_EQ(scene.param.nDirection, 0);
    scene.param.rtInspect.SetRect(0, 0, 120, 256);
    EXPECT_EQ(Inspect(scene.param), 1);
    scene.param.nDirection = 1;
    scene.param.rtInspect.SetRect(0, 0, 256, 119);
    EXPECT_EQ(Inspect(scene.param), 8);
}

TEST_F(PoolInspect, RegionTooSmallBothWaysGivesSixtyFourWithAutoDirection)
{
    CZoneScene scene(256, 256, 40, 0);
    scene.param.bAutoDirection = 1;
    scene.param.rtInspect.SetRect(0, 0, 119, 119);
    EXPECT_EQ(Inspect(scene.param), 64);
    EXPECT_EQ(scene.param.nDirection, 0);
    scene.param.nDirection = 1;
    EXPECT_EQ(Inspect(scene.param), 64);
    EXPECT_EQ(scene.param.nDirection, 1);
}

TEST_F(PoolInspect, SwappedDirectionIsLeftInTheHostsBlock)
{
    CZoneScene scene(256, 256, 40, 1);
    scene.AddDefect(80, 120, 3, 80);
    scene.param.nDirection = 0;
    scene.param.bAutoDirection = 1;
    scene.param.rtInspect.SetRect(0, 0, 119, 256);
    EXPECT_EQ(Inspect(scene.param), 1);
    EXPECT_EQ(scene.param.nDirection, 1);
    EXPECT_EQ(Lane().GetBlobCount(), 1);

    scene.param.rtInspect.SetRect(0, 0, 256, 119);
    scene.param.pThresholdOffsetMap = nullptr;
    scene.param.nInspectMode = 4;
    EXPECT_EQ(Inspect(scene.param), 1);
    EXPECT_EQ(scene.param.nDirection, 0);
}

TEST_F(PoolInspect, OtherDirectionsAndBinariseModeHaveNoPitchTest)
{
    CZoneScene scene(256, 256, 40, 1);
    scene.param.pThresholdOffsetMap = nullptr;
    scene.param.rtInspect.SetRect(0, 0, 60, 60);
    scene.param.bAutoDirection = 1;
    scene.param.nInspectMode = 2;
    for (int nDirection : {0, 1})
    {
        scene.param.nDirection = nDirection;
        EXPECT_EQ(Inspect(scene.param), 1);
        EXPECT_EQ(scene.param.nDirection, nDirection);
    }
    // The pool lets direction 2 pass; the engine's own check then refuses it.
    scene.param.nInspectMode = 4;
    scene.param.nDirection = 2;
    EXPECT_EQ(Inspect(scene.param), 8);
    EXPECT_EQ(scene.param.nDirection, 2);
}

TEST_F(PoolInspect, NotANumberPassesThePitchTestAndIsRefusedByTheEngine)
{
    CZoneScene scene(256, 256, 40, 0);
    scene.param.bAutoDirection = 1;
    scene.param.dConvPitch = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(Inspect(scene.param), 8);
    EXPECT_EQ(scene.param.nDirection, 0);
}

class PoolAverage : public PoolInspect
{
protected:
    PoolAverage() : m_scene(256, 256, 40, 0)
    {
        m_scene.param.pThresholdOffsetMap = nullptr;
        m_scene.param.nInspectMode = 3;
        m_scene.param.nThreshold = 60;
        m_scene.param.nBlackFilterGray = -60;
    }
    CZoneScene m_scene;
};

TEST_F(PoolAverage, ThresholdsGetTheirSigns)
{
    m_scene.param.nThreshold = -12;
    m_scene.param.nBlackFilterGray = 7;
    Inspect(m_scene.param);
    EXPECT_EQ(m_scene.param.nThreshold, 12);
    EXPECT_EQ(m_scene.param.nBlackFilterGray, -7);
    EXPECT_EQ(Lane().ConvParam.nThreshold, 12);
    EXPECT_EQ(Lane().ConvParam.nBlackFilterGray, -7);
}

TEST_F(PoolAverage, ThresholdsOfZeroAreRefused)
{
    m_scene.param.nThreshold = 0;
    EXPECT_EQ(Inspect(m_scene.param), 8);
    m_scene.param.nThreshold = 60;
    m_scene.param.nBlackFilterGray = 0;
    EXPECT_EQ(Inspect(m_scene.param), 8);
    m_scene.param.nBlackFilterGray = -1;
    m_scene.param.nThreshold = std::numeric_limits<int>::min();
    EXPECT_EQ(Inspect(m_scene.param), 8);
}

TEST_F(PoolAverage, RegionMustHoldTheBackgroundWindow)
{
    m_scene.param.rtInspect.SetRect(0, 0, 44, 100);
    EXPECT_EQ(Inspect(m_scene.param), 64);
    m_scene.param.rtInspect.SetRect(0, 0, 100, 44);
    EXPECT_EQ(Inspect(m_scene.param), 64);
    m_scene.param.rtInspect.SetRect(0, 0, 45, 45);
    EXPECT_EQ(Inspect(m_scene.param), 1);
}

TEST_F(PoolAverage, IsNeverSplit)
{
    m_scene.param.nDirection = 1;
    EXPECT_EQ(Inspect(m_scene.param), 1);
    EXPECT_EQ(Lane().pThreadControl->GetAssem(0)->ConvParam.pImage, nullptr);
}

TEST_F(PoolInspect, AsgFlagLeadsToTheAsgInspection)
{
    CZoneScene scene(256, 256, 40, 1);
    scene.AddDefect(100, 120, 3, 80);
    EXPECT_EQ(Inspect(scene.param, 1), 1);
    EXPECT_EQ(Lane().ConvParam.bKeepSingle, 0);
    EXPECT_EQ(Lane().GetBlobCount(), 1);
    EXPECT_EQ(m_control.Inspect_ASG(1, &scene.param), 1);
    EXPECT_EQ(Lane().GetBlobCount(), 1);
    EXPECT_EQ(m_control.Inspect_ASG(0, nullptr), 8);
}

TEST_F(PoolInspect, ANullBlockOrAMissingLaneGivesEight)
{
    CZoneScene scene(256, 256, 40, 0);
    EXPECT_EQ(m_control.Inspect_Rect(1, nullptr, 0), 8);
    EXPECT_EQ(m_control.Inspect_Rect(1, nullptr, 1), 8);
    EXPECT_EQ(m_control.Inspect_Trapezium(1, nullptr), 8);
    EXPECT_EQ(m_control.Inspect_ASG(1, nullptr), 8);
    EXPECT_EQ(Lane().Inspect_RectThread(nullptr), 8);
    EXPECT_EQ(Lane().pThreadControl->Inspect(0, nullptr), 8);
    for (const int nIndex : {-1, 2})
    {
        EXPECT_EQ(m_control.Inspect_Rect(nIndex, &scene.param, 0), 8);
        EXPECT_EQ(m_control.Inspect_Trapezium(nIndex, &scene.param), 8);
        EXPECT_EQ(m_control.Inspect_ASG(nIndex, &scene.param), 8);
    }
    for (const int nIndex : {-1, 4})
        EXPECT_EQ(Lane().pThreadControl->Inspect(nIndex, &scene.param), 8);
}

TEST_F(PoolInspect, VerticalRegionsTakeTheBandSplitUnlessItIsSwitchedOff)
{
    CZoneScene scene(4400, 130, 40, 1);
    scene.AddDefect(800, 60, 3, 80);
    scene.AddDefect(3000, 60, 3, 80);
    scene.param.bBandThread = 0;
    EXPECT_EQ(Inspect(scene.param), 1);
    EXPECT_EQ(Lane().GetBlobCount(), 2);
    EXPECT_EQ(Lane().GetPairCount(), 18);
    EXPECT_EQ(Lane().pThreadControl->GetAssem(0)->ConvParam.pImage, nullptr);

    scene.param.bBandThread = 5;
    EXPECT_EQ(Inspect(scene.param), 1);
    EXPECT_EQ(Lane().GetBlobCount(), 2);
    EXPECT_EQ(Lane().GetPairCount(), 18);
    EXPECT_NE(Lane().pThreadControl->GetAssem(0)->ConvParam.pImage, nullptr);
    EXPECT_NE(Lane().pThreadControl->GetAssem(1)->ConvParam.pImage, nullptr);
    EXPECT_EQ(Lane().pThreadControl->GetAssem(2)->ConvParam.pImage, nullptr);
}

TEST_F(PoolInspect, HorizontalRegionsAreNeverSplit)
{
    CZoneScene scene(4400, 130, 40, 0);
    scene.AddDefect(3000, 60, 3, 80);
    EXPECT_EQ(Inspect(scene.param), 1);
    EXPECT_EQ(Lane().GetBlobCount(), 1);
    EXPECT_EQ(Lane().pThreadControl->GetAssem(0)->ConvParam.pImage, nullptr);
}

TEST_F(PoolInspect, LanesRunOnHostThreadsAtOnce)
{
    const auto pVertical = std::make_unique<CZoneScene>(4400, 130, 40, 1);
    const auto pHorizontal = std::make_unique<CZoneScene>(512, 480, 40, 0);
    for (int i = 0; i < 12; ++i)
    {
        pVertical->AddDefect(100 + 350 * i, 50 + i, 3, 80);
        pHorizontal->AddDefect(60 + 31 * i, 30 + 35 * i, 3, -40);
    }
    const auto Count = [&](int nLane, CConvParam& param)
    {
        m_control.Inspect_Rect(nLane, &param, 0);
        return m_control.GetNarvoAssem(nLane)->GetBlobCount();
    };
    const int nVertical = Count(0, pVertical->param);
    const int nHorizontal = Count(1, pHorizontal->param);
    ASSERT_EQ(nVertical, 12);
    ASSERT_GT(nHorizontal, 8);

    int nWrong[2] = {0, 0};
    const auto Repeat = [&](int nLane, CConvParam& param, int nExpected)
    {
        for (int i = 0; i < 20; ++i)
            nWrong[nLane] += Count(nLane, param) != nExpected;
    };
    std::thread first(Repeat, 0, std::ref(pVertical->param), nVertical);
    std::thread second(Repeat, 1, std::ref(pHorizontal->param), nHorizontal);
    first.join();
    second.join();
    EXPECT_EQ(nWrong[0], 0);
    EXPECT_EQ(nWrong[1], 0);
}

} // namespace
