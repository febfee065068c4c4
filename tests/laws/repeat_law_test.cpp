// Nothing outside a call has a say in it: neither earlier calls, nor other lanes, nor pixels that no rule reaches.
#include <thread>

#include "laws/law_test.h"

namespace narvo::test
{
namespace
{

/// A path of any mode.
CLawPath AnyPath(CRandom& random)
{
    const LawMode eMode = LawModes()[static_cast<std::size_t>(random.Int(0, static_cast<int>(LawModes().size()) - 1))];
    const std::vector<CLawPath> aPaths = LawPaths(eMode);
    return aPaths[static_cast<std::size_t>(random.Int(0, static_cast<int>(aPaths.size()) - 1))];
}

class RepeatLaws : public LawTest
{
};

INSTANTIATE_TEST_SUITE_P(Each, RepeatLaws, testing::ValuesIn(LawModes()), ModeOfTest);

TEST_P(RepeatLaws, ASecondRunGivesTheSameWhateverRanBetween)
{
    ForEachCase(
        [&](const CLawPath& path, std::uint64_t nSeed)
        {
            const CLawScene scene(path, nSeed);
            const CLawOutcome first = scene.Run(m_pool);
            Count(first);
            EXPECT_EQ(scene.Run(m_pool).DifferenceFrom(first), "") << "at once, " << scene.Describe();
            CRandom random(nSeed);
            const CLawScene other(AnyPath(random), random.Next());
            other.Run(m_pool);
            EXPECT_EQ(scene.Run(m_pool).DifferenceFrom(first), "")
                << "after " << other.path.pName << ", " << scene.Describe();
        });
}

TEST_P(RepeatLaws, AFreshPoolGivesTheSameAsAUsedOne)
{
    for (const CLawPath& path : LawPaths(GetParam()))
    {
        const CLawScene scene(path, CaseSeeds(path.pName, 1).front());
        CLawPool fresh;
        const CLawOutcome first = scene.Run(fresh);
        EXPECT_EQ(scene.Run(m_pool).DifferenceFrom(first), "") << scene.Describe();
    }
}

TEST_P(RepeatLaws, PixelsBeyondTheReachChangeNothing)
{
    ForEachCase(
        [&](const CLawPath& path, std::uint64_t nSeed)
        {
            CLawScene scene(path, nSeed);
            const CLawOutcome expected = scene.Run(m_pool);
            Count(expected);
            scene.rtImage = CRect(scene.rtImage.left - 48, scene.rtImage.top - 32, scene.rtImage.right + 36,
                                  scene.rtImage.bottom + 50);
            scene.bNoiseBeyondReach = true;
            EXPECT_EQ(scene.Run(m_pool).DifferenceFrom(expected), "") << scene.Describe();
        });
}

TEST(LaneLaws, TwoLanesAtOnceGiveWhatEachGivesAlone)
{
    CLawPool together(2);
    CLawPool alone;
    for (const std::uint64_t nSeed : CaseSeeds("two lanes", 150))
    {
        CRandom random(nSeed);
        const CLawScene left(AnyPath(random), random.Next());
        const CLawScene right(AnyPath(random), random.Next());
        CLawOutcome leftFound;
        CLawOutcome rightFound;
        std::thread leftLane([&] { leftFound = left.Run(together, 0); });
        std::thread rightLane([&] { rightFound = right.Run(together, 1); });
        leftLane.join();
        rightLane.join();
        ASSERT_EQ(leftFound.DifferenceFrom(left.Run(alone)), "") << left.Describe() << ReplayHint(nSeed);
        ASSERT_EQ(rightFound.DifferenceFrom(right.Run(alone)), "") << right.Describe() << ReplayHint(nSeed);
    }
}

} // namespace
} // namespace narvo::test
