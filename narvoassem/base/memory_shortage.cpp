// SPDX-License-Identifier: MIT
// The flag of each thread.
#include "narvoassem/base/memory_shortage.h"

namespace
{

thread_local bool bNoted = false;

} // namespace

void narvo::engine::NoteMemoryShortage()
{
    bNoted = true;
}

void narvo::engine::ClearMemoryShortage()
{
    bNoted = false;
}

bool narvo::engine::HadMemoryShortage()
{
    return bNoted;
}
