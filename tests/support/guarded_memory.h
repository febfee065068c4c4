// SPDX-License-Identifier: MIT
// Memory between two pages that must not be touched: a read or write one byte beyond the block faults at once.
#pragma once

#include <cstddef>
#include <cstdint>

namespace narvo::test
{

class CGuardedMemory
{
public:
    /// On which side the block lies directly against its guard page.
    enum class Flush
    {
        Front, ///< an access one byte before the block faults
        Back   ///< an access one byte behind the block faults
    };

    /// A zeroed block of nBytes, which must be at least 1. Throws std::bad_alloc without memory.
    CGuardedMemory(std::size_t nBytes, Flush eFlush);
    ~CGuardedMemory();
    CGuardedMemory(const CGuardedMemory&) = delete;
    CGuardedMemory& operator=(const CGuardedMemory&) = delete;

    std::uint8_t* Data() const { return m_pData; }
    std::size_t Size() const { return m_nBytes; }

private:
    std::uint8_t* m_pMapping;
    std::size_t m_nMapped;
    std::uint8_t* m_pData;
    std::size_t m_nBytes;
};

} // namespace narvo::test
