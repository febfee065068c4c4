// SPDX-License-Identifier: MIT
// Allocation of the stores' arrays. A store's size is an int and its arrays have spare entries beyond it.
#pragma once

#include <cstddef>
#include <cstdlib>
#include <limits>
#include <new>

namespace narvo::engine
{

/// Entries that every array of a store has beyond the size requested.
inline constexpr int nSpareEntries = 16;

/// nCount uninitialised elements of a trivially destructible type, to be given to std::free; null when memory
/// ran out or the byte count does not fit.
template <class TElement>
TElement* AllocateRaw(std::size_t nCount)
{
    if (nCount > std::numeric_limits<std::ptrdiff_t>::max() / sizeof(TElement))
        return nullptr;
    return static_cast<TElement*>(std::malloc(nCount * sizeof(TElement)));
}

/// As AllocateRaw, every element constructed.
template <class TElement>
TElement* AllocateConstructed(std::size_t nCount)
{
    TElement* pElements = AllocateRaw<TElement>(nCount);
    if (pElements != nullptr)
    {
        for (std::size_t i = 0; i < nCount; ++i)
            new (pElements + i) TElement();
    }
    return pElements;
}

/// Entries of an array for the size nSize, 0 when size and spare entries exceed an int: no store is that large.
inline std::size_t GetEntryCount(int nSize)
{
    return nSize > std::numeric_limits<int>::max() - nSpareEntries ? 0
                                                                   : static_cast<std::size_t>(nSize + nSpareEntries);
}

} // namespace narvo::engine
