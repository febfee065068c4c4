// Dead zones keep records out of their places and have no other say.
#include <algorithm>

#include "laws/law_test.h"

namespace narvo::test
{
namespace
{

class DeadZoneLaws : public LawTest
{
};

INSTANTIATE_TEST_SUITE_P(Each, DeadZoneLaws, testing::ValuesIn(LawModes()), ModeOfTest);

void ClearDeadZones(CLawScene& scene)
{
    std::fill(std::begin(scene.param.rtDeadZone), std::end(scene.param.rtDeadZone), CRect(0, 0, 0, 0));
}

CRect RandomZone(CRandom& random, const CRect& rtInspect, int nLargest)
{
    const int nLeft = random.Int(rtInspect.left, rtInspect.right);
    const int nTop = random.Int(rtInspect.top, rtInspect.bottom);
    return {nLeft, nTop, nLeft + random.Int(1, nLargest), nTop + random.Int(1, nLargest)};
}

TEST_P(DeadZoneLaws, TheirOrderDoesNotMatterNorOneInsideAnother)
{
    ForEachCase(
        [&](const CLawPath& path, std::uint64_t nSeed)
        {
            CRandom random(nSeed);
            CLawScene scene(path, nSeed);
            ClearDeadZones(scene);
            const int nZones = random.Int(2, 5);
            for (int i = 0; i < nZones; ++i)
                scene.param.rtDeadZone[i] = RandomZone(random, scene.param.rtInspect, 25);
            const CLawOutcome expected = scene.Run(m_pool);
            Count(expected);
            std::reverse(scene.param.rtDeadZone, scene.param.rtDeadZone + nZones);
            CRect rtInner = scene.param.rtDeadZone[0];
            rtInner.right = rtInner.left + (rtInner.Width() + 1) / 2;
            scene.param.rtDeadZone[nZones] = rtInner;
            EXPECT_EQ(scene.Run(m_pool).DifferenceFrom(expected), "") << scene.Describe();
        });
}

// The search that a zone ends early leaves the partner free, so a zone over records may bring others; one over none
// does not.
TEST_P(DeadZoneLaws, AZoneOverNoRecordChangesNothing)
{
    ForEachCase(
        [&](const CLawPath& path, std::uint64_t nSeed)
        {
            CRandom random(nSeed);
            CLawScene scene(path, nSeed);
            ClearDeadZones(scene);
            const CLawOutcome expected = scene.Run(m_pool);
            Count(expected);
            for (int i = 0; i < CConvParam::nDeadZoneLimit - 1;)
            {
                const CRect rtZone = RandomZone(random, scene.param.rtInspect, 8);
                if (std::none_of(expected.aPairs.begin(), expected.aPairs.end(),
                                 [&](const CDefectPair& pair) { return rtZone.PtInRect(pair.ptDefect); }))
                    scene.param.rtDeadZone[i] = rtZone;
                ++i;
                if (scene.param.rtDeadZone[i - 1].IsRectEmpty())
                    break;
            }
            EXPECT_EQ(scene.Run(m_pool).DifferenceFrom(expected), "") << scene.Describe();
        });
}

// Kernels that take no dead zones behave as if there were none.
TEST_P(DeadZoneLaws, NoRecordLiesInsideOneWhereTheyCount)
{
    ForEachCase(
        [&](const CLawPath& path, std::uint64_t nSeed)
        {
            CRandom random(nSeed);
            CLawScene scene(path, nSeed);
            ClearDeadZones(scene);
            const CLawOutcome without = scene.Run(m_pool);
            Count(without);
            CRect& rtZone = scene.param.rtDeadZone[0];
            rtZone = RandomZone(random, scene.param.rtInspect, 30);
            for (int nGrowth = 0; nGrowth < 3; ++nGrowth)
            {
                const CLawOutcome found = scene.Run(m_pool);
                if (path.HasDeadZones())
                {
                    EXPECT_TRUE(std::none_of(found.aPairs.begin(), found.aPairs.end(),
                                             [&](const CDefectPair& pair) { return rtZone.PtInRect(pair.ptDefect); }))
                        << scene.Describe();
                }
                else
                {
                    EXPECT_EQ(found.DifferenceFrom(without), "") << scene.Describe();
                }
                rtZone = CRect(rtZone.left - 5, rtZone.top - 5, rtZone.right + 9, rtZone.bottom + 9);
            }
        });
}

} // namespace
} // namespace narvo::test
