// SPDX-License-Identifier: MIT
// Every float kernel against the plain reference on random scenes, bit for bit, at every vector level.
#include <gtest/gtest.h>

#include "fast/float_random_scene.h"
#include "fast/reference_check.h"

namespace narvo::test
{
namespace
{

constexpr int nCases = 20000;

/// The scenes must cover what they are meant for.
void ExpectRecords(const CReached& reached)
{
    if (reached.nScenes == nCases)
    {
        EXPECT_GT(reached.nNewPairs, nCases);
    }
}

class FloatKernelsRandom : public testing::TestWithParam<FloatKernel>
{
};

TEST_P(FloatKernelsRandom, AgreeWithTheReferenceAtEveryLevel)
{
    CFloatSceneSource source;
    const auto make = [&](std::uint64_t nSeed) -> const CFloatScene& { return source.Make(GetParam(), nSeed); };
    ExpectRecords(CompareWithReference(KernelName(GetParam()), nCases, make, byEither));
}

INSTANTIATE_TEST_SUITE_P(Each, FloatKernelsRandom, testing::ValuesIn(AllFloatKernels()),
                         [](const testing::TestParamInfo<FloatKernel>& kernel) { return KernelName(kernel.param); });

class FloatRegionKernelsRandom : public testing::TestWithParam<bool>
{
};

TEST_P(FloatRegionKernelsRandom, AgreeWithTheReferenceAtEveryLevel)
{
    CFloatSceneSource source;
    const auto make = [&](std::uint64_t nSeed) -> const CFloatRegionScene&
    { return source.MakeRegion(GetParam(), nSeed); };
    ExpectRecords(CompareWithReference(GetParam() ? "ConvFloatVJF_Cpp" : "ConvFloatVJF_Intrin", nCases, make, byName));
}

INSTANTIATE_TEST_SUITE_P(Each, FloatRegionKernelsRandom, testing::Bool(),
                         [](const testing::TestParamInfo<bool>& plain)
                         { return plain.param ? "ConvFloatVJF_Cpp" : "ConvFloatVJF_Intrin"; });

} // namespace
} // namespace narvo::test
