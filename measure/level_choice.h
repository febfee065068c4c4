// SPDX-License-Identifier: MIT
// The vector levels of the machine, and forcing one of them on the library. Not while an inspection runs.
#pragma once

#include <cstdint>
#include <vector>

namespace measure
{

struct SLevel
{
    std::int64_t nTarget;
    const char* pName;
};

/// Levels that the library is built for and this machine has, narrowest first.
std::vector<SLevel> Levels();
/// Makes the library use one level from now on.
void UseLevel(std::int64_t nTarget);
/// Returns to the machine's widest level.
void UseWidestLevel();

} // namespace measure
