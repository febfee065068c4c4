// SPDX-License-Identifier: MIT
// Fixture of a property's test: every path of a mode, several random scenes on each; failures print path and seed.
#pragma once

#include <cstdint>
#include <string>

#include <gtest/gtest.h>

#include "properties/property_outcome.h"
#include "properties/property_paths.h"
#include "properties/property_scene.h"
#include "support/seeds.h"
#include "support/vector_levels.h"

namespace narvo::test
{

class PropertyTest : public testing::TestWithParam<PropertyMode>
{
protected:
    static constexpr int nCases = 16; ///< scenes on each path

    /// Calls Try(path, nSeed) for every path of the mode and every seed, cycling through the vector levels, until one
    /// fails.
    template <typename FTry>
    void ForEachCase(FTry Try)
    {
        const std::vector<std::int64_t> aLevels = VectorLevels();
        CForcedLevel forced(aLevels.front());
        std::size_t nLevel = 0;
        for (const CPropertyPath& path : PropertyPaths(GetParam()))
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

    /// The scenes must contain something: blobs in a third of them or more.
    void Count(const CPropertyOutcome& outcome)
    {
        ++m_nRuns;
        m_nWithBlobs += outcome.aBlobs.empty() ? 0 : 1;
    }
    void TearDown() override
    {
        if (m_bAllCases)
        {
            EXPECT_GE(3 * m_nWithBlobs, m_nRuns) << "too few scenes have blobs";
        }
    }

    CPropertyPool m_pool;

private:
    bool m_bAllCases = false;
    int m_nRuns = 0;
    int m_nWithBlobs = 0;
};

inline std::string ModeOfTest(const testing::TestParamInfo<PropertyMode>& mode)
{
    return PropertyModeName(mode.param);
}

} // namespace narvo::test
