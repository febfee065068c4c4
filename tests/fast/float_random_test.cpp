// Every float kernel against the plain reference on random scenes, bit for bit, at every vector level.
#include <gtest/gtest.h>

#include "fast/float_random_scene.h"
#include "support/seeds.h"
#include "support/vector_levels.h"

namespace narvo::test
{
namespace
{

constexpr int nCases = 20000;
constexpr int nReportedFailures = 3;

/// Runs nCases scenes, which fnMake gives by seed, through the reference and fnRun at each level.
template <typename TMake, typename TRun>
void HoldToTheReference(const std::string& strName, const TMake& fnMake, const TRun& fnRun)
{
    CKernelOutcome expected;
    CKernelOutcome found;
    const std::vector<std::int64_t> aLevels = VectorLevels();
    CForcedLevel forced(aLevels.front());
    int nFailures = 0;
    std::int64_t nRecords = 0;

    const std::vector<std::uint64_t> aSeeds = CaseSeeds(strName, nCases);
    for (const std::uint64_t nSeed : aSeeds)
    {
        const auto& scene = fnMake(nSeed);
        RunReference(scene, expected);
        nRecords += expected.nReturned;
        for (const std::int64_t nLevel : aLevels)
        {
            forced.Change(nLevel);
            fnRun(scene, found);
            const std::string strDifference = found.DifferenceFrom(expected);
            if (strDifference.empty())
                continue;
            ADD_FAILURE() << LevelName(nLevel) << ": " << strDifference << '\n'
                          << scene.Describe() << '\n'
                          << ReplayHint(nSeed);
            if (++nFailures >= nReportedFailures)
                return;
        }
    }
    // The scenes must exercise what they are for.
    if (aSeeds.size() == static_cast<std::size_t>(nCases))
    {
        EXPECT_GT(nRecords, nCases);
    }
}

class FloatKernelsRandom : public testing::TestWithParam<FloatKernel>
{
};

TEST_P(FloatKernelsRandom, AgreeWithTheReferenceAtEveryLevel)
{
    CFloatSceneSource source;
    HoldToTheReference(
        KernelName(GetParam()),
        [&](std::uint64_t nSeed) -> const CFloatScene& { return source.Make(GetParam(), nSeed); },
        [](const CFloatScene& scene, CKernelOutcome& outcome)
        {
            if (scene.call.image.nRows == 0)
                RunPublic(scene, outcome);
            else
                RunThroughCall(scene, outcome);
        });
}

INSTANTIATE_TEST_SUITE_P(Each, FloatKernelsRandom, testing::ValuesIn(AllFloatKernels()),
                         [](const testing::TestParamInfo<FloatKernel>& kernel) { return KernelName(kernel.param); });

class FloatRegionKernelsRandom : public testing::TestWithParam<bool>
{
};

TEST_P(FloatRegionKernelsRandom, AgreeWithTheReferenceAtEveryLevel)
{
    CFloatSceneSource source;
    HoldToTheReference(
        GetParam() ? "ConvFloatVJF_Cpp" : "ConvFloatVJF_Intrin",
        [&](std::uint64_t nSeed) -> const CFloatRegionScene& { return source.MakeRegion(GetParam(), nSeed); },
        [](const CFloatRegionScene& scene, CKernelOutcome& outcome) { RunPublic(scene, outcome); });
}

INSTANTIATE_TEST_SUITE_P(Each, FloatRegionKernelsRandom, testing::Bool(),
                         [](const testing::TestParamInfo<bool>& plain)
                         { return plain.param ? "ConvFloatVJF_Cpp" : "ConvFloatVJF_Intrin"; });

} // namespace
} // namespace narvo::test
