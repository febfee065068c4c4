// SPDX-License-Identifier: MIT
// The checks of fuzz targets and their helpers: a failed one ends the program, so that the input is kept as a crash.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>

namespace narvo::test
{

inline void Require(bool bHolds, const std::string& strClaim)
{
    if (bHolds)
        return;
    std::fprintf(stderr, "does not hold: %s\n", strClaim.c_str());
    std::abort();
}

} // namespace narvo::test
