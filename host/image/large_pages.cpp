// SPDX-License-Identifier: MIT
// See large_pages.h.
#include "host/image/large_pages.h"

#include <new>

#ifdef __linux__
#include <sys/mman.h>
#endif

namespace narvo
{

void* AllocatePixels(std::size_t bytes)
{
    if (bytes < nLeastPaged)
        return ::operator new(bytes);
    void* const pixels = ::operator new (bytes, std::align_val_t{nLargePage});
#ifdef __linux__
    // Only whole pages, so that no other memory lies in them. Where the system refuses, the usual pages do.
    madvise(pixels, bytes / nLargePage * nLargePage, MADV_HUGEPAGE);
#endif
    return pixels;
}

void FreePixels(void* pixels, std::size_t bytes) noexcept
{
    if (bytes < nLeastPaged)
        ::operator delete(pixels);
    else
        ::operator delete (pixels, std::align_val_t{nLargePage});
}

} // namespace narvo
