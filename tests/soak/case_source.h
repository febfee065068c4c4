// SPDX-License-Identifier: MIT
// Where the numbers of a made-up case come from: a numbered generator, or the bytes of a fuzzer.
// The maker of cases draws everything from here, so that the same maker serves both.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <initializer_list>

#include "support/random.h"

namespace narvo::test
{

/// Draws are counted from 0, and 0 is always the plainest outcome: a source that has run dry gives zeros.
class CCaseSource
{
public:
    virtual ~CCaseSource() = default;

    /// A value of [0, nCount), nCount at least 1.
    virtual std::uint64_t Below(std::uint64_t nCount) = 0;

    /// A value of [nLow, nHigh], both ends included.
    int Int(int nLow, int nHigh)
    {
        const auto nCount = static_cast<std::uint64_t>(std::int64_t{nHigh} - nLow) + 1;
        return static_cast<int>(nLow + static_cast<std::int64_t>(Below(nCount)));
    }

    /// True once in nCases draws on average, never from a dry source.
    bool OneIn(int nCases) { return Below(static_cast<std::uint64_t>(nCases)) + 1 == static_cast<unsigned>(nCases); }

    /// One of the listed values; the first is the plainest.
    template <typename T>
    T Pick(std::initializer_list<T> list)
    {
        return list.begin()[Below(list.size())];
    }
};

/// Case nNumber of the endless numbered row.
class CNumberedSource : public CCaseSource
{
public:
    explicit CNumberedSource(std::uint64_t nNumber) : m_random(CRandom(nNumber).Next()) {}

    std::uint64_t Below(std::uint64_t nCount) override
    {
        // 32 bits are far more than any draw needs, and scaling them is cheaper than a remainder.
        return (m_random.Next() >> 32) * nCount >> 32;
    }

private:
    CRandom m_random;
};

/// Reads draws from bytes: one byte where the range fits, else as many as it needs.
class CByteSource : public CCaseSource
{
public:
    CByteSource(const std::uint8_t* pBytes, std::size_t nBytes) : m_pBytes(pBytes), m_nLeft(nBytes) {}

    std::uint64_t Below(std::uint64_t nCount) override
    {
        std::uint64_t nValue = 0;
        for (std::uint64_t nRest = nCount - 1; nRest != 0; nRest >>= 8)
            nValue = nValue << 8 | NextByte();
        return nValue % nCount;
    }

    bool IsDry() const { return m_nLeft == 0; }

private:
    std::uint8_t NextByte()
    {
        if (m_nLeft == 0)
            return 0;
        --m_nLeft;
        return *m_pBytes++;
    }

    const std::uint8_t* m_pBytes;
    std::size_t m_nLeft;
};

} // namespace narvo::test
