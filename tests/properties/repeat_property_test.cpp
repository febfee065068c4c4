// SPDX-License-Identifier: MIT
// A result depends on its call only: not on earlier calls, other lanes, or pixels that nothing reads.
#include <thread>

#include "properties/property_test.h"

namespace narvo::test
{
namespace
{

/// A path of any mode.
CPropertyPath AnyPath(CRandom& random)
{
    const PropertyMode eMode =
        PropertyModes()[static_cast<std::size_t>(random.Int(0, static_cast<int>(PropertyModes().size()) - 1))];
    const std::vector<CPropertyPath> aPaths = PropertyPaths(eMode);
    return aPaths[static_cast<std::size_t>(random.Int(0, static_cast<int>(aPaths.size()) - 1))];
}

class RepeatProperties : public PropertyTest
{
};

INSTANTIATE_TEST_SUITE_P(Each, RepeatProperties, testing::ValuesIn(PropertyModes()), ModeOfTest);

TEST_P(RepeatProperties, ASecondRunGivesTheSameAfterAnyOtherRun)
{
    ForEachCase(
        [&](const CPropertyPath& path, std::uint64_t nSeed)
        {
            const CPropertyScene scene(path, nSeed);
            const CPropertyOutcome first = scene.Run(m_pool);
            Count(first);
            EXPECT_EQ(scene.Run(m_pool).DifferenceFrom(first), "") << "immediately after, " << scene.Describe();
            CRandom random(nSeed);
            const CPropertyScene other(AnyPath(random), random.Next());
            other.Run(m_pool);
            EXPECT_EQ(scene.Run(m_pool).DifferenceFrom(first), "")
                << "after " << other.path.pName << ", " << scene.Describe();
        });
}

TEST_P(RepeatProperties, AFreshPoolGivesTheSameAsAUsedOne)
{
    for (const CPropertyPath& path : PropertyPaths(GetParam()))
    {
        const CPropertyScene scene(path, CaseSeeds(path.pName, 1).front());
        CPropertyPool fresh;
        const CPropertyOutcome first = scene.Run(fresh);
        EXPECT_EQ(scene.Run(m_pool).DifferenceFrom(first), "") << scene.Describe();
    }
}

TEST_P(RepeatProperties, PixelsBeyondTheReachChangeNothing)
{
    ForEachCase(
        [&](const CPropertyPath& path, std::uint64_t nSeed)
        {
            CPropertyScene scene(path, nSeed);
            const CPropertyOutcome expected = scene.Run(m_pool);
            Count(expected);
            scene.rtImage = CRect(scene.rtImage.left - 48, scene.rtImage.top - 32, scene.rtImage.right + 36,
                                  scene.rtImage.bottom + 50);
            scene.bNoiseBeyondReach = true;
            EXPECT_EQ(scene.Run(m_pool).DifferenceFrom(expected), "") << scene.Describe();
        });
}

TEST(LaneProperties, ConcurrentLanesGiveTheSameAsEachAlone)
{
    CPropertyPool bothLanes(2);
    CPropertyPool alone;
    for (const std::uint64_t nSeed : CaseSeeds("two lanes", 150))
    {
        CRandom random(nSeed);
        const CPropertyScene left(AnyPath(random), random.Next());
        const CPropertyScene right(AnyPath(random), random.Next());
        CPropertyOutcome leftFound;
        CPropertyOutcome rightFound;
        std::thread leftLane([&] { leftFound = left.Run(bothLanes, 0); });
        std::thread rightLane([&] { rightFound = right.Run(bothLanes, 1); });
        leftLane.join();
        rightLane.join();
        ASSERT_EQ(leftFound.DifferenceFrom(left.Run(alone)), "") << left.Describe() << ReplayHint(nSeed);
        ASSERT_EQ(rightFound.DifferenceFrom(right.Run(alone)), "") << right.Describe() << ReplayHint(nSeed);
    }
}

} // namespace
} // namespace narvo::test
