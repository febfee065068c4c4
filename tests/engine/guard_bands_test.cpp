// SPDX-License-Identifier: MIT
// The bounds checks refuse a region with bands exactly when they refuse it without: random parameter blocks with the
// band split on and off.
#include <cstdint>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "engine/guard_bases.h"
#include "engine/guard_scene.h"
#include "reference/check_reference.h"
#include "support/random.h"
#include "support/seeds.h"

namespace
{

using narvo::test::CaseSeeds;
using narvo::test::CGuardBase;
using narvo::test::CGuardScene;
using narvo::test::CGuardShape;
using narvo::test::CRandom;
using narvo::test::Entry;
using narvo::test::ExpectRefusal;
using narvo::test::GuardBases;
using narvo::test::ReplayHint;
using narvo::test::RunEntry;

constexpr int nCases = 1200;
constexpr int nWidth = 4200;

CGuardShape WideShape()
{
    CGuardShape shape;
    shape.nImageWidth = nWidth;
    shape.nZoneColumns = nWidth / shape.nCellWidth + 8;
    return shape;
}

/// The blocks that reach the band split, except those with flagged grids, whose records bands do not count.
std::vector<const CGuardBase*> SplitBases(CGuardScene& scene)
{
    std::vector<const CGuardBase*> bases;
    for (const CGuardBase& base : GuardBases())
    {
        const CConvParam param = base.Make(scene);
        const bool bFlagged = param.bZoneFlagged != 0 && param.pThresholdOffsetMap != nullptr;
        if (base.eEntry == Entry::Rect && param.nDirection == 1 && !bFlagged)
            bases.push_back(&base);
    }
    return bases;
}

const std::vector<std::function<void(CConvParam&, CRandom&)>> changes = {
    [](CConvParam& param, CRandom& random) { param.rtInspect.right += random.Int(-2, 2); },
    [](CConvParam& param, CRandom& random) { param.rtInspect.left += random.Int(-1, 30); },
    [](CConvParam& param, CRandom& random) { param.rtInspect.bottom += random.Int(-2, 1); },
    [](CConvParam& param, CRandom& random) { param.rtInspect.top -= random.Int(-2, 1); },
    [](CConvParam& param, CRandom&) { param.rtInspect.SetRect(1 << 20, 0, (1 << 20) + 9000, param.nImageHeight); },
    [](CConvParam& param, CRandom&) { param.pImage = nullptr; },
    [](CConvParam& param, CRandom& random) { param.nScanMultiple = random.Int(-1, 1); },
    [](CConvParam& param, CRandom& random) { param.nConvMultiple = random.OneIn(2) ? -(1 << 28) : 1; },
    [](CConvParam& param, CRandom& random) { param.dConvPitch *= random.OneIn(2) ? -1e12 : 1.0; },
    [](CConvParam& param, CRandom&) { param.dScanPitch = std::numeric_limits<double>::quiet_NaN(); },
    [](CConvParam& param, CRandom& random) { param.dTwicePitch = random.OneIn(2) ? -1.0 : 7.5; },
    [](CConvParam& param, CRandom& random) { param.bKeepSingle = random.Int(0, 1); },
    [](CConvParam& param, CRandom& random) { param.nFilterMode2 = random.Int(0, 1); },
    [](CConvParam& param, CRandom&) { param.pZoneOriginTable = nullptr; },
    [](CConvParam& param, CRandom&) { param.nZoneMapStride = -1; },
    [](CConvParam& param, CRandom& random) { param.nZoneConvMultiple = random.Int(0, 1); },
    [](CConvParam& param, CRandom& random) { param.nZoneScanMultiple = random.Int(0, 1); },
    [](CConvParam& param, CRandom& random) { param.nThreshold = random.Int(0, 1); },
    [](CConvParam& param, CRandom& random) { param.nConvWidth = random.OneIn(2) ? 700 : 1500; },
    [](CConvParam& param, CRandom&) { param.nDirection = 2; },
};

/// Whether the engine's parameter checks, which are not bounds checks, refuse the whole region.
bool FailsParameterCheck(CNarvoAssem& engine, const CConvParam& param)
{
    if (param.nInspectMode == 2 || param.nInspectMode == 3)
        return false;
    CConvParam copy(param);
    engine.SetConvParam(&copy);
    int nCheck = 0;
    return (param.nDirection == 1 ? engine.CheckParameter_Vert(nCheck) : engine.CheckParameter(nCheck)) != 1;
}

TEST(GuardBands, RefusalsAreTheSameWithBandsAndWithout)
{
    CGuardScene scene(true, WideShape());
    const std::vector<const CGuardBase*> bases = SplitBases(scene);
    ASSERT_GT(bases.size(), 20U);
    CAssemControl pool;
    pool.InitAssemControl(1, 500);
    int nGuarded = 0;
    int nSplit = 0;

    const std::vector<std::uint64_t> seeds = CaseSeeds("guard bands", nCases);
    for (const std::uint64_t nSeed : seeds)
    {
        CRandom random(nSeed);
        const CGuardBase& base = *bases[static_cast<std::size_t>(random.Int(0, static_cast<int>(bases.size()) - 1))];
        CConvParam param = base.Make(scene);
        param.nMaxReinspect = 0;
        for (int i = random.Int(0, 3); i > 0; --i)
            changes[static_cast<std::size_t>(random.Int(0, static_cast<int>(changes.size()) - 1))](param, random);
        SCOPED_TRACE(std::string(base.pName) + ", " + ReplayHint(nSeed));

        param.bBandThread = 0;
        const int nWhole = RunEntry(pool, base.eEntry, param);
        EXPECT_EQ(nWhole == 8, ExpectRefusal(param, base.eEntry) == 8);
        param.bBandThread = 1;
        const int nBands = RunEntry(pool, base.eEntry, param);
        EXPECT_EQ(nBands == 8, ExpectRefusal(param, base.eEntry) == 8);
        if (nBands == 8)
        {
            EXPECT_EQ(pool.GetNarvoAssem(0)->GetBlobCount(), 0);
        }
        else
            ++nSplit;

        if (nWhole == 8 && !FailsParameterCheck(*pool.GetNarvoAssem(0), param))
        {
            EXPECT_EQ(nBands, 8);
            ++nGuarded;
        }
        if (HasFailure())
            return;
    }
    // The changes must cover what they are meant for: all cases together do, a share of them need not.
    if (static_cast<int>(seeds.size()) == nCases)
    {
        EXPECT_GT(nGuarded, nCases / 10);
        EXPECT_GT(nSplit, nCases / 4);
    }
}

} // namespace
