// SPDX-License-Identifier: MIT
// What the rules of float_edge_test.cpp are checked on: the plain reference, and the library at each vector level.
#include "fast/float_scene.h"
#include "support/vector_levels.h"

namespace narvo::test
{

namespace
{

std::vector<CFloatRunner> AllRunners()
{
    std::vector<CFloatRunner> aRunners = {
        {"Reference", [](const CFloatScene& scene, CKernelOutcome& outcome) { RunReference(scene, outcome); },
         [](const CFloatRegionScene& scene, CKernelOutcome& outcome) { RunReference(scene, outcome); }}};
    for (const std::int64_t nLevel : VectorLevels())
    {
        const auto run = [nLevel](const auto& scene, CKernelOutcome& outcome)
        {
            const CForcedLevel forced(nLevel);
            RunPublic(scene, outcome);
        };
        aRunners.push_back({LevelName(nLevel), run, run});
    }
    return aRunners;
}

} // namespace

INSTANTIATE_TEST_SUITE_P(Each, FloatKernels, testing::ValuesIn(AllRunners()),
                         [](const testing::TestParamInfo<CFloatRunner>& runner) { return runner.param.strName; });

} // namespace narvo::test
