// SPDX-License-Identifier: MIT
// Bytes as a sequence of calls of the host library's C++ interface, as a program that links the shared library makes
// them.
#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "library/host_calls.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pBytes, std::size_t nBytes)
{
    // A source that has run dry repeats its first call for ever.
    constexpr std::size_t nBytesACall = 12;
    constexpr std::size_t nMostCalls = 12;
    narvo::test::CByteSource source(pBytes, nBytes);
    narvo::test::MakeHostCalls(source, static_cast<int>(std::min(nBytes / nBytesACall, nMostCalls)));
    return 0;
}
