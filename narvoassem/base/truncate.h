// SPDX-License-Identifier: MIT
// Conversions of double to int that are defined for every value.
#pragma once

#include <climits>

namespace narvo::engine
{

/// Truncates toward zero; values beyond an int give its nearest end, what is not a number gives 0.
inline int TruncateToInt(double dValue)
{
    if (!(dValue == dValue))
        return 0;
    if (dValue >= 2147483647.0)
        return INT_MAX;
    if (dValue <= -2147483648.0)
        return INT_MIN;
    return static_cast<int>(dValue);
}

} // namespace narvo::engine
