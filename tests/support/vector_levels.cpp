// SPDX-License-Identifier: MIT
// See vector_levels.h.
#include "support/vector_levels.h"

// As in the library's CMakeLists.txt, so that the list has no level that the library was not compiled for.
#define HWY_DISABLED_TARGETS (HWY_AVX3 - 1)
#include <hwy/highway.h>

namespace narvo::test
{

namespace
{

void Force(std::int64_t nLevels)
{
    hwy::SetSupportedTargetsForTest(nLevels);
    hwy::GetChosenTarget().Update(hwy::SupportedTargets());
}

} // namespace

std::vector<std::int64_t> VectorLevels()
{
    // Asked once, since a forced level is the only one supported from then on.
    static const std::vector<std::int64_t> aLevels = hwy::SupportedAndGeneratedTargets();
    return aLevels;
}

std::string LevelName(std::int64_t nLevel)
{
    return hwy::TargetName(nLevel);
}

CForcedLevel::CForcedLevel(std::int64_t nLevel)
{
    Force(nLevel);
}

void CForcedLevel::Change(std::int64_t nLevel)
{
    Force(nLevel);
}

CForcedLevel::~CForcedLevel()
{
    Force(0);
}

} // namespace narvo::test
