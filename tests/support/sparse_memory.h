// SPDX-License-Identifier: MIT
// Memory of a size that a block only declares: as large as the address space allows, of which pages that nobody touches
// cost nothing, between two pages that must not be touched.
#pragma once

#include <cstddef>
#include <cstdint>

namespace narvo::test
{

class CSparseMemory
{
public:
    /// nBytes zero bytes that can be read, flush with the guard page behind them (bFlushBack) or before them. At least
    /// 1. Throws std::bad_alloc where the address space has no room.
    CSparseMemory(std::uint64_t nBytes, bool bFlushBack);
    ~CSparseMemory();
    CSparseMemory(const CSparseMemory&) = delete;
    CSparseMemory& operator=(const CSparseMemory&) = delete;

    /// Makes a piece of the block writable as well; the rest of its pages with it.
    void Open(std::uint64_t nOffset, std::uint64_t nBytes);

    std::uint8_t* Data() const { return m_pData; }

private:
    std::uint8_t* m_pMapping;
    std::size_t m_nMapped;
    std::uint8_t* m_pData;
};

} // namespace narvo::test
