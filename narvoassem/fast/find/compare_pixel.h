// SPDX-License-Identifier: MIT
// The comparison of one pixel in plain code: what find_row.cc does in vectors, and the values of a found hit. All
// values live in 16-bit lanes: products and sums keep their low 16 bits, shifts are logical, the threshold test is
// signed.
#pragma once

#include <algorithm>
#include <cstdint>

#include "narvoassem/fast/find/find_row.h"

namespace narvo::engine
{

/// (nNear * nWeightNear + nFar * nWeightFar) >> 4.
constexpr std::uint16_t Interpolate(std::uint16_t nNear, std::uint16_t nWeightNear, std::uint16_t nFar,
                                    std::uint16_t nWeightFar)
{
    const std::uint32_t nSum =
        static_cast<std::uint32_t>(nNear) * nWeightNear + static_cast<std::uint32_t>(nFar) * nWeightFar;
    return static_cast<std::uint16_t>((nSum & 0xFFFFU) >> 4);
}

/// ((nGray * nGain) >> 8) + nBase.
constexpr std::int16_t FormThreshold(std::uint16_t nGray, std::uint16_t nGain, std::uint16_t nBase)
{
    const std::uint32_t nProduct = static_cast<std::uint32_t>(nGray) * nGain & 0xFFFFU;
    return static_cast<std::int16_t>(static_cast<std::uint16_t>((nProduct >> 8) + nBase));
}

/// Source minus reference of two values as signed 16 bit, saturating.
constexpr std::int16_t SaturatedDifference(std::uint16_t nSrc, std::uint16_t nCmp)
{
    const int nDiff = static_cast<std::int16_t>(nSrc) - static_cast<std::int16_t>(nCmp);
    return static_cast<std::int16_t>(std::clamp(nDiff, -32768, 32767));
}

/// |nDiff| as the lanes compute it.
constexpr std::int16_t Magnitude(std::int16_t nDiff)
{
    return static_cast<std::int16_t>(nDiff < 0 ? -nDiff : nDiff);
}

/// The test of a comparison.
constexpr bool ExceedsThreshold(std::int16_t nDiff, std::int16_t nThreshold)
{
    return Magnitude(nDiff) > nThreshold;
}

/// |nDiff| minus the threshold, low 16 bits.
constexpr std::int16_t HitPeak(std::int16_t nDiff, std::int16_t nThreshold)
{
    return static_cast<std::int16_t>(Magnitude(nDiff) - nThreshold);
}

/// What a comparison found at one pixel.
struct CPixelComparison
{
    std::uint16_t nSrc;
    std::uint16_t nCmp;
    std::int16_t nThreshold;

    bool IsHit() const { return ExceedsThreshold(SaturatedDifference(nSrc, nCmp), nThreshold); }
};

/// Element of a map; one that is not given counts as all 0.
inline std::uint16_t ReadMap(const std::int16_t* pMap, std::int64_t nElement)
{
    return pMap != nullptr ? static_cast<std::uint16_t>(pMap[nElement]) : std::uint16_t{0};
}

/// Pixel x of the row, whose place in the maps is nElement and whose run is displaced by nDisplacement. Inlined, since
/// a result of three short fields would go through memory.
template <CFindTraits kTraits>
[[gnu::always_inline]] inline CPixelComparison ComparePixel(const CFindRow& row, std::int64_t x, std::int64_t nElement,
                                                            std::int64_t nDisplacement)
{
    const std::uint8_t* const pNear = row.pNear + nDisplacement + x;
    const std::uint8_t* const pFar = row.pFar + nDisplacement + x;
    CPixelComparison result;
    result.nSrc = row.pSrc[x];
    if constexpr (kTraits.eReference == FindReference::Column)
        result.nCmp = Interpolate(*pNear, static_cast<std::uint16_t>(row.pColumnNear[x]), *pFar,
                                  static_cast<std::uint16_t>(row.pColumnFar[x]));
    else if constexpr (kTraits.eReference == FindReference::Bilinear)
        result.nCmp = Interpolate(Interpolate(pNear[0], row.nWeightLeft, pNear[1], row.nWeightRight), row.nWeightNear,
                                  Interpolate(pFar[0], row.nWeightLeft, pFar[1], row.nWeightRight), row.nWeightFar);
    else
        result.nCmp = Interpolate(*pNear, row.nWeightNear, *pFar, row.nWeightFar);
    if constexpr (kTraits.IsLimited())
    {
        result.nSrc = std::min(result.nSrc, row.nGrayLimit);
        result.nCmp = std::min(result.nCmp, row.nGrayLimit);
    }
    const std::uint16_t nMax = std::max(result.nSrc, result.nCmp);
    const auto fromMaps = [&](const std::int16_t* pGain, const std::int16_t* pOffset)
    { return FormThreshold(nMax, ReadMap(pGain, nElement), ReadMap(pOffset, nElement)); };
    if constexpr (kTraits.eThreshold == FindThreshold::Map)
        result.nThreshold = fromMaps(row.pGainMap, row.pOffsetMap);
    else if constexpr (kTraits.eThreshold == FindThreshold::Knee)
    {
        const bool bUpper =
            static_cast<std::int16_t>(nMax) > static_cast<std::int16_t>(ReadMap(row.pKneeMap, nElement));
        result.nThreshold = bUpper ? fromMaps(row.pGainMap2, row.pOffsetMap2) : fromMaps(row.pGainMap, row.pOffsetMap);
    }
    else if constexpr (kTraits.eThreshold == FindThreshold::Floor)
        result.nThreshold = static_cast<std::int16_t>(row.nBase);
    else
        result.nThreshold = FormThreshold(nMax, row.nGain, row.nBase);
    if constexpr (kTraits.eThreshold == FindThreshold::Smaller)
        result.nThreshold = std::min(result.nThreshold, FormThreshold(nMax, row.nGain2, row.nBase2));
    return result;
}

} // namespace narvo::engine
