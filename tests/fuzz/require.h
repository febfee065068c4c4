// SPDX-License-Identifier: MIT
// The checks of fuzz targets and their helpers: a failed one ends the program, so that the input is kept as a crash.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>

namespace narvo::test
{

/// Which case is tried, printed where a claim does not hold.
inline std::string& RequireContext()
{
    static std::string strContext;
    return strContext;
}

inline void Require(bool bHolds, const std::string& strClaim)
{
    if (bHolds)
        return;
    std::fprintf(stderr, "does not hold: %s\n%s\n", strClaim.c_str(), RequireContext().c_str());
    std::abort();
}

} // namespace narvo::test
