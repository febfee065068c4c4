// SPDX-License-Identifier: MIT
// See redirected_imports.h: the addresses in the library's global offset table are replaced.
#include "memory/redirected_imports.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include <elf.h>
#include <link.h>
#include <sys/mman.h>
#include <unistd.h>

namespace narvo::test
{

namespace
{

struct SRequest
{
    std::string_view strLibrary;
    std::span<const SRedirection> redirections;
    int nRedirected = 0;
};

/// A table of relocations, as the dynamic section describes it.
struct SRelocations
{
    const Elf64_Rela* pFirst = nullptr;
    std::size_t nBytes = 0;

    std::span<const Elf64_Rela> All() const { return {pFirst, nBytes / sizeof(Elf64_Rela)}; }
};

struct SDynamicSection
{
    SRelocations plt;
    SRelocations data;
    const Elf64_Sym* pSymbols = nullptr;
    const char* pNames = nullptr;
};

SDynamicSection ReadDynamicSection(const dl_phdr_info& object)
{
    SDynamicSection section;
    const Elf64_Dyn* pEntry = nullptr;
    for (int n = 0; n < object.dlpi_phnum; ++n)
        if (object.dlpi_phdr[n].p_type == PT_DYNAMIC)
            pEntry = reinterpret_cast<const Elf64_Dyn*>(object.dlpi_addr + object.dlpi_phdr[n].p_vaddr);
    for (; pEntry != nullptr && pEntry->d_tag != DT_NULL; ++pEntry)
        switch (pEntry->d_tag)
        {
        case DT_JMPREL:
            section.plt.pFirst = reinterpret_cast<const Elf64_Rela*>(pEntry->d_un.d_ptr);
            break;
        case DT_PLTRELSZ:
            section.plt.nBytes = pEntry->d_un.d_val;
            break;
        case DT_RELA:
            section.data.pFirst = reinterpret_cast<const Elf64_Rela*>(pEntry->d_un.d_ptr);
            break;
        case DT_RELASZ:
            section.data.nBytes = pEntry->d_un.d_val;
            break;
        case DT_SYMTAB:
            section.pSymbols = reinterpret_cast<const Elf64_Sym*>(pEntry->d_un.d_ptr);
            break;
        case DT_STRTAB:
            section.pNames = reinterpret_cast<const char*>(pEntry->d_un.d_ptr);
            break;
        default:
            break;
        }
    return section;
}

/// The table may be read-only once the library is loaded; it stays writable from here on.
bool Overwrite(void** ppEntry, void* pTarget)
{
    const auto nPageBytes = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
    void* const pPage = reinterpret_cast<void*>(reinterpret_cast<std::uintptr_t>(ppEntry) / nPageBytes * nPageBytes);
    if (mprotect(pPage, nPageBytes, PROT_READ | PROT_WRITE) != 0)
        return false;
    *ppEntry = pTarget;
    return true;
}

void RedirectTable(const SRelocations& table, const SDynamicSection& section, Elf64_Addr nLoaded, SRequest& request)
{
    for (const Elf64_Rela& relocation : table.All())
    {
        const auto nType = ELF64_R_TYPE(relocation.r_info);
        if (nType != R_X86_64_JUMP_SLOT && nType != R_X86_64_GLOB_DAT)
            continue;
        const char* const pName = section.pNames + section.pSymbols[ELF64_R_SYM(relocation.r_info)].st_name;
        for (const SRedirection& redirection : request.redirections)
            if (std::strcmp(pName, redirection.pFunction) == 0 &&
                Overwrite(reinterpret_cast<void**>(nLoaded + relocation.r_offset), redirection.pTarget))
                ++request.nRedirected;
    }
}

int RedirectObject(dl_phdr_info* pObject, std::size_t /*nBytes*/, void* pRequest)
{
    SRequest& request = *static_cast<SRequest*>(pRequest);
    const std::string_view strPath = pObject->dlpi_name;
    if (!strPath.substr(strPath.rfind('/') + 1).starts_with(request.strLibrary))
        return 0;
    const SDynamicSection section = ReadDynamicSection(*pObject);
    RedirectTable(section.plt, section, pObject->dlpi_addr, request);
    RedirectTable(section.data, section, pObject->dlpi_addr, request);
    return 1;
}

} // namespace

int RedirectImports(const char* pLibrary, std::span<const SRedirection> redirections)
{
    SRequest request{pLibrary, redirections};
    dl_iterate_phdr(RedirectObject, &request);
    return request.nRedirected;
}

} // namespace narvo::test
