// SPDX-License-Identifier: MIT
// A hash that is the same with every compiler and on every processor, for results as a stream of numbers.
#pragma once

#include <bit>
#include <cstdint>

namespace narvo::test
{

class CCaseHash
{
public:
    void Add(std::uint64_t nValue)
    {
        m_nState = std::rotl((m_nState ^ nValue) * 0x9E3779B97F4A7C15U, 29) * 0xBF58476D1CE4E5B9U;
    }
    void Add(int nValue) { Add(static_cast<std::uint64_t>(static_cast<std::uint32_t>(nValue))); }
    void Add(int nLow, int nHigh)
    {
        Add(static_cast<std::uint64_t>(static_cast<std::uint32_t>(nHigh)) << 32 | static_cast<std::uint32_t>(nLow));
    }
    void Add(double dValue) { Add(std::bit_cast<std::uint64_t>(dValue)); }

    /// The hash of what was added.
    std::uint64_t Get() const
    {
        std::uint64_t n = m_nState;
        n = (n ^ (n >> 30)) * 0xBF58476D1CE4E5B9U;
        n = (n ^ (n >> 27)) * 0x94D049BB133111EBU;
        return n ^ (n >> 31);
    }

private:
    std::uint64_t m_nState = 0x243F6A8885A308D3U;
};

} // namespace narvo::test
