// SPDX-License-Identifier: MIT
// Redirects the calls that a shared library makes of others: the linker's --wrap reaches only what is linked
// statically.
#pragma once

#include <span>

namespace narvo::test
{

struct SRedirection
{
    const char* pFunction;
    void* pTarget;
};

/// Makes a loaded shared library call the targets in place of the functions of the same names.
/// @param pLibrary the beginning of its file name
/// @return how many functions were redirected; 0 where the library is not loaded
int RedirectImports(const char* pLibrary, std::span<const SRedirection> redirections);

} // namespace narvo::test
