// The comparison of two window sums in plain code: the arithmetic that find_sums.cc does in vectors.
#pragma once

#include <algorithm>
#include <cstdint>

#include "narvoassem/fast/compare_pixel.h"
#include "narvoassem/fast/find_sums.h"

namespace narvo
{

/// What a comparison found at one pixel.
struct CSumsComparison
{
    std::uint16_t nSrc;
    std::uint16_t nCmp;
    std::int16_t nThreshold;

    /// Reference above source, and source above reference, stopped at 0, as signed 16-bit values.
    std::int16_t DarkDifference() const { return static_cast<std::int16_t>(nCmp > nSrc ? nCmp - nSrc : 0); }
    std::int16_t BrightDifference() const { return static_cast<std::int16_t>(nSrc > nCmp ? nSrc - nCmp : 0); }
    bool IsDark() const { return DarkDifference() > nThreshold; }
    bool IsBright() const { return BrightDifference() > nThreshold; }
};

/// Pixel x of the row.
template <SumsVariant kVariant>
CSumsComparison CompareSums(const CSumsRow& row, std::int64_t x)
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
    const auto threshold = [&](std::uint16_t nGain, std::uint16_t nBase)
    {
        const auto nGray = static_cast<std::uint16_t>(
            FormThreshold(static_cast<std::uint16_t>(nValue >> GrayShift(kVariant)), nGain, nBase));
        return static_cast<std::int16_t>(static_cast<std::uint16_t>(weigh(nGray, row.nUnits)));
    };
    result.nThreshold = threshold(row.nGain, row.nBase);
    if constexpr (kVariant == SumsVariant::LargerSmaller)
        result.nThreshold = std::min(result.nThreshold, threshold(row.nGain2, row.nBase2));
    return result;
}

/// Two values without a threshold of their own; differences stop at 0.
struct CPlainSums
{
    std::uint16_t nSrc;
    std::uint16_t nCmp;

    int DarkDifference() const { return nCmp > nSrc ? nCmp - nSrc : 0; }
    int BrightDifference() const { return nSrc > nCmp ? nSrc - nCmp : 0; }
};

constexpr std::uint16_t WeighSums(std::uint16_t nNear, unsigned nWeightNear, std::uint16_t nFar, unsigned nWeightFar)
{
    return static_cast<std::uint16_t>(nNear * nWeightNear + nFar * nWeightFar);
}

/// Source and reference of pixel x, limited.
inline CPlainSums ComparePlainSums(const CSumsRow& row, std::int64_t x)
{
    return {std::min(WeighSums(row.pSrc[x], 16, 0, 0), row.nLimit),
            std::min(WeighSums(row.pNear[x], row.nWeightNear, row.pFar[x], row.nWeightFar), row.nLimit)};
}

/// The same pair of places seen from the reference, back to the source, without the limit.
inline CPlainSums WitnessSums(const CSumsRow& row, std::int64_t x)
{
    return {WeighSums(row.pSrc[x], row.nWeightNear, row.pBack[x], row.nWeightFar), WeighSums(row.pNear[x], 16, 0, 0)};
}

} // namespace narvo
