// The per-thread block.
#include "narvoassem/storage/thread_scratch.h"

#include <cstdlib>

#include "narvoassem/storage/store_memory.h"

namespace
{

struct SScratch
{
    int* pWords = nullptr;
    std::size_t nCapacity = 0;

    SScratch() = default;
    SScratch(const SScratch&) = delete;
    SScratch& operator=(const SScratch&) = delete;
    ~SScratch() { std::free(pWords); }
};

thread_local SScratch scratch;

} // namespace

int* narvo::GetThreadScratch(std::size_t nWords)
{
    if (nWords > scratch.nCapacity)
    {
        std::free(scratch.pWords);
        scratch.pWords = AllocateRaw<int>(nWords);
        scratch.nCapacity = scratch.pWords == nullptr ? 0 : nWords;
    }
    return scratch.pWords;
}
