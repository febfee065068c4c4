// SPDX-License-Identifier: MIT
// The size of the engine's strip buffers.
#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>

#include "narvoassem/narvoassem.h"

namespace narvo::engine
{

/// Elements of a strip buffer for nSize, which becomes 1 when it is below: 16 for each of nSize + 32. A count beyond
/// the arrays' range gives 1.
inline int CountConBuff(int& nSize)
{
    nSize = std::max(nSize, 1);
    const std::int64_t nCount = (std::int64_t{nSize} + 32) * 16;
    return nCount > std::numeric_limits<int>::max() ? 1 : static_cast<int>(nCount);
}

/// Sizes both strip buffers as ResetConBuff does, but does not clear them: the kernels of the compare drivers keep
/// rows of their own, and clearing buffers that are never read would cost up to a tenth of the comparison.
inline void SizeConBuff(CNarvoAssem& engine, int nSize)
{
    const int nCount = CountConBuff(nSize);
    engine.ConBuffComp.Resize(nCount);
    engine.ConBuffComp2.Resize(nCount);
}

} // namespace narvo::engine
