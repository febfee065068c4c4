// SPDX-License-Identifier: MIT
// See level_choice.h.
#include "measure/level_choice.h"

#include <hwy/targets.h>

namespace measure
{

std::vector<SLevel> Levels()
{
    UseWidestLevel();
    const std::int64_t nSupported = hwy::SupportedTargets();
    std::vector<SLevel> levels;
    for (const SLevel& level :
         {SLevel{HWY_SSSE3, "SSSE3"}, SLevel{HWY_SSE4, "SSE4"}, SLevel{HWY_AVX2, "AVX2"}, SLevel{HWY_AVX3, "AVX-512"},
          SLevel{HWY_NEON, "NEON"}, SLevel{HWY_SVE, "SVE"}, SLevel{HWY_SVE2, "SVE2"}, SLevel{HWY_SVE_256, "SVE_256"},
          SLevel{HWY_SVE2_128, "SVE2_128"}})
        if ((nSupported & level.nTarget) != 0)
            levels.push_back(level);
    return levels;
}

void UseLevel(std::int64_t nTarget)
{
    hwy::SetSupportedTargetsForTest(nTarget);
    hwy::GetChosenTarget().Update(hwy::SupportedTargets());
}

void UseWidestLevel()
{
    UseLevel(0);
}

} // namespace measure
