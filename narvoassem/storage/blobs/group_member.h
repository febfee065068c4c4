// SPDX-License-Identifier: MIT
// The pairs among which the grouping pass looks for neighbours, close together: the records are far apart in memory.
#pragma once

#include <cstddef>

#include "narvoassem/platform.h"

namespace narvo::engine
{

struct SGroupMember
{
    CPoint pt;
    int nPair; ///< list index
    int nNext; ///< the next member of the same place or column, nNoMember at the end
};

inline constexpr int nNoMember = -1;
inline constexpr std::size_t nMemberWords = sizeof(SGroupMember) / sizeof(int);

/// What a walk does with a member that it is shown.
enum class EClaim
{
    Claimed, ///< it is not shown again
    Left,
    Beyond ///< the walk ends before this member, and before all later ones
};

} // namespace narvo::engine
