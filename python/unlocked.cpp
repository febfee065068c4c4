// SPDX-License-Identifier: MIT
// The way out of the interpreter and back, and its end.
#include "python/unlocked.h"

#include <atomic>
#include <new>

#include <cxxabi.h>
#include <pthread.h>
#include <unistd.h>

namespace narvo::python
{

namespace
{

std::atomic<int> callsAtWork{0}; // rises with the interpreter lock held

void WaitForCalls()
{
    for (int calls = callsAtWork; calls > 0; calls = callsAtWork)
        callsAtWork.wait(calls);
}

} // namespace

void WaitForCallsAtExit()
{
    // A forked child has none of the threads whose calls its parent counted; that which forked was in no call.
    if (Py_AtExit(&WaitForCalls) != 0 || pthread_atfork(nullptr, nullptr, [] { callsAtWork = 0; }) != 0)
        throw std::bad_alloc();
}

PyThreadState* BeginUnlocked()
{
    ++callsAtWork;
    return PyEval_SaveThread();
}

void EndUnlocked(PyThreadState* state)
{
    --callsAtWork;
    callsAtWork.notify_all();
    try
    {
        PyEval_RestoreThread(state);
    }
    catch (const abi::__forced_unwind&)
    {
        for (;;)
            pause();
    }
}

} // namespace narvo::python
