// Each thread's note.
#include "narvoassem/base/memory_shortage.h"

namespace
{

thread_local bool bNoted = false;

} // namespace

void narvo::NoteMemoryShortage()
{
    bNoted = true;
}

void narvo::ClearMemoryShortage()
{
    bNoted = false;
}

bool narvo::HadMemoryShortage()
{
    return bNoted;
}
