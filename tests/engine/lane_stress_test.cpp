// SPDX-License-Identifier: MIT
// Many host threads at once, each on its own lane of shared pools, through every mode and the band split, while another
// pool is set up, used and destroyed beside them. Meant for the thread sanitizer; the results count in every build.
#include <atomic>
#include <cstddef>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "gtest/gtest.h"

#include "support/inspection_set.h"

namespace
{

using namespace narvo::test;

constexpr int nPools = 2;
constexpr int nLanesPerPool = 4;
constexpr int nBlobs = 3000;

std::vector<SFound> InspectAlone(const CInspectionSet& set)
{
    CAssemControl pool;
    pool.InitAssemControl(1, nBlobs);
    std::vector<SFound> found;
    for (const SInspection& inspection : set.Get())
    {
        pool.ResetReinspectCount();
        found.push_back(ReadFound(pool, 0, RunOnPool(pool, 0, inspection)));
    }
    return found;
}

/// The names of the inspections that found something else than expected, each thread beginning at another one.
std::string InspectOnLane(CAssemControl& pool, int nLane, const CInspectionSet& set,
                          const std::vector<SFound>& expected, std::size_t nFirst)
{
    std::string strWrong;
    for (std::size_t i = 0; i < expected.size(); ++i)
    {
        const std::size_t nCase = (nFirst + i) % expected.size();
        const SInspection& inspection = set.Get()[nCase];
        // The lane's own counter: ResetReinspectCount of the pool would touch busy lanes.
        pool.GetNarvoAssem(nLane)->ResetReinspectCount();
        if (!(ReadFound(pool, nLane, RunOnPool(pool, nLane, inspection)) == expected[nCase]))
            strWrong += " [" + inspection.strName + "]";
    }
    return strWrong;
}

TEST(LaneStress, SharedPoolsFindWhatOneThreadFindsWhileOthersAreMadeAndDestroyed)
{
    // Wide enough for two bands; both images stay, as a host's next one is read while the last is inspected.
    const CInspectionSet images[] = {CInspectionSet(4064, 48 + 16, 150, 1), CInspectionSet(4096, 48 + 16, 150, 2)};
    CAssemControl pools[nPools];
    int nRoom = nBlobs;
    for (const CInspectionSet& image : images)
    {
        const std::vector<SFound> expected = InspectAlone(image);
        for (CAssemControl& pool : pools)
        {
            ASSERT_EQ(pool.InitAssemControl(nLanesPerPool, nRoom), nLanesPerPool);
            pool.ResetReinspectCount();
        }

        std::atomic<bool> bDone{false};
        std::thread passerBy(
            [&]
            {
                // Growing and shrinking sizes: stores are made, kept, and destroyed.
                for (int n = 0; !bDone.load(); n = (n + 1) % 3)
                {
                    CAssemControl other;
                    other.InitAssemControl(1, 100 * (n + 1));
                    RunOnPool(other, 0, image.Get()[static_cast<std::size_t>(n)]);
                    other.InitAssemControl(1, 50);
                    RunOnPool(other, 0, image.Get()[static_cast<std::size_t>(n) + 3]);
                }
            });
        std::vector<std::string> wrong(nPools * nLanesPerPool);
        std::vector<std::thread> threads;
        for (int n = 0; n < nPools * nLanesPerPool; ++n)
            threads.emplace_back(
                [&, n]
                {
                    wrong[static_cast<std::size_t>(n)] =
                        InspectOnLane(pools[n % nPools], n / nPools, image, expected, static_cast<std::size_t>(n) * 5);
                });
        for (std::thread& thread : threads)
            thread.join();
        bDone = true;
        passerBy.join();
        for (const std::string& names : wrong)
            EXPECT_EQ(names, "");
        nRoom += 500; // between images the shared pools grow
    }
}

} // namespace
