// SPDX-License-Identifier: MIT
// Sorting of what is made of a few sorted stretches.
#pragma once

#include <algorithm>
#include <iterator>
#include <vector>

namespace narvo
{

/// Sorts `values`, equal ones staying in their order, by merging the stretches in which they rise already: as many
/// passes as the number of stretches has binary digits. `scratch` is overwritten; no memory is taken where it has room
/// for as many values.
template <typename Value, typename Less>
void SortByRuns(std::vector<Value>& values, std::vector<Value>& scratch, const Less& less)
{
    if (std::is_sorted(values.begin(), values.end(), less))
        return;
    for (bool isOne = false; !isOne;)
    {
        scratch.clear();
        isOne = true;
        for (auto first = values.begin(); first != values.end();)
        {
            const auto middle = std::is_sorted_until(first, values.end(), less);
            const auto last = std::is_sorted_until(middle, values.end(), less);
            std::merge(first, middle, middle, last, std::back_inserter(scratch), less);
            isOne = isOne && first == values.begin() && last == values.end();
            first = last;
        }
        values.swap(scratch);
    }
}

} // namespace narvo
