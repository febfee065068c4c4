// Sums of the interface that wrap at 32 bits.
#pragma once

#include <cstdint>

namespace narvo
{

/// The low 32 bits of nValue.
constexpr int Wrap32(std::int64_t nValue)
{
    return static_cast<int>(static_cast<std::uint32_t>(nValue));
}

} // namespace narvo
