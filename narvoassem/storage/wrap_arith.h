// 32-bit arithmetic that wraps, and stores that keep the low bits: the arithmetic of sums and counters in records.
#pragma once

#include <cstdint>

namespace narvo
{

inline int WrapAdd(int a, int b)
{
    return static_cast<int>(static_cast<std::uint32_t>(a) + static_cast<std::uint32_t>(b));
}

inline int WrapSub(int a, int b)
{
    return static_cast<int>(static_cast<std::uint32_t>(a) - static_cast<std::uint32_t>(b));
}

inline int WrapMul(int a, int b)
{
    return static_cast<int>(static_cast<std::uint32_t>(a) * static_cast<std::uint32_t>(b));
}

/// Absolute value; the lowest int stays as it is.
inline int WrapAbs(int a)
{
    return a < 0 ? WrapSub(0, a) : a;
}

/// Low 16 bits, signed.
inline short LowShort(int a)
{
    return static_cast<short>(static_cast<std::uint16_t>(static_cast<std::uint32_t>(a)));
}

/// Low 8 bits.
inline unsigned char LowByte(int a)
{
    return static_cast<unsigned char>(static_cast<std::uint32_t>(a) & 0xFFU);
}

} // namespace narvo
