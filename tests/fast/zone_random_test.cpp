// Every zone kernel against the plain reference on random scenes, bit for bit, at every vector level.
#include <gtest/gtest.h>

#include "support/seeds.h"
#include "support/vector_levels.h"
#include "zone_random_scene.h"
#include "zone_scene.h"

namespace narvo::test
{
namespace
{

constexpr int nCases = 20000;
constexpr int nReportedFailures = 3;

class ZoneKernelsRandom : public testing::TestWithParam<ZoneKernel>
{
};

TEST_P(ZoneKernelsRandom, AgreeWithTheReferenceAtEveryLevel)
{
    const ZoneKernel eKernel = GetParam();
    CZoneSceneSource source;
    CZoneOutcome expected;
    CZoneOutcome found;
    const std::vector<std::int64_t> aLevels = VectorLevels();
    CForcedLevel forced(aLevels.front());
    int nFailures = 0;
    std::int64_t nRecords = 0;
    std::int64_t nStopped = 0;

    const std::vector<std::uint64_t> aSeeds = CaseSeeds(KernelName(eKernel), nCases);
    for (const std::uint64_t nSeed : aSeeds)
    {
        const CZoneScene& scene = source.Make(eKernel, nSeed);
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

INSTANTIATE_TEST_SUITE_P(Each, ZoneKernelsRandom, testing::ValuesIn(AllZoneKernels()),
                         [](const testing::TestParamInfo<ZoneKernel>& kernel) { return KernelName(kernel.param); });

} // namespace
} // namespace narvo::test
