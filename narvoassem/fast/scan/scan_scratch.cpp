// SPDX-License-Identifier: MIT
// Holds each thread's working memory.
#include "narvoassem/fast/scan/scan_scratch.h"

#include "narvoassem/base/thread_memory.h"

namespace narvo::engine
{

CScanScratch& GetScanScratch()
{
    return CThreadMemory<CScanScratch>::Get();
}

} // namespace narvo::engine
