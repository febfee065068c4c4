// SPDX-License-Identifier: MIT
// Upper bounds of every comparison's rate: passes that only read the bytes.
#pragma once

#include <cstddef>
#include <cstdint>

namespace measure
{

/// Sum of all bytes, in the widest vectors chosen and four accumulators.
std::uint64_t ReadPass(const std::uint8_t* pBytes, std::size_t nCount);

/// The same sum as fast as the bytes can be read: four pages of memory at a time, which the processor's prefetchers
/// follow each by itself, and prefetches of the next four.
std::uint64_t BestReadPass(const std::uint8_t* pBytes, std::size_t nCount);

} // namespace measure
