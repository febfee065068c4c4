// SPDX-License-Identifier: MIT
// Median and spread that outliers do not move.
#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

namespace narvo
{

/// The median, of an even number of values the mean of the middle two; 0 of none. Reorders the values.
template <typename Value>
Value MedianOf(std::vector<Value>& values)
{
    if (values.empty())
        return Value(0);
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    if (values.size() % 2 != 0)
        return *middle;
    return Value(0.5) * (*middle + *std::max_element(values.begin(), middle));
}

/// What turns the median of absolute deviations into a standard deviation of normal values.
constexpr float fDeviationOfMedian = 1.4826F;

} // namespace narvo
