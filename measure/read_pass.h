// SPDX-License-Identifier: MIT
// An upper bound of every comparison's rate: one pass that only reads the bytes.
#pragma once

#include <cstddef>
#include <cstdint>

namespace measure
{

/// Sum of all bytes, in the widest vectors chosen and four accumulators.
std::uint64_t ReadPass(const std::uint8_t* pBytes, std::size_t nCount);

} // namespace measure
