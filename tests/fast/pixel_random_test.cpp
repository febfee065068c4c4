// SPDX-License-Identifier: MIT
// Every pixel kernel against the plain reference on random scenes, bit for bit, at every vector level.
#include <gtest/gtest.h>

#include "fast/pixel_random_scene.h"
#include "fast/reference_check.h"

namespace narvo::test
{
namespace
{

constexpr int nCases = 20000;

class PixelKernelsRandom : public testing::TestWithParam<PixelKernel>
{
};

TEST_P(PixelKernelsRandom, AgreeWithTheReferenceAtEveryLevel)
{
    CPixelSceneSource source;
    const auto make = [&](std::uint64_t nSeed) -> const CPixelScene& { return source.Make(GetParam(), nSeed); };
    const CReached reached = CompareWithReference(KernelName(GetParam()), nCases, make, byEither);
    // The scenes must cover what they are meant for: records on most of them, and full pair arrays on many.
    if (reached.nScenes == nCases)
    {
        EXPECT_GT(reached.nNewPairs, nCases);
        EXPECT_GT(reached.nFull, nCases / 20);
    }
}

INSTANTIATE_TEST_SUITE_P(Each, PixelKernelsRandom, testing::ValuesIn(AllPixelKernels()),
                         [](const testing::TestParamInfo<PixelKernel>& kernel) { return KernelName(kernel.param); });

} // namespace
} // namespace narvo::test
