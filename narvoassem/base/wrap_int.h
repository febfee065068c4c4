// SPDX-License-Identifier: MIT
// 32-bit arithmetic that wraps where sums of coordinates, thresholds or counters may leave the range of int, and stores
// that keep the low bits.
#pragma once

#include <cstdint>

namespace narvo::engine
{

constexpr int WrapAdd(int a, int b)
{
    return static_cast<int>(static_cast<std::uint32_t>(a) + static_cast<std::uint32_t>(b));
}

constexpr int WrapSub(int a, int b)
{
    return static_cast<int>(static_cast<std::uint32_t>(a) - static_cast<std::uint32_t>(b));
}

constexpr int WrapMul(int a, int b)
{
    return static_cast<int>(static_cast<std::uint32_t>(a) * static_cast<std::uint32_t>(b));
}

/// Truncating quotient; the one quotient that leaves the range (the lowest int by -1) wraps. b must not be 0.
constexpr int WrapDiv(int a, int b)
{
    return static_cast<int>(static_cast<std::int64_t>(a) / b);
}

/// |a|; the lowest int stays as it is.
constexpr int WrapAbs(int a)
{
    return a < 0 ? WrapSub(0, a) : a;
}

/// Low 16 bits, signed.
constexpr short LowShort(int a)
{
    return static_cast<short>(static_cast<std::uint16_t>(static_cast<std::uint32_t>(a)));
}

/// Low 8 bits.
constexpr unsigned char LowByte(int a)
{
    return static_cast<unsigned char>(static_cast<std::uint32_t>(a) & 0xFFU);
}

} // namespace narvo::engine
