// SPDX-License-Identifier: MIT
// A small deterministic random source for tests. The same seed gives the same sequence on every platform, which the
// distributions of the standard library do not promise.
#pragma once

#include <cstdint>
#include <initializer_list>

namespace narvo::test
{

class CRandom
{
public:
    explicit CRandom(std::uint64_t nSeed) : m_nState(nSeed) {}

    /// The next 64 bits (SplitMix64).
    std::uint64_t Next()
    {
        m_nState += 0x9E3779B97F4A7C15U;
        std::uint64_t n = m_nState;
        n = (n ^ (n >> 30)) * 0xBF58476D1CE4E5B9U;
        n = (n ^ (n >> 27)) * 0x94D049BB133111EBU;
        return n ^ (n >> 31);
    }

    /// A value of [nLow, nHigh], both ends included.
    std::int64_t Range(std::int64_t nLow, std::int64_t nHigh)
    {
        const std::uint64_t nCount = static_cast<std::uint64_t>(nHigh) - static_cast<std::uint64_t>(nLow) + 1;
        const std::uint64_t nStep = nCount == 0 ? Next() : Next() % nCount;
        return static_cast<std::int64_t>(static_cast<std::uint64_t>(nLow) + nStep);
    }

    int Int(int nLow, int nHigh) { return static_cast<int>(Range(nLow, nHigh)); }

    /// True once in nOneIn calls on average.
    bool OneIn(int nOneIn) { return Range(1, nOneIn) == 1; }

    /// One of the listed values.
    template <typename T>
    T Pick(std::initializer_list<T> list)
    {
        return list.begin()[Range(0, static_cast<std::int64_t>(list.size()) - 1)];
    }

private:
    std::uint64_t m_nState;
};

} // namespace narvo::test
