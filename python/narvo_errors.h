// SPDX-License-Identifier: MIT
// The way from the exception of the host library to the package's exception classes, which are written in Python
// (narvoassem/errors.py).
#pragma once

#include <narvo/host_error.h>

namespace narvo::python
{

/// Which class of exception a call's problems become. Lack of memory and a refusal by the engine have classes of
/// their own, independent of the call.
enum class Fault
{
    Recipe,
    Image,
    Argument,
    File
};

/// Throws the Python exception. The interpreter lock must be held.
[[noreturn]] void Raise(Fault fault, const v1::Error& error);

/// Runs `call`, which may release the interpreter lock as long as it holds it again at its end.
template <typename Call>
decltype(auto) Translated(Fault fault, Call call)
{
    try
    {
        return call();
    }
    catch (const v1::Error& error)
    {
        Raise(fault, error);
    }
}

} // namespace narvo::python
