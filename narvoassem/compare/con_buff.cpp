// SPDX-License-Identifier: MIT
// The engine's scratch arrays: strip buffers and the integral image.
#include "narvoassem/compare/con_buff.h"

#include <algorithm>
#include <cstdint>

using namespace narvo::engine;

namespace
{

/// Sizes and clears. The memory is kept from run to run, so repeating a similar region allocates nothing.
template <class TElement>
void ResizeCleared(CScratchArray<TElement>& array, int nCount)
{
    array.Resize(nCount);
    std::fill_n(array.GetData(), array.GetSize(), TElement{0});
}

} // namespace

void CNarvoAssem::ResetConBuff(int& nSize)
{
    const int nCount = CountConBuff(nSize);
    ResizeCleared(ConBuffComp, nCount);
    ResizeCleared(ConBuffComp2, nCount);
}

short* CNarvoAssem::GetConBuffComp()
{
    return ConBuffComp.GetData();
}

short* CNarvoAssem::GetConBuffComp2()
{
    return ConBuffComp2.GetData();
}

void CNarvoAssem::GetInt64BuffComp(int nCount)
{
    ResizeCleared(Int64BuffComp, nCount);
}

std::int64_t* CNarvoAssem::GetInt64BuffComp()
{
    return Int64BuffComp.GetData();
}
