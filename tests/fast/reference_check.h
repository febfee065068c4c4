// SPDX-License-Identifier: MIT
// Kernels compared with the plain reference, scene by scene, at every vector level that this processor offers. Works on
// any scene type with RunReference, Describe and a way to run it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "fast/kernel_outcome.h"
#include "support/seeds.h"
#include "support/vector_levels.h"

namespace narvo::test
{

/// While it lives, one vector level is forced.
class CReferenceCheck
{
public:
    /// The outcome of the plain reference, with which Agrees compares the library.
    template <typename TScene>
    const CKernelOutcome& Expect(const TScene& scene)
    {
        RunReference(scene, m_expected);
        return m_expected;
    }

    /// Runs the scene with fnRun(scene, outcome) at every level. A difference is a failure, which prints the scene and
    /// strHint. @return whether all levels agree
    template <typename TScene, typename TRun>
    bool Agrees(const TScene& scene, const TRun& fnRun, const std::string& strHint = {})
    {
        bool bAgrees = true;
        for (const std::int64_t nLevel : m_aLevels)
        {
            m_forced.Change(nLevel);
            fnRun(scene, m_found);
            const std::string strDifference = m_found.DifferenceFrom(m_expected);
            if (strDifference.empty())
                continue;
            ADD_FAILURE() << LevelName(nLevel) << ": " << strDifference << '\n' << scene.Describe() << '\n' << strHint;
            bAgrees = false;
        }
        return bAgrees;
    }

private:
    const std::vector<std::int64_t> m_aLevels = VectorLevels();
    CForcedLevel m_forced{m_aLevels.front()};
    CKernelOutcome m_expected;
    CKernelOutcome m_found;
};

// The ways to run a scene, as CReferenceCheck takes them.

/// Under the kernel's public name.
constexpr auto byName = [](const auto& scene, CKernelOutcome& outcome) { RunPublic(scene, outcome); };
/// Through the common call record.
constexpr auto byCall = [](const auto& scene, CKernelOutcome& outcome) { RunThroughCall(scene, outcome); };
/// Under the name where the image's height is unknown, as it is there, else through the call record.
constexpr auto byEither = [](const auto& scene, CKernelOutcome& outcome)
{
    if (scene.call.image.nRows == 0)
        RunPublic(scene, outcome);
    else
        RunThroughCall(scene, outcome);
};

/// What the scenes of a run have covered.
struct CReached
{
    std::int64_t nScenes = 0;
    std::int64_t nNewPairs = 0; ///< pairs beyond those from before the call
    std::int64_t nFull = 0;     ///< calls that filled the pair array
};

/// Checks the scenes that fnMake makes for nCases seeds, which depend on strName. Stops after three failing scenes.
template <typename TMake, typename TRun>
CReached CompareWithReference(const std::string& strName, int nCases, const TMake& fnMake, const TRun& fnRun)
{
    CReferenceCheck check;
    CReached reached;
    int nFailing = 0;
    for (const std::uint64_t nSeed : CaseSeeds(strName, nCases))
    {
        const auto& scene = fnMake(nSeed);
        const CKernelOutcome& expected = check.Expect(scene);
        reached.nScenes++;
        reached.nNewPairs += expected.NewPairs();
        reached.nFull += expected.IsFull();
        if (!check.Agrees(scene, fnRun, ReplayHint(nSeed)) && ++nFailing == 3)
            break;
    }
    return reached;
}

} // namespace narvo::test
