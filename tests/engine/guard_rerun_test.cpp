// SPDX-License-Identifier: MIT
// Re-runs without end: counts at the limits of int, stores so small that every pass overflows, passes that do not
// advance.
#include <climits>
#include <string>

#include <gtest/gtest.h>

#include "engine/guard_bases.h"
#include "engine/guard_scene.h"
#include "engine/inspection_scene.h"
#include "support/cpu_limit.h"

namespace
{

using narvo::test::CGuardBase;
using narvo::test::CGuardScene;
using narvo::test::CZoneScene;
using narvo::test::GuardBases;
using narvo::test::RunEntry;

TEST(GuardRerun, EveryComparisonEndsWithStoresOfAnySizeAndRerunsWithoutLimit)
{
    CGuardScene scene(true);
    CAssemControl control;
    control.InitAssemControl(1, 50);
    CNarvoAssem& lane = *control.GetNarvoAssem(0);
    narvo::test::CCpuLimit limit(10);
    for (const CGuardBase& base : GuardBases())
    {
        for (const int nHits : {1, 2, 17, 200000})
        {
            for (const int nPairs : {1, 2, 9, 100})
            {
                const std::string strCase =
                    std::string(base.pName) + " " + std::to_string(nHits) + " " + std::to_string(nPairs);
                limit.Restart(strCase);
                lane.InitPixelStorage(nHits);
                lane.InitPairStorage(nPairs);
                CConvParam param = base.Make(scene);
                param.nMaxReinspect = INT_MAX;
                param.nThreshold = 1;
                param.nThresholdGain = 0;
                control.ResetReinspectCount();
                const int nResult = RunEntry(control, base.eEntry, param);
                EXPECT_TRUE(nResult == 1 || nResult == 16 || nResult == 8) << strCase << ": " << nResult;
                EXPECT_LE(lane.GetBlobCount(), lane.nBlobSize) << strCase;
            }
        }
    }
}

TEST(GuardRerun, NegativeCountsOfRerunsStartNone)
{
    CZoneScene scene(256, 256, 40, 0);
    scene.AddStripes(0, 80);
    CAssemControl control;
    control.InitAssemControl(1, 100);
    control.GetNarvoAssem(0)->InitPairStorage(40);
    for (const int nMax : {0, -1, INT_MIN})
    {
        CConvParam param(scene.param);
        param.nMaxReinspect = nMax;
        control.ResetReinspectCount();
        control.Inspect_Rect(0, &param, 0);
        EXPECT_EQ(control.GetNarvoAssem(0)->nReinspectCount, 0) << nMax;
    }
}

TEST(GuardRerun, RepeatingPassesEndAsIfEachHadBeenMade)
{
    // Scalar thresholds with a direction of neither 0 nor 1: the comparison stops at a row, which the engine takes for
    // a column. What is left after n re-runs depends on n alone, also where most of them are only counted.
    CGuardScene scene(true);
    CConvParam param = scene.MakeParam();
    param.nDirection = 2;
    param.nThreshold = 1;
    param.nThresholdGain = 0;
    const auto Run = [&](int nMax)
    {
        CAssemControl control;
        control.InitAssemControl(1, 3);
        CNarvoAssem& lane = *control.GetNarvoAssem(0);
        lane.InitPixelStorage(1000);
        lane.InitPairStorage(2);
        param.nMaxReinspect = nMax;
        narvo::test::CCpuLimit limit(10);
        limit.Restart("repeating re-runs");
        EXPECT_EQ(lane.Inspect_Rect(&param), 16);
        EXPECT_EQ(lane.nReinspectCount, nMax);
        return lane.ConvParam.rtInspect.left;
    };
    // A cycle ends when the left side is back at its start; it has been reached after 200 re-runs.
    int nRound = 1;
    while (nRound < 100 && (Run(200 + nRound) != Run(200) || Run(201 + nRound) != Run(201)))
        ++nRound;
    ASSERT_LT(nRound, 100);
    EXPECT_EQ(Run(200 + nRound * 1000000), Run(200));
    EXPECT_EQ(Run(201 + nRound * 1000000), Run(201));
}

} // namespace
