// SPDX-License-Identifier: MIT
// Growth of a pair store that has to label more pairs than it was sized for.
#pragma once

#include "narvoassem/pairstorage.h"

namespace narvo::engine
{

/// Makes room for nCount pairs and labels; records held stay, the label arrays lose their contents when they grow.
/// The limit nPairSize does not change. @return 1, or 0 when memory ran out: nothing has changed then.
int GrowPairArrays(CPairStorage& store, int nCount);

} // namespace narvo::engine
