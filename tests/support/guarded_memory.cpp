// SPDX-License-Identifier: MIT
// See guarded_memory.h.
#include "support/guarded_memory.h"

#include <new>

#if defined(_WIN32)
#include <windows.h>
#else
#include <sys/mman.h>
#include <unistd.h>
#endif

namespace narvo::test
{

namespace
{

#if defined(_WIN32)

std::size_t PageSize()
{
    SYSTEM_INFO info;
    GetSystemInfo(&info);
    return info.dwPageSize;
}

/// nBytes that must not be touched, or null.
void* MapPages(std::size_t nBytes)
{
    return VirtualAlloc(nullptr, nBytes, MEM_RESERVE | MEM_COMMIT, PAGE_NOACCESS);
}

bool OpenPages(void* pFirst, std::size_t nBytes)
{
    DWORD nBefore = 0;
    return VirtualProtect(pFirst, nBytes, PAGE_READWRITE, &nBefore) != 0;
}

void UnmapPages(void* pMapping, std::size_t /*nBytes*/)
{
    VirtualFree(pMapping, 0, MEM_RELEASE);
}

#else

std::size_t PageSize()
{
    return static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

/// nBytes that must not be touched, or null.
void* MapPages(std::size_t nBytes)
{
    void* const pMapping = mmap(nullptr, nBytes, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return pMapping == MAP_FAILED ? nullptr : pMapping;
}

bool OpenPages(void* pFirst, std::size_t nBytes)
{
    return mprotect(pFirst, nBytes, PROT_READ | PROT_WRITE) == 0;
}

void UnmapPages(void* pMapping, std::size_t nBytes)
{
    munmap(pMapping, nBytes);
}

#endif

} // namespace

CGuardedMemory::CGuardedMemory(std::size_t nBytes, Flush eFlush) : m_nBytes(nBytes)
{
    const std::size_t nPage = PageSize();
    const std::size_t nBody = (nBytes + nPage - 1) / nPage * nPage;
    m_nMapped = nBody + 2 * nPage;
    m_pMapping = static_cast<std::uint8_t*>(MapPages(m_nMapped));
    if (m_pMapping == nullptr)
        throw std::bad_alloc();
    std::uint8_t* pBody = m_pMapping + nPage;
    if (!OpenPages(pBody, nBody))
    {
        UnmapPages(m_pMapping, m_nMapped);
        throw std::bad_alloc();
    }
    m_pData = eFlush == Flush::Front ? pBody : pBody + nBody - nBytes;
}

CGuardedMemory::~CGuardedMemory()
{
    UnmapPages(m_pMapping, m_nMapped);
}

} // namespace narvo::test
