// SPDX-License-Identifier: MIT
// Random numbers that are the same on every machine.
#pragma once

#include <cstddef>
#include <cstdint>

namespace narvo
{

/// A counter, mixed (SplitMix64): every start gives a sequence of its own.
class MixedNumbers
{
public:
    explicit MixedNumbers(std::uint64_t start) : m_state(start) {}

    std::uint64_t Next()
    {
        m_state += 0x9e3779b97f4a7c15U;
        std::uint64_t mixed = m_state;
        mixed = (mixed ^ mixed >> 30U) * 0xbf58476d1ce4e5b9U;
        mixed = (mixed ^ mixed >> 27U) * 0x94d049bb133111ebU;
        return mixed ^ mixed >> 31U;
    }

    /// 0 .. count - 1; `count` is small against 2^64.
    std::size_t Below(std::size_t count) { return static_cast<std::size_t>(Next() % count); }

private:
    std::uint64_t m_state;
};

} // namespace narvo
