// SPDX-License-Identifier: MIT
// What the rules of pixel_edge_test.cpp are checked on: the plain reference, and the library at each vector level.
#include "fast/pixel_scene.h"
#include "support/vector_levels.h"

namespace narvo::test
{

namespace
{

std::vector<CPixelRunner> AllRunners()
{
    std::vector<CPixelRunner> aRunners = {{"Reference", RunReference}};
    for (const std::int64_t nLevel : VectorLevels())
        aRunners.push_back({LevelName(nLevel), [nLevel](const CPixelScene& scene, CKernelOutcome& outcome)
                            {
                                const CForcedLevel forced(nLevel);
                                RunPublic(scene, outcome);
                            }});
    return aRunners;
}

} // namespace

INSTANTIATE_TEST_SUITE_P(Each, PixelKernels, testing::ValuesIn(AllRunners()),
                         [](const testing::TestParamInfo<CPixelRunner>& runner) { return runner.param.strName; });

} // namespace narvo::test
