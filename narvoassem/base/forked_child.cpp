// SPDX-License-Identifier: MIT
// The flag that fork sets in the child.
#include "narvoassem/base/forked_child.h"

#if defined(_WIN32)

// Windows has no fork.
bool narvo::engine::IsForkedChild()
{
    return false;
}

#else

#include <pthread.h>

namespace
{

bool bForked = false; // written in a child before it has a second thread

void NoteFork()
{
    bForked = true;
}

/// If the fork handler cannot be registered, no process uses the runtime's threads.
[[gnu::constructor]] void RegisterNote()
{
    if (pthread_atfork(nullptr, nullptr, &NoteFork) != 0)
        bForked = true;
}

} // namespace

bool narvo::engine::IsForkedChild()
{
    return bForked;
}

#endif
