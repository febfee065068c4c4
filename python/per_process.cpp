// SPDX-License-Identifier: MIT
// Counts forks.
#include "python/per_process.h"

#include <pthread.h>

#include <new>

namespace narvo::python
{

namespace
{

int forks = 0;

} // namespace

int ForkCount()
{
    static const int failed = pthread_atfork(nullptr, nullptr, [] { ++forks; });
    if (failed != 0)
        throw std::bad_alloc();
    return forks;
}

} // namespace narvo::python
