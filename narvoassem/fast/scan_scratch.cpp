// Holds each thread's working memory.
#include "narvoassem/fast/scan_scratch.h"

namespace narvo
{

CScanScratch& GetScanScratch()
{
    thread_local CScanScratch scratch;
    return scratch;
}

} // namespace narvo
