// SPDX-License-Identifier: MIT
// Calls that run while the interpreter serves other threads.
#pragma once

#include <type_traits>

#include <pybind11/pybind11.h>

namespace narvo::python
{

/// To be called once, when the module is made: the interpreter's end waits for calls that are at work, since what they
/// use, OpenCV's own objects among it, goes with the process.
void WaitForCallsAtExit();

/// Lets go of the interpreter lock for the length of a call, and takes it back at its end. A thread that comes back
/// while the interpreter is ending stays here until the process ends: the interpreter has such threads unwound, which
/// no destructor on the way survives.
PyThreadState* BeginUnlocked();
void EndUnlocked(PyThreadState* state);

/// Runs `call` without the interpreter lock.
template <typename Call>
auto Unlocked(Call call)
{
    PyThreadState* const state = BeginUnlocked();
    try
    {
        if constexpr (std::is_void_v<std::invoke_result_t<Call>>)
        {
            call();
            EndUnlocked(state);
        }
        else
        {
            auto outcome = call();
            EndUnlocked(state);
            return outcome;
        }
    }
    catch (...)
    {
        EndUnlocked(state);
        throw;
    }
}

} // namespace narvo::python
