// The frame of a law's test: every path of a mode, a number of random scenes on each, failures with path and seed.
#pragma once

#include <cstdint>
#include <string>

#include <gtest/gtest.h>

#include "laws/law_outcome.h"
#include "laws/law_paths.h"
#include "laws/law_scene.h"
#include "support/seeds.h"
#include "support/vector_levels.h"

namespace narvo::test
{

class LawTest : public testing::TestWithParam<LawMode>
{
protected:
    static constexpr int nCases = 16; ///< scenes on each path

    /// Calls Try(path, nSeed) for every path of the mode and every seed, each time at another vector level, until one
    /// of them fails.
    template <typename FTry>
    void ForEachCase(FTry Try)
    {
        const std::vector<std::int64_t> aLevels = VectorLevels();
        CForcedLevel forced(aLevels.front());
        std::size_t nLevel = 0;
        for (const CLawPath& path : LawPaths(GetParam()))
        {
            const std::vector<std::uint64_t> aSeeds = CaseSeeds(path.pName, nCases);
            m_bAllCases = aSeeds.size() == static_cast<std::size_t>(nCases);
            for (const std::uint64_t nSeed : aSeeds)
            {
                forced.Change(aLevels[nLevel++ % aLevels.size()]);
                Try(path, nSeed);
                if (HasFailure())
                    return;
            }
        }
    }

    /// The law's scenes must show something: blobs in a third of them or more.
    void Count(const CLawOutcome& outcome)
    {
        ++m_nRuns;
        m_nWithBlobs += outcome.aBlobs.empty() ? 0 : 1;
    }
    void TearDown() override
    {
        if (m_bAllCases)
        {
            EXPECT_GE(3 * m_nWithBlobs, m_nRuns) << "the scenes show too little";
        }
    }

    CLawPool m_pool;

private:
    bool m_bAllCases = false;
    int m_nRuns = 0;
    int m_nWithBlobs = 0;
};

inline std::string ModeOfTest(const testing::TestParamInfo<LawMode>& mode)
{
    return LawModeName(mode.param);
}

} // namespace narvo::test
