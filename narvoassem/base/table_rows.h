// SPDX-License-Identifier: MIT
// Tables with one row for each entry of an enumeration: the check that none is missing, and calls with an entry that
// is a constant.
#pragma once

#include <cstddef>
#include <type_traits>
#include <utility>

namespace narvo::engine
{

/// Whether the rows are those of the entries 0 .. eCount - 1, in order; pEntry is a row's entry.
template <class TRows, class TRow, class TEntry>
constexpr bool HasRowForEach(const TRows& rows, TEntry TRow::*pEntry, TEntry eCount)
{
    std::size_t nNext = 0;
    for (const TRow& row : rows)
        if (static_cast<std::size_t>(row.*pEntry) != nNext++)
            return false;
    return nNext == static_cast<std::size_t>(eCount);
}

/// Calls function(std::integral_constant<std::size_t, nEntry>()) for an nEntry below nEntries.
template <std::size_t nEntries, class TFunction>
auto CallWithEntry(std::size_t nEntry, const TFunction& function)
{
    using TResult = std::invoke_result_t<const TFunction&, std::integral_constant<std::size_t, 0>>;
    return [&]<std::size_t... kEntry>(std::index_sequence<kEntry...> /*entries*/)
    {
        constexpr TResult (*calls[])(const TFunction&) = {
            [](const TFunction& one) -> TResult { return one(std::integral_constant<std::size_t, kEntry>()); }...};
        return calls[nEntry](function);
    }
    (std::make_index_sequence<nEntries>());
}

} // namespace narvo::engine
