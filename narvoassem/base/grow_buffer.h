// SPDX-License-Identifier: MIT
// A growing array of plain elements that never throws: running out of memory is a return value, not an exception.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <type_traits>

namespace narvo::engine
{

/// Keeps its block between uses, so that repeating a similar use allocates nothing.
template <class TElement>
class CGrowBuffer
{
    static_assert(std::is_trivially_copyable_v<TElement>);

public:
    CGrowBuffer() = default;
    CGrowBuffer(const CGrowBuffer&) = delete;
    CGrowBuffer& operator=(const CGrowBuffer&) = delete;
    ~CGrowBuffer() { std::free(m_pData); }

    /// Makes room for nCount elements and keeps those held. @return false without memory; the buffer is unchanged then
    bool Reserve(std::size_t nCount)
    {
        if (nCount <= m_nCapacity)
            return true;
        if (!IsAllocatable(nCount))
            return false;
        return Take(std::realloc(static_cast<void*>(m_pData), nCount * sizeof(TElement)), nCount);
    }
    /// Makes room for nCount elements, contents undefined. @return false without memory; the buffer is empty then
    bool Renew(std::size_t nCount)
    {
        if (nCount <= m_nCapacity)
            return true;
        std::free(m_pData);
        m_pData = nullptr;
        m_nCapacity = 0;
        return IsAllocatable(nCount) && Take(std::malloc(nCount * sizeof(TElement)), nCount);
    }
    std::size_t Capacity() const { return m_nCapacity; }
    TElement* Data() { return m_pData; }
    TElement& operator[](std::size_t nIndex) { return m_pData[nIndex]; }

private:
    static bool IsAllocatable(std::size_t nCount) { return nCount <= SIZE_MAX / 2 / sizeof(TElement); }

    bool Take(void* pData, std::size_t nCount)
    {
        if (pData == nullptr)
            return false;
        m_pData = static_cast<TElement*>(pData);
        m_nCapacity = nCount;
        return true;
    }

    TElement* m_pData = nullptr;
    std::size_t m_nCapacity = 0;
};

} // namespace narvo::engine
