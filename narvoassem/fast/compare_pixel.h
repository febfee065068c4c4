// The comparison of one pixel in plain code: the arithmetic that find_row.cc does in vectors. All values live in
// 16-bit lanes: products and sums keep their low 16 bits, shifts are logical, the threshold test is signed.
#pragma once

#include <algorithm>
#include <cstdint>

namespace narvo
{

/// (nNear * nWeightNear + nFar * nWeightFar) >> 4.
constexpr std::uint16_t Interpolate(std::uint16_t nNear, std::uint16_t nWeightNear, std::uint16_t nFar,
                                    std::uint16_t nWeightFar)
{
    const std::uint32_t nSum =
        static_cast<std::uint32_t>(nNear) * nWeightNear + static_cast<std::uint32_t>(nFar) * nWeightFar;
    return static_cast<std::uint16_t>((nSum & 0xFFFFU) >> 4);
}

/// Mean of a 2 by 2 block, rounded down.
constexpr std::uint16_t Mean2by2(unsigned n00, unsigned n01, unsigned n10, unsigned n11)
{
    return static_cast<std::uint16_t>((n00 + n01 + n10 + n11) >> 2);
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

/// |nDiff| as the lanes have it.
constexpr std::int16_t Magnitude(std::int16_t nDiff)
{
    return static_cast<std::int16_t>(nDiff < 0 ? -nDiff : nDiff);
}

/// The test of a comparison.
constexpr bool ExceedsThreshold(std::int16_t nDiff, std::int16_t nThreshold)
{
    return Magnitude(nDiff) > nThreshold;
}

/// |nDiff| less the threshold, low 16 bits.
constexpr std::int16_t HitPeak(std::int16_t nDiff, std::int16_t nThreshold)
{
    return static_cast<std::int16_t>(Magnitude(nDiff) - nThreshold);
}

} // namespace narvo
