// SPDX-License-Identifier: MIT
// Ranges of the numbers in a plan for a made-up picture.
#pragma once

#include <string>
#include <vector>

#include "host/problem.h"

namespace narvo::tools
{

/// Reports a number outside its range, which includes both ends; `unit` may be empty.
inline void CheckNumber(const char* field, double value, double low, double high, const std::string& unit,
                        std::vector<Problem>& found)
{
    if (!(value >= low && value <= high))
        found.push_back({field, FormatNumber(value),
                         FormatNumber(low) + " to " + FormatNumber(high) + (unit.empty() ? "" : " ") + unit});
}

} // namespace narvo::tools
