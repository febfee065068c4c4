// SPDX-License-Identifier: MIT
// The compare distance in fixed point.
#pragma once

#include <cstdint>

namespace narvo::engine
{

/// A distance in 1/16 pixel, split. nWhole and nFraction place the comparison; nHop, the distance rounded, is where
/// the second hit of a pair is searched.
struct CPitch16
{
    std::int64_t nWhole = 0;
    std::int64_t nFraction = 0; ///< 0 .. 15
    std::int64_t nHop = 0;

    CPitch16() = default;
    explicit CPitch16(std::int64_t nPitch16)
        : nWhole(nPitch16 >> 4), nFraction(nPitch16 & 15), nHop(nWhole + (nFraction >= 8 ? 1 : 0))
    {
    }
    friend bool operator==(const CPitch16&, const CPitch16&) = default;
};

/// nValue with the low four bits cleared, that is rounded down to a multiple of 16 (negative values too).
constexpr std::int64_t RoundDownTo16(std::int64_t nValue)
{
    return nValue & ~static_cast<std::int64_t>(15);
}

} // namespace narvo::engine
