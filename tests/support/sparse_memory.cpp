// SPDX-License-Identifier: MIT
// See sparse_memory.h.
#include "support/sparse_memory.h"

#include <new>

#include <sys/mman.h>
#include <unistd.h>

namespace narvo::test
{

CSparseMemory::CSparseMemory(std::uint64_t nBytes, bool bFlushBack)
{
    const auto nPage = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    const std::size_t nBody = (nBytes + nPage - 1) / nPage * nPage;
    m_nMapped = nBody + 2 * nPage;
    // Pages that can only be read are not counted against the memory that the system may promise.
    void* const pMapping = mmap(nullptr, m_nMapped, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (pMapping == MAP_FAILED)
        throw std::bad_alloc();
    m_pMapping = static_cast<std::uint8_t*>(pMapping);
    mprotect(m_pMapping, nPage, PROT_NONE);
    mprotect(m_pMapping + nPage + nBody, nPage, PROT_NONE);
    m_pData = m_pMapping + nPage + (bFlushBack ? nBody - nBytes : 0);
}

CSparseMemory::~CSparseMemory()
{
    munmap(m_pMapping, m_nMapped);
}

void CSparseMemory::Open(std::uint64_t nOffset, std::uint64_t nBytes)
{
    const auto nPage = static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
    const auto nStart = static_cast<std::uint64_t>(m_pData - m_pMapping) + nOffset;
    const std::uint64_t nFirst = nStart / nPage * nPage;
    const std::uint64_t nEnd = (nStart + nBytes + nPage - 1) / nPage * nPage;
    if (mprotect(m_pMapping + nFirst, nEnd - nFirst, PROT_READ | PROT_WRITE) != 0)
        throw std::bad_alloc();
}

} // namespace narvo::test
