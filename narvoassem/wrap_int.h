// 32-bit arithmetic that wraps where the sums of coordinates and thresholds may leave the range of int.
#pragma once

#include <cstdint>

namespace narvo
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

} // namespace narvo
