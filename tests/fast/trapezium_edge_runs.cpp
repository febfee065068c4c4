// SPDX-License-Identifier: MIT
// What the rules of trapezium_edge_test.cpp are checked on: the plain reference, and the library at each vector level.
#include "fast/trapezium_scene.h"
#include "support/vector_levels.h"

namespace narvo::test
{

namespace
{

std::vector<CTrapeziumRunner> AllRunners()
{
    const auto plain = [](const auto& scene, CKernelOutcome& outcome) { RunReference(scene, outcome); };
    std::vector<CTrapeziumRunner> aRunners = {{"Reference", plain, plain}};
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

INSTANTIATE_TEST_SUITE_P(Each, TrapeziumKernels, testing::ValuesIn(AllRunners()),
                         [](const testing::TestParamInfo<CTrapeziumRunner>& runner) { return runner.param.strName; });

} // namespace narvo::test
