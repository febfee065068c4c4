// SPDX-License-Identifier: MIT
// The limits of the bound where thresholds come from maps. The vector code behind it (least_offsets.cc) is compiled
// once per instruction set.
#pragma once

#include <cstdint>

namespace narvo::engine
{

/// The greatest base of thresholds, or offset of a map, that is a limit. A threshold is the base plus the upper byte of
/// a product, which is 0 .. 255 for any gain, so it is at least the base if the sum does not wrap.
constexpr std::int16_t kGreatestBase = 32767 - 255;

/// pLimit[i] = the least of its value, at most 255, and of the elements i of nLines lines of a map, which are nStride
/// elements apart. nCount is at least 16. @return false if an element is below nLeast or above kGreatestBase; pLimit is
/// undefined then
bool LowerToLeastOffsets(const std::int16_t* pMap, std::int64_t nStride, std::int64_t nLines, std::int64_t nCount,
                         std::int16_t nLeast, std::uint8_t* pLimit);

} // namespace narvo::engine
