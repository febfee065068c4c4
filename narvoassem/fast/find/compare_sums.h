// SPDX-License-Identifier: MIT
// The comparison of two window sums in plain code: the arithmetic that find_sums.cc does in vectors.
#pragma once

#include <algorithm>
#include <cstdint>

#include "narvoassem/fast/find/compare_pixel.h"
#include "narvoassem/fast/find/find_sums.h"

namespace narvo::engine
{

/// nLarger minus nSmaller as a signed 16-bit value; at least 0 except in the plain comparison.
template <SumsVariant kVariant>
constexpr std::int16_t SumsDifference(std::uint16_t nLarger, std::uint16_t nSmaller)
{
    const bool bStopped = kVariant != SumsVariant::Plain && nLarger < nSmaller;
    return static_cast<std::int16_t>(bStopped ? 0 : nLarger - nSmaller);
}

/// The threshold where the value that it depends on, the larger one or the source, is nValue.
template <SumsVariant kVariant>
constexpr std::int16_t FormSumsThreshold(const CSumsRow& row, std::uint16_t nValue)
{
    if (IsPlain(kVariant))
        return static_cast<std::int16_t>(row.nBase);
    const auto form = [&](std::uint16_t nGain, std::uint16_t nBase)
    {
        const auto nGray = static_cast<std::uint16_t>(
            FormThreshold(static_cast<std::uint16_t>(nValue >> GrayShift(kVariant)), nGain, nBase));
        return static_cast<std::int16_t>(static_cast<std::uint16_t>(unsigned{nGray} * row.nUnits));
    };
    const std::int16_t nThreshold = form(row.nGain, row.nBase);
    return kVariant == SumsVariant::LargerSmaller ? std::min(nThreshold, form(row.nGain2, row.nBase2)) : nThreshold;
}

/// The least of them over all values that windows of bytes have.
template <SumsVariant kVariant>
constexpr std::int16_t LeastSumsThreshold(const CSumsRow& row)
{
    std::int16_t nLeast = FormSumsThreshold<kVariant>(row, 0);
    for (int nValue = 0; nValue <= 255 * row.nUnits; nValue += 1 << GrayShift(kVariant))
        nLeast = std::min(nLeast, FormSumsThreshold<kVariant>(row, static_cast<std::uint16_t>(nValue)));
    return nLeast;
}

/// What a comparison found at one pixel.
struct CSumsComparison
{
    std::uint16_t nSrc;
    std::uint16_t nCmp;
    std::int16_t nThreshold;
    bool bDark;   ///< the reference exceeds the source by more than the threshold
    bool bBright; ///< and vice versa: both where the threshold is below 0

    bool IsHit() const { return bDark || bBright; }
};

/// Pixel x of the row.
template <SumsVariant kVariant>
[[gnu::always_inline]] inline CSumsComparison CompareSums(const CSumsRow& row, std::int64_t x)
{
    const auto weigh = [](std::uint16_t nSum, unsigned nWeight) { return static_cast<unsigned>(nSum) * nWeight; };
    CSumsComparison result;
    result.nSrc = std::min(static_cast<std::uint16_t>(weigh(row.pSrc[x], 16)), row.nLimit);
    unsigned nCmp;
    if constexpr (HasColumnWeights(kVariant))
        nCmp = weigh(row.pNear[x], static_cast<std::uint16_t>(row.pColumnNear[x])) + weigh(row.pMiddle[x], 16) +
               weigh(row.pFar[x], static_cast<std::uint16_t>(row.pColumnFar[x]));
    else
        nCmp = weigh(row.pNear[x], row.nWeightNear) + weigh(row.pFar[x], row.nWeightFar);
    result.nCmp = std::min(static_cast<std::uint16_t>(nCmp), row.nLimit);
    const std::uint16_t nValue = WorksOnSource(kVariant) ? result.nSrc : std::max(result.nSrc, result.nCmp);
    result.nThreshold = FormSumsThreshold<kVariant>(row, nValue);
    const auto exceeds = [&](unsigned nLarger, unsigned nSmaller)
    {
        return SumsDifference<kVariant>(static_cast<std::uint16_t>(nLarger), static_cast<std::uint16_t>(nSmaller)) >
               result.nThreshold;
    };
    result.bDark = exceeds(result.nCmp, result.nSrc);
    result.bBright = exceeds(result.nSrc, result.nCmp);
    if constexpr (kVariant == SumsVariant::PlainWitness)
    {
        // The same two places compared from the reference back to the source, without the limit.
        const unsigned nBack = weigh(row.pSrc[x], row.nWeightNear) + weigh(row.pBack[x], row.nWeightFar);
        const unsigned nAhead = weigh(row.pNear[x], 16);
        const bool bDarkAgrees = exceeds(nAhead, nBack);
        const bool bBrightAgrees = exceeds(nBack, nAhead);
        result.bDark = bDarkAgrees && result.bDark;
        result.bBright = bBrightAgrees && result.bBright;
    }
    return result;
}

} // namespace narvo::engine
