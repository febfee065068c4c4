// SPDX-License-Identifier: MIT
// Upper bounds of every comparison's rate: passes that only read the bytes.
#pragma once

#include <cstddef>
#include <cstdint>

namespace measure
{

/// Sum of all bytes, in the widest vectors chosen and four accumulators.
std::uint64_t ReadPass(const std::uint8_t* pBytes, std::size_t nCount);

/// The same with prefetches, which hide the latency of memory better than the processor's own prefetcher: as fast as
/// the bytes can be read.
std::uint64_t ReadPassAhead(const std::uint8_t* pBytes, std::size_t nCount);

} // namespace measure
