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
    constexpr bool bColumn = kVariant == SumsVariant::ColumnLarger || kVariant == SumsVariant::ColumnSource;
    constexpr bool bSource = kVariant == SumsVariant::Source || kVariant == SumsVariant::ColumnSource;
    const auto weigh = [](std::uint16_t nSum, unsigned nWeight) { return static_cast<unsigned>(nSum) * nWeight; };
    CSumsComparison result;
    result.nSrc = std::min(static_cast<std::uint16_t>(weigh(row.pSrc[x], 16)), row.nLimit);
    unsigned nCmp;
    if constexpr (bColumn)
        nCmp = weigh(row.pNear[x], static_cast<std::uint16_t>(row.pColumnNear[x])) + weigh(row.pMiddle[x], 16) +
               weigh(row.pFar[x], static_cast<std::uint16_t>(row.pColumnFar[x]));
    else
        nCmp = weigh(row.pNear[x], row.nWeightNear) + weigh(row.pFar[x], row.nWeightFar);
    result.nCmp = std::min(static_cast<std::uint16_t>(nCmp), row.nLimit);
    const std::uint16_t nValue = bSource ? result.nSrc : std::max(result.nSrc, result.nCmp);
    const auto threshold = [&](std::uint16_t nGain, std::uint16_t nBase)
    {
        const auto nGray =
            static_cast<std::uint16_t>(FormThreshold(static_cast<std::uint16_t>(nValue >> row.nShift), nGain, nBase));
        return static_cast<std::int16_t>(static_cast<std::uint16_t>(weigh(nGray, row.nUnits)));
    };
    result.nThreshold = threshold(row.nGain, row.nBase);
    if constexpr (kVariant == SumsVariant::LargerSmaller)
        result.nThreshold = std::min(result.nThreshold, threshold(row.nGain2, row.nBase2));
    return result;
}

} // namespace narvo
