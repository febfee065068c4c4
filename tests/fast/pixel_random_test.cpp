// Every pixel kernel against the plain reference on random scenes, bit for bit, at every vector level.
#include <gtest/gtest.h>

#include "fast/pixel_random_scene.h"
#include "support/seeds.h"
#include "support/vector_levels.h"

namespace narvo::test
{
namespace
{

constexpr int nCases = 20000;
constexpr int nReportedFailures = 3;

class PixelKernelsRandom : public testing::TestWithParam<PixelKernel>
{
};

TEST_P(PixelKernelsRandom, AgreeWithTheReferenceAtEveryLevel)
{
    const PixelKernel eKernel = GetParam();
    CPixelSceneSource source;
    CKernelOutcome expected;
    CKernelOutcome found;
    const std::vector<std::int64_t> aLevels = VectorLevels();
    CForcedLevel forced(aLevels.front());
    int nFailures = 0;
    std::int64_t nRecords = 0;
    std::int64_t nStopped = 0;

    const std::vector<std::uint64_t> aSeeds = CaseSeeds(KernelName(eKernel), nCases);
    for (const std::uint64_t nSeed : aSeeds)
    {
        const CPixelScene& scene = source.Make(eKernel, nSeed);
        RunReference(scene, expected);
        nRecords += expected.nReturned - scene.call.pairs.nCount;
        nStopped += expected.nReturned >= scene.call.pairs.nSize;
        for (const std::int64_t nLevel : aLevels)
        {
            forced.Change(nLevel);
            if (scene.call.image.nRows == 0)
                RunPublic(scene, found);
            else
                RunThroughCall(scene, found);
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

    // The scenes must exercise what they are for: records on most of them, and full pair arrays on many.
    if (aSeeds.size() == static_cast<std::size_t>(nCases))
    {
        EXPECT_GT(nRecords, nCases);
        EXPECT_GT(nStopped, nCases / 20);
    }
}

INSTANTIATE_TEST_SUITE_P(Each, PixelKernelsRandom, testing::ValuesIn(AllPixelKernels()),
                         [](const testing::TestParamInfo<PixelKernel>& kernel) { return KernelName(kernel.param); });

} // namespace
} // namespace narvo::test
