// SPDX-License-Identifier: MIT
// See guarded_memory.h.
#include "support/guarded_memory.h"

#include <new>

#include <sys/mman.h>
#include <unistd.h>

namespace narvo::test
{

CGuardedMemory::CGuardedMemory(std::size_t nBytes, Flush eFlush) : m_nBytes(nBytes)
{
    const std::size_t nPage = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    const std::size_t nBody = (nBytes + nPage - 1) / nPage * nPage;
    m_nMapped = nBody + 2 * nPage;
    void* pMapping = mmap(nullptr, m_nMapped, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (pMapping == MAP_FAILED)
        throw std::bad_alloc();
    m_pMapping = static_cast<std::uint8_t*>(pMapping);
    std::uint8_t* pBody = m_pMapping + nPage;
    if (mprotect(pBody, nBody, PROT_READ | PROT_WRITE) != 0)
    {
        munmap(m_pMapping, m_nMapped);
        throw std::bad_alloc();
    }
    m_pData = eFlush == Flush::Front ? pBody : pBody + nBody - nBytes;
}

CGuardedMemory::~CGuardedMemory()
{
    munmap(m_pMapping, m_nMapped);
}

} // namespace narvo::test
