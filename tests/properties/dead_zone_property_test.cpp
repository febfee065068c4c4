// SPDX-License-Identifier: MIT
// Dead zones suppress the records inside them and change nothing else.
#include <algorithm>

#include "properties/property_test.h"

namespace narvo::test
{
namespace
{

class DeadZoneProperties : public PropertyTest
{
};

INSTANTIATE_TEST_SUITE_P(Each, DeadZoneProperties, testing::ValuesIn(PropertyModes()), ModeOfTest);

void ClearDeadZones(CPropertyScene& scene)
{
    std::fill(std::begin(scene.param.rtDeadZone), std::end(scene.param.rtDeadZone), CRect(0, 0, 0, 0));
}

CRect RandomZone(CRandom& random, const CRect& rtInspect, int nLargest)
{
    const int nLeft = random.Int(rtInspect.left, rtInspect.right);
    const int nTop = random.Int(rtInspect.top, rtInspect.bottom);
    return {nLeft, nTop, nLeft + random.Int(1, nLargest), nTop + random.Int(1, nLargest)};
}

TEST_P(DeadZoneProperties, OrderAndNestingDoNotMatter)
{
    ForEachCase(
        [&](const CPropertyPath& path, std::uint64_t nSeed)
        {
            CRandom random(nSeed);
            CPropertyScene scene(path, nSeed);
            ClearDeadZones(scene);
            const int nZones = random.Int(2, 5);
            for (int i = 0; i < nZones; ++i)
                scene.param.rtDeadZone[i] = RandomZone(random, scene.param.rtInspect, 25);
            const CPropertyOutcome expected = scene.Run(m_pool);
            Count(expected);
            std::reverse(scene.param.rtDeadZone, scene.param.rtDeadZone + nZones);
            CRect rtInner = scene.param.rtDeadZone[0];
            rtInner.right = rtInner.left + (rtInner.Width() + 1) / 2;
            scene.param.rtDeadZone[nZones] = rtInner;
            EXPECT_EQ(scene.Run(m_pool).DifferenceFrom(expected), "") << scene.Describe();
        });
}

// A zone that drops a hit leaves its partner free, so a zone over records can cause other records; a zone over none
// cannot.
TEST_P(DeadZoneProperties, AZoneOverNoRecordChangesNothing)
{
    ForEachCase(
        [&](const CPropertyPath& path, std::uint64_t nSeed)
        {
            CRandom random(nSeed);
            CPropertyScene scene(path, nSeed);
            ClearDeadZones(scene);
            const CPropertyOutcome expected = scene.Run(m_pool);
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

// Kernels without dead zones ignore them.
TEST_P(DeadZoneProperties, NoRecordLiesInsideAnActiveZone)
{
    ForEachCase(
        [&](const CPropertyPath& path, std::uint64_t nSeed)
        {
            CRandom random(nSeed);
            CPropertyScene scene(path, nSeed);
            ClearDeadZones(scene);
            const CPropertyOutcome without = scene.Run(m_pool);
            Count(without);
            CRect& rtZone = scene.param.rtDeadZone[0];
            rtZone = RandomZone(random, scene.param.rtInspect, 30);
            for (int nGrowth = 0; nGrowth < 3; ++nGrowth)
            {
                const CPropertyOutcome found = scene.Run(m_pool);
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
