// SPDX-License-Identifier: MIT
// Every zone kernel against the plain reference on random scenes, bit for bit, at every vector level.
#include <gtest/gtest.h>

#include "fast/reference_check.h"
#include "fast/zone_random_scene.h"

namespace narvo::test
{
namespace
{

constexpr int nCases = 20000;

class ZoneKernelsRandom : public testing::TestWithParam<ZoneKernel>
{
};

TEST_P(ZoneKernelsRandom, AgreeWithTheReferenceAtEveryLevel)
{
    CZoneSceneSource source;
    const auto make = [&](std::uint64_t nSeed) -> const CZoneScene& { return source.Make(GetParam(), nSeed); };
    const CReached reached = CompareWithReference(KernelName(GetParam()), nCases, make, byEither);
    // The scenes must cover what they are meant for: records on most of them, and full pair arrays on many.
    if (reached.nScenes == nCases)
    {
        EXPECT_GT(reached.nNewPairs, nCases);
        EXPECT_GT(reached.nFull, nCases / 20);
    }
}

INSTANTIATE_TEST_SUITE_P(Each, ZoneKernelsRandom, testing::ValuesIn(AllZoneKernels()),
                         [](const testing::TestParamInfo<ZoneKernel>& kernel) { return KernelName(kernel.param); });

} // namespace
} // namespace narvo::test
