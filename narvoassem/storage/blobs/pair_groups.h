// SPDX-License-Identifier: MIT
// Grouping of neighbouring pairs under one label: the forward pass of a blob build.
#pragma once

#include "narvoassem/defectpair.h"

namespace narvo::engine
{

/// Which pairs a pair claims. Horizontal: the same row or the next, at most one column away, in a list ordered by row.
/// Vertical: at most three pixels away on both axes, in a list ordered by column.
enum class EGroupWindow
{
    Horizontal,
    Vertical
};

/// Each pair in list order claims the unclaimed later pairs of its type within the window, up to the first such pair
/// past the window's look-ahead. A claimed pair takes its claimer's label and keeps it. On entry pLabel[i]
/// is i and pLinked[i] is 0. Any order of the list is allowed; the result is that of the plain walk.
void GroupPairs(EGroupWindow eWindow, const CDefectPair* pPairs, int nCount, int* pLabel, int* pLinked);

} // namespace narvo::engine
